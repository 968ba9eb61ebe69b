// A handler takes the whole report.
// g++: invalid conversion from 'void (*)(const std::string&)' {aka
// clang++: no matching function for call to 'setErrorHandler'

#include <foundation/tav/error.h>
#include <string>

using namespace foundation::tav;

#ifdef MISUSE
void handle(const std::string&);
#else
void handle(const ErrorInfo&);
#endif

void install() { setErrorHandler(&handle); }
