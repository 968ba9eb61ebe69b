// Whether a set is empty has to be asked for.
// g++: cannot convert 'const foundation::tav::management::ContextSet' to 'const bool' in initialization
// clang++: no viable conversion from 'const management::ContextSet' to 'const bool'

#include <foundation/tav/context_set.h>

using namespace foundation::tav;

bool isNamed(const management::ContextSet& contexts) {
#ifdef MISUSE
    const bool isNamed = contexts;
#else
    const bool isNamed(contexts);
#endif
    return isNamed;
}
