// How a report makes its text of a message is no operation of its own.
// g++: 'static std::string foundation::tav::ErrorInfo::convert(const char*)' is private within this context
// clang++: 'convert' is a private member of 'foundation::tav::ErrorInfo'

#include <foundation/tav/error.h>
#include <string>

using namespace foundation::tav;

std::string textOf(const char* message) {
#ifdef MISUSE
    return ErrorInfo::convert(message);
#else
    return ErrorInfo(message, "file", 1, "function").m_message;
#endif
}
