// A Process context has no parent.
// g++: use of deleted function 'foundation::tav::management::Context<Scope>::Context(const
// clang++: call to deleted constructor of 'const management::Context<scope::Process>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

void open(management::Context<scope::Process>& process) {
#ifdef MISUSE
    const management::Context<scope::Process> child(process);
#else
    const management::Context<scope::Zarn> child(process);
#endif
}
