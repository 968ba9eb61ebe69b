// Making contexts current takes naming the activator.
// g++: to non-scalar type 'const foundation::tav::management::thisthread::ContextActivator' requested
// clang++: to 'const foundation::tav::management::thisthread::ContextActivator'

#include <foundation/tav/context_activator.h>
#include <utility>

using namespace foundation::tav;
using management::thisthread::ContextActivator;

void work(management::ContextSet contexts) {
#ifdef MISUSE
    const ContextActivator activator = std::move(contexts);
#else
    const ContextActivator activator(std::move(contexts));
#endif
}
