// A handle keeps its context for life: none is moved into it.
// g++: Context<Scope>::operator=(foundation::tav::management::Context<Scope>&&)
// clang++: overload resolution selected deleted operator '='

#include <foundation/tav/context.h>
#include <utility>

using namespace foundation::tav;

void replace(management::Context<scope::Process>& process, management::Context<scope::Process>& other) {
#ifdef MISUSE
    process = std::move(other);
#else
    const management::Context<scope::Process> taken(std::move(other));
    process.destroy();
#endif
}
