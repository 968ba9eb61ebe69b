// State is always named with its type, for the messages about it.
// g++: no matching function for call to 'foundation::tav::Detail<foundation::tav::scope::Process>::find(
// clang++: too few arguments to function call, expected 2, have 1

#include <foundation/tav/detail.h>

using namespace foundation::tav;

StatePtr* look(std::uint64_t id) {
#ifdef MISUSE
    return Detail<scope::Process>::find(id);
#else
    return Detail<scope::Process>::find(id, typeid(int));
#endif
}
