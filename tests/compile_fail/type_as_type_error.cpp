// Making a type error takes naming it.
// g++: to non-scalar type 'const foundation::tav::DoesNotExistTypeError' requested
// clang++: no viable conversion from 'const std::type_info' to 'const foundation::tav::DoesNotExistTypeError'

#include <foundation/tav/type_error.h>

using namespace foundation::tav;

void fail(const std::type_info& type) {
#ifdef MISUSE
    const DoesNotExistTypeError error = type;
#else
    const DoesNotExistTypeError error(type);
#endif
}
