// An object of a derived class would be deleted by half.
// g++: static assertion failed: A polymorphic state type needs a virtual destructor.
// clang++: "A polymorphic state type needs a virtual destructor.

#include <foundation/state/state.h>

using namespace foundation;

struct Shape {
    using StateScope = tav::scope::Zarn;
    virtual void draw();
#ifndef MISUSE
    virtual ~Shape();
#endif
};

Shape& store(std::unique_ptr<Shape> shape) { return state::insert(std::move(shape)); }
