// Sets come from activators; none is made of a handle.
// g++: no matching function for call to 'foundation::tav::management::ContextSet::ContextSet(Source&)'
// clang++: (aka 'Context<scope::Zarn>') to 'management::ContextSet'

#include <foundation/tav/context_activator.h>

using namespace foundation::tav;

#ifdef MISUSE
using Source = management::Context<scope::Zarn>;

management::ContextSet contextsOf(Source& source) { return management::ContextSet(source); }
#else
using Source = management::thisthread::ContextActivator;

management::ContextSet contextsOf(Source& source) { return management::ContextSet(source.getActiveContexts()); }
#endif
