// State that is asked for as constant would be a type of its own.
// g++: static assertion failed: A state type must not be const or volatile: name the type as it was stored,
// clang++: "A state type must not be const or volatile: name the type as it was stored,

#include <foundation/state/state.h>

using namespace foundation;

struct Selection {
    using StateScope = tav::scope::Zarn;
};

#ifdef MISUSE
using Wanted = const Selection;
#else
using Wanted = Selection;
#endif

const Selection* selection() { return state::find<Wanted>(); }
