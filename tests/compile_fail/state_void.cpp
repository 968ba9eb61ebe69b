// No object can be of this type.
// g++: static assertion failed: A state type must be an object type.
// clang++: "A state type must be an object type.

#include <foundation/state/state.h>

using namespace foundation;

struct Selection {
    using StateScope = tav::scope::Zarn;
};

#ifdef MISUSE
using Wanted = void;
#else
using Wanted = Selection;
#endif

bool isActive() { return state::isContextActive<Wanted>(); }
