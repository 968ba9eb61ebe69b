// There are three scopes and no others: a handle of any other type has no constructor.
// g++: no matching function for call to 'foundation::tav::management::Context<int>::Context(
// clang++: no matching constructor for initialization of 'const management::Context<Scope>' (aka 'const Context<int>')

#include <foundation/tav/context.h>

using namespace foundation::tav;

#ifdef MISUSE
using Scope = int;
#else
using Scope = scope::Zarn;
#endif

void open(management::Context<scope::Process>& process) { const management::Context<Scope> child(process); }
