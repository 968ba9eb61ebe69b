// A report is a record of what happened and does not change.
// g++: ErrorInfo::operator=(const foundation::tav::ErrorInfo&)'
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/error.h>

using namespace foundation::tav;

void replace(ErrorInfo& info, const ErrorInfo& other) {
#ifdef MISUSE
    info = other;
#else
    const ErrorInfo copy(other);
    static_cast<void>(info);
#endif
}
