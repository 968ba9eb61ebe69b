// Making a Process context is never the side effect of passing a flag.
// g++: Context<foundation::tav::scope::Process>&' from expression of type 'bool'
// clang++: no matching function for call to 'serve'

#include <foundation/tav/context.h>

using namespace foundation::tav;

void serve(const management::Context<scope::Process>& process);

void start() {
#ifdef MISUSE
    serve(true);
#else
    serve(management::Context<scope::Process>(true));
#endif
}
