// An activator belongs to one scope of one thread: it does not move.
// g++: ContextActivator::ContextActivator(const foundation::tav::management::thisthread::ContextActivator&)'
// clang++: call to deleted constructor of 'const foundation::tav::management::thisthread::ContextActivator'

#include <foundation/tav/context_activator.h>
#include <utility>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(ContextActivator& activator) {
#ifdef MISUSE
    const ContextActivator second(std::move(activator));
#else
    const ContextActivator second(activator.getActiveContexts());
#endif
}
