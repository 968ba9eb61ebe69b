// Making a context current takes naming the activator.
// g++: to non-scalar type 'const foundation::tav::management::thisthread::ContextActivator' requested
// clang++: no viable conversion from 'management::Context<scope::Zarn>' to '

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(management::Context<scope::Zarn>& zarn) {
#ifdef MISUSE
    const ContextActivator activator = zarn;
#else
    const ContextActivator activator(zarn);
#endif
}
