// There are three scopes, and a handle of a context is none of them.
// g++: static assertion failed: The scope of this state type is none: StateScope (or ScopeOf<T>::type) must be
// clang++: "The scope of this state type is none: StateScope (or ScopeOf<T>::type) must be

#include <foundation/state/state.h>

using namespace foundation;

struct Selection {
#ifdef MISUSE
    using StateScope = int;
#else
    using StateScope = tav::scope::Zarn;
#endif
};

void clear() { state::erase<Selection>(); }
