// Workspace contexts do not nest.
// g++: use of deleted function 'foundation::tav::management::Context<Scope>::Context(const
// clang++: call to deleted constructor of 'const management::Context<scope::Workspace>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Parent = scope::Workspace;
#else
using Parent = scope::Zarn;
#endif

void open(management::Context<Parent>& parent) { const management::Context<scope::Workspace> child(parent); }
