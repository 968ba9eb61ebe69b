// An array is no state, even of types that are.
// g++: static assertion failed: A state type must not be an array: store a std::array or std::vector in a struct.
// clang++: "A state type must not be an array: store a std::array or std::vector in a struct.

#include <foundation/state/state.h>

using namespace foundation;

struct Selection {
    using StateScope = tav::scope::Zarn;
};

#ifdef MISUSE
using Wanted = Selection[2];
#else
using Wanted = Selection;
#endif

bool clear() { return state::erase<Wanted>(); }
