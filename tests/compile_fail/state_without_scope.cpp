// A state type has to say where it lives.
// g++: static assertion failed: This state type declares no scope. Write 'using StateScope =
// clang++: "This state type declares no scope. Write 'using StateScope =

#include <foundation/state/state.h>

using namespace foundation;

struct Selection {
#ifndef MISUSE
    using StateScope = tav::scope::Workspace;
#endif
};

Selection* selection() { return state::find<Selection>(); }
