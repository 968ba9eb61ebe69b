#pragma once

/// @file
/// A state type whose definition no test sees.

#include <foundation/state/state.h>

namespace foundation::tests {

struct Opaque;

state::Ptr<Opaque> makeOpaque(int number);
int numberOf(const Opaque& opaque);
int livingOpaques();

/// The id of the type, asked for where its definition is seen.
std::uint64_t idWhereDefined();

}  // namespace foundation::tests

template <>
struct foundation::state::ScopeOf<foundation::tests::Opaque> {
    using type = foundation::tav::scope::Zarn;
};
