// A state has one owner: it is moved into a context.
// g++: cannot bind rvalue reference of type 'foundation::tav::StatePtr&&' {aka
// clang++: rvalue reference to type 'unique_ptr<...>' cannot bind to lvalue of type 'unique_ptr<...>'

#include <foundation/tav/detail.h>
#include <utility>

using namespace foundation::tav;

void store(std::uint64_t id, StatePtr& state) {
#ifdef MISUSE
    Detail<scope::Process>::insert(id, typeid(int), state);
#else
    Detail<scope::Process>::insert(id, typeid(int), std::move(state));
#endif
}
