// Where a state is made, its type is complete.
// g++: static assertion failed: This state type is only declared here: include its definition,
// clang++: "This state type is only declared here: include its definition,

#include <foundation/state/state.h>

using namespace foundation;

struct Selection
#ifndef MISUSE
{
}
#endif
;

template <>
struct foundation::state::ScopeOf<Selection> {
    using type = foundation::tav::scope::Zarn;
};

Selection& selection() { return state::findOrCreate<Selection>(); }
