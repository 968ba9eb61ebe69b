#pragma once

/// @file
/// Two handles in two translation units, of which the parent ends first.

#include <foundation/tav/context.h>
#include <foundation/tav/scope.h>
#include <optional>

namespace foundation::tests {

/// Constructed first and so destroyed last, though it is given its context when the parent is there.
std::optional<tav::management::Context<tav::scope::Zarn>>& zarn();

/// Fills both contexts with states.
void fillContexts();

}  // namespace foundation::tests
