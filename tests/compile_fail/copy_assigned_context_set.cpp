// Only activators copy sets.
// g++: ContextSet::operator=(const foundation::tav::management::ContextSet&)'
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/context_set.h>
#include <utility>

using namespace foundation::tav;

void replace(management::ContextSet& contexts, management::ContextSet& other) {
#ifdef MISUSE
    contexts = other;
#else
    contexts = std::move(other);
#endif
}
