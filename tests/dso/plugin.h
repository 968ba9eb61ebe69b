#pragma once

/// @file
/// What the plugin exports.

#include <cstdint>
#include <string>
#include <vector>

namespace foundation::tests {

/// Makes states of the plugin's own in the current contexts, which write down their deaths, and counts up the host's
/// `Shared` states that are there.
using UsePlugin = void (*)(std::vector<std::string>& deaths);

/// The plugin's own type that is found by none but itself.
using PluginID = std::uint64_t (*)();

}  // namespace foundation::tests
