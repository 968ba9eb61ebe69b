// A handler has nothing to say back: it throws, or the process ends.
// g++: invalid conversion from 'Result (*)(const foundation::tav::ErrorInfo&)' {aka 'bool (*)(
// clang++: no matching function for call to 'setErrorHandler'

#include <foundation/tav/error.h>

using namespace foundation::tav;

#ifdef MISUSE
using Result = bool;
#else
using Result = void;
#endif

Result handle(const ErrorInfo&);

void install() { setErrorHandler(&handle); }
