// A handler reads a report and does not change it.
// g++: passing 'const std::string' {aka 'const std::__cxx11::basic_string<char>'} as 'this' argument discards
// clang++: 'this' argument to member function 'clear' has type 'const std::string'

#include <foundation/tav/error.h>
#include <string>

using namespace foundation::tav;

void explain(ErrorInfo& info) {
#ifdef MISUSE
    info.m_message.clear();
#else
    std::string(info.m_message).clear();
#endif
}
