// Only a Process context is deactivated for the whole process; a Zarn context is left through its activator.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Zarn>::deactivate
// clang++: invalid reference to function 'deactivate': constraints not satisfied

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Scope = scope::Zarn;
#else
using Scope = scope::Process;
#endif

void use(management::Context<Scope>& context) { context.deactivate(); }
