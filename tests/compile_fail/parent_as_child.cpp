// Making a child is never the side effect of passing its parent.
// g++: Context<foundation::tav::scope::Zarn>&' from expression of type 'foundation::tav::management::Context<
// clang++: no matching function for call to 'serve'

#include <foundation/tav/context.h>

using namespace foundation::tav;

void serve(const management::Context<scope::Zarn>& zarn);

void start(management::Context<scope::Process>& process) {
#ifdef MISUSE
    serve(process);
#else
    serve(management::Context<scope::Zarn>(process));
#endif
}
