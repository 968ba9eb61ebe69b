#pragma once

/// @file
/// Snapshots read back from what the library writes of them, worded as the model words its contexts.

#include <functional>
#include <string>

namespace foundation::tests::model {

/// The number of the state at an address, which is written as a snapshot writes it.
using StateNumbers = std::function<int(const std::string& address)>;

std::string readText(const std::string& text, const StateNumbers& numbers);
std::string readJson(const std::string& json, const StateNumbers& numbers);

}  // namespace foundation::tests::model
