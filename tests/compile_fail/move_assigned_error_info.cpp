// A report is a record of what happened and does not change.
// g++: ErrorInfo::operator=(foundation::tav::ErrorInfo&&)'
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/error.h>
#include <utility>

using namespace foundation::tav;

void replace(ErrorInfo& info, ErrorInfo& other) {
#ifdef MISUSE
    info = std::move(other);
#else
    const ErrorInfo copy(std::move(other));
    static_cast<void>(info);
#endif
}
