// A handler is a plain function, which captures nothing.
// g++: <lambda(const foundation::tav::ErrorInfo&)>' to 'foundation::tav::ErrorHandler'
// clang++: no matching function for call to 'setErrorHandler'

#include <foundation/tav/error.h>

using namespace foundation::tav;

void install(int& reports) {
#ifdef MISUSE
    setErrorHandler([&reports](const ErrorInfo&) { ++reports; });
#else
    setErrorHandler([](const ErrorInfo&) {});
    reports = 0;
#endif
}
