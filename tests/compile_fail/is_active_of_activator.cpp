// Whether a context is current on the calling thread is the business of the library alone.
// g++: Context<Scope>&) [with Scope = foundation::tav::scope::Zarn]' is private within this context
// clang++: 'isActive' is a private member of 'foundation::tav::management::thisthread::ContextActivator'

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

bool isCurrent(const management::Context<scope::Zarn>& zarn) {
#ifdef MISUSE
    return ContextActivator::isActive(zarn);
#else
    return zarn.isActive();
#endif
}
