// Nothing knows how to delete a state but the deleter that comes with it.
// g++: no matching function for call to 'std::unique_ptr<void, void (*)(void*)>::unique_ptr(int*)'
// clang++: no matching conversion for functional-style cast from 'int *' to 'foundation::tav::StatePtr'

#include <foundation/tav/detail.h>

using namespace foundation::tav;

StatePtr make() {
#ifdef MISUSE
    return StatePtr(new int(1));
#else
    return StatePtr(new int(1), [](void* state) { delete static_cast<int*>(state); });
#endif
}
