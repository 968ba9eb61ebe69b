// A handler reads a report and does not change it.
// g++: assignment of read-only member 'foundation::tav::ErrorInfo::m_line'
// clang++: cannot assign to non-static data member 'm_line' with const-qualified type 'const int'

#include <foundation/tav/error.h>

using namespace foundation::tav;

int explain(ErrorInfo& info) {
#ifdef MISUSE
    return info.m_line = 1;
#else
    return info.m_line;
#endif
}
