// Contexts below Process need a parent.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Zarn>::Context(
// clang++: no matching constructor for initialization of 'const management::Context<scope::Zarn>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

void open() {
#ifdef MISUSE
    const management::Context<scope::Zarn> context;
#else
    const management::Context<scope::Process> context;
#endif
}
