// Only a Process context is deactivated for the whole process; a Workspace context is left through its activator.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Workspace>::deact
// clang++: invalid reference to function 'deactivate': constraints not satisfied

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Scope = scope::Workspace;
#else
using Scope = scope::Process;
#endif

void use(management::Context<Scope>& context) { context.deactivate(); }
