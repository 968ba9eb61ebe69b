// TypeError is the base of the type errors and none itself.
// g++: cannot declare variable 'error' to be of abstract type 'foundation::tav::TypeError'
// clang++: variable type 'const foundation::tav::TypeError' is an abstract class

#include <foundation/tav/type_error.h>

using namespace foundation::tav;

void fail() {
#ifdef MISUSE
    const TypeError error("Something is wrong.", typeid(int));
#else
    const DoesNotExistTypeError error(typeid(int));
#endif
}
