// There is no thread without the Process context, so there is no activator that leaves it out.
// g++: ContextActivator(foundation::tav::management::NullContext<foundation::tav::scope::Process>&)'
// clang++: no matching constructor for initialization of 'const foundation::tav::management::thisthread::ContextActivat

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

#ifdef MISUSE
using Scope = scope::Process;
#else
using Scope = scope::Zarn;
#endif

void work(management::NullContext<Scope> none) { const ContextActivator activator(none); }
