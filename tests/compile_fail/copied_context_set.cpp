// Only activators copy sets.
// g++: ContextSet::ContextSet(const foundation::tav::management::ContextSet&)'
// clang++: to 'management::ContextSet' uses deleted function

#include <foundation/tav/context_set.h>
#include <utility>

using namespace foundation::tav;

management::ContextSet second(management::ContextSet& first) {
#ifdef MISUSE
    return management::ContextSet(first);
#else
    return management::ContextSet(std::move(first));
#endif
}
