// A Process context has no parent.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Process>::Context
// clang++: no matching constructor for initialization of 'const management::Context<scope::Process>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

void open(management::Context<scope::Zarn>& zarn) {
#ifdef MISUSE
    const management::Context<scope::Process> parent(zarn);
#else
    const management::Context<scope::Workspace> parent(zarn);
#endif
}
