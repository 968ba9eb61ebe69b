// Only a Process context is activated for the whole process; a Zarn context becomes current through an activator.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Zarn>::activate()
// clang++: invalid reference to function 'activate': constraints not satisfied

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Scope = scope::Zarn;
#else
using Scope = scope::Process;
#endif

void use(management::Context<Scope>& context) { context.activate(); }
