#pragma once

/// @file
/// The same functions with and without a trace point: what they differ by is the cost of the trace point.

#include <cstdint>

namespace foundation::tests {

std::uint64_t next();
std::uint64_t nextTraced();   // a plain record's trace point
std::uint64_t nextInScope();  // a scope record's trace point

}  // namespace foundation::tests
