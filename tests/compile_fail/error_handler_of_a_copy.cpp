// A handler looks at the report and gets no copy of it.
// g++: invalid conversion from 'void (*)(foundation::tav::ErrorInfo)' to 'foundation::tav::ErrorHandler'
// clang++: no matching function for call to 'setErrorHandler'

#include <foundation/tav/error.h>

using namespace foundation::tav;

#ifdef MISUSE
void handle(ErrorInfo);
#else
void handle(const ErrorInfo&);
#endif

void install() { setErrorHandler(&handle); }
