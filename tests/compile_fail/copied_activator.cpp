// What an activator restores is restored once: it has no copies.
// g++: ContextActivator::ContextActivator(const foundation::tav::management::thisthread::ContextActivator&)'
// clang++: call to deleted constructor of 'const foundation::tav::management::thisthread::ContextActivator'

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(ContextActivator& activator) {
#ifdef MISUSE
    const ContextActivator second(activator);
#else
    const ContextActivator second(activator.getActiveContexts());
#endif
}
