// A parent takes its child in, so it must not be constant.
// g++: discards qualifiers
// clang++: no matching constructor for initialization of 'const management::Context<scope::Zarn>'

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Parent = const management::Context<scope::Process>;
#else
using Parent = management::Context<scope::Process>;
#endif

void open(Parent& parent) { const management::Context<scope::Zarn> child(parent); }
