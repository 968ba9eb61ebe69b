// The scope that a type declares itself can't be seen before its definition.
// g++: static assertion failed: This state type is only declared here, and its scope can't be seen.
// clang++: "This state type is only declared here, and its scope can't be seen.

#include <foundation/state/state.h>

using namespace foundation;

struct Selection;

#ifndef MISUSE
template <>
struct foundation::state::ScopeOf<Selection> {
    using type = foundation::tav::scope::Zarn;
};
#endif

Selection* selection() { return state::find<Selection>(); }
