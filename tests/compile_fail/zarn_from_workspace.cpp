// A Zarn context belongs to the Process context.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Zarn>::Context(
// clang++: no matching constructor for initialization of 'const management::Context<scope::Zarn>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Parent = scope::Workspace;
#else
using Parent = scope::Process;
#endif

void open(management::Context<Parent>& parent) { const management::Context<scope::Zarn> child(parent); }
