// A Workspace context belongs to a Zarn context.
// g++: no matching function for call to 'foundation::tav::management::Context<foundation::tav::scope::Workspace>::Conte
// clang++: no matching constructor for initialization of 'const management::Context<scope::Workspace>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Parent = scope::Process;
#else
using Parent = scope::Zarn;
#endif

void open(management::Context<Parent>& parent) { const management::Context<scope::Workspace> child(parent); }
