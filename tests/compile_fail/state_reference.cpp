// State is named by its type, not by what the operation returns.
// g++: static assertion failed: A state type must not be a reference: name the type itself, as in find<Selection>().
// clang++: "A state type must not be a reference: name the type itself, as in find<Selection>().

#include <foundation/state/state.h>

using namespace foundation;

struct Selection {
    using StateScope = tav::scope::Zarn;
};

#ifdef MISUSE
using Wanted = Selection&;
#else
using Wanted = Selection;
#endif

Selection& selection() { return state::findOrFail<Wanted>(); }
