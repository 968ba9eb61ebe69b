// A Process context is current in the whole process and never on a thread of its own.
// g++: ContextActivator(foundation::tav::management::Context<foundation::tav::scope::Process>&)'
// clang++: no matching constructor for initialization of 'const foundation::tav::management::thisthread::ContextActivat

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

#ifdef MISUSE
using Scope = scope::Process;
#else
using Scope = scope::Zarn;
#endif

void work(management::Context<Scope>& context) { const ContextActivator activator(context); }
