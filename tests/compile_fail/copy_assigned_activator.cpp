// An activator keeps what it restores: no other is assigned to it.
// g++: ::operator=(const foundation::tav::management::thisthread::ContextActivator&)'
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(ContextActivator& activator, const ContextActivator& other) {
#ifdef MISUSE
    activator = other;
#else
    if (other.isActivated()) activator.deactivate();
#endif
}
