// A handle keeps its context for life: no other is assigned to it.
// g++: Context<Scope>::operator=(const foundation::tav::management::Context<Scope>&)
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/context.h>

using namespace foundation::tav;

void replace(management::Context<scope::Zarn>& zarn, management::Context<scope::Zarn>& other) {
#ifdef MISUSE
    zarn = other;
#else
    zarn.destroy();
    other.shutdown();
#endif
}
