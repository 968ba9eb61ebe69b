// A set is no number, by way of bool neither.
// g++: cannot convert 'const foundation::tav::management::ContextSet' to 'const int' in initialization
// clang++: no viable conversion from 'const management::ContextSet' to 'const int'

#include <foundation/tav/context_set.h>

using namespace foundation::tav;

int count(const management::ContextSet& contexts) {
#ifdef MISUSE
    const int count = contexts;
#else
    const int count = contexts ? 1 : 0;
#endif
    return count;
}
