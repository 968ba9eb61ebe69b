#pragma once

/// @file
/// One part of a program: the same code in the executable, in static and in shared libraries, so that they can be
/// compared.

#include <foundation/state/state.h>
#include <foundation/tav/scope.h>
#include <array>
#include <cstdint>

namespace foundation::tests {

/// Used by every part, with the visibility that the part is built with.
template <class Scope>
struct Shared {
    using StateScope = Scope;
    static constexpr unsigned StateVersion = 2;

    int number = 0;
};

/// What a part makes of the types, for Process, Zarn and Workspace.
struct Part {
    const char* name;
    std::array<std::uint64_t, 3> (*ids)();
    std::array<const void*, 3> (*findOrCreate)();
    std::array<const void*, 3> (*find)();
    std::uint64_t (*unnamedID)();  // of the one in an unnamed namespace
};

}  // namespace foundation::tests

#define FOUNDATION_TESTS_EXPORT __attribute__((visibility("default")))

extern "C" {
const foundation::tests::Part* program_part();
const foundation::tests::Part* static_a_part();
const foundation::tests::Part* static_b_part();  // not exported: there are two of them
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* hidden_a_part();
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* static_b_in_hidden_a();
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* hidden_b_part();
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* default_a_part();
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* static_b_in_default_a();
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* default_b_part();
FOUNDATION_TESTS_EXPORT const foundation::tests::Part* plugin_part();
}
