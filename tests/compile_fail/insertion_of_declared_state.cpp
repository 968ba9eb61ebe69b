// A std::unique_ptr deletes where it is, and there the type has to be complete; a Ptr brings its deleter.
// g++: static assertion failed: This state type is only declared here: include its definition,
// clang++: "This state type is only declared here: include its definition,

#include <foundation/state/state.h>

using namespace foundation;

struct Selection;

template <>
struct foundation::state::ScopeOf<Selection> {
    using type = foundation::tav::scope::Zarn;
};

#ifdef MISUSE
using Pointer = std::unique_ptr<Selection>;
#else
using Pointer = state::Ptr<Selection>;
#endif
Pointer& fresh();

Selection& store() { return state::insert<Selection>(std::move(fresh())); }
