// An activator is given a handle that stays, not one that dies before it.
// g++: cannot bind non-const lvalue reference of type 'foundation::tav::management::Context<
// clang++: no matching constructor for initialization of 'const foundation::tav::management::thisthread::ContextActivat

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(management::Context<scope::Process>& process) {
#ifdef MISUSE
    const ContextActivator activator{management::Context<scope::Zarn>(process)};
#else
    management::Context<scope::Zarn> zarn(process);
    const ContextActivator activator{zarn};
#endif
}
