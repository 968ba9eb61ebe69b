// The deleter of a derived class wants the address of the whole object, which that of its base need not be.
// g++: could not convert
// clang++: no viable conversion

#include <foundation/state/state.h>

using namespace foundation;

struct Shape {
    using StateScope = tav::scope::Zarn;
    virtual ~Shape() = default;
};
struct Circle : Shape {};

#ifdef MISUSE
using Source = Circle;
#else
using Source = Shape;
#endif

state::Ptr<Shape> convert(state::Ptr<Source> source) { return source; }
