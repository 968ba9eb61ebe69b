// An activator keeps what it restores: none is moved into it.
// g++: ::operator=(const foundation::tav::management::thisthread::ContextActivator&)'
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(ContextActivator& activator, management::Context<scope::Zarn>& zarn) {
#ifdef MISUSE
    activator = ContextActivator(zarn);
#else
    activator.deactivate();
    const ContextActivator next(zarn);
#endif
}
