#include <foundation/state/hand_off.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/context_set.h>
#include <foundation/tav/inspect.h>
#include <foundation/tav/report.h>

namespace foundation::state {

using tav::management::ContextSet;

ContextSet handOff(tav::management::thisthread::ContextActivator& activator) {
    ContextSet contexts = activator.getActiveContexts();
    activator.deactivate();
    return contexts;
}

namespace detail {

ContextSet takeContexts(std::unique_ptr<ContextSet>& contexts) {
    constexpr const char* function = "foundation::state::Task::operator()";
    if (!contexts)
        tav::reportError(
            {"Attempting to run a task that was run before, or moved from. A task gives its contexts back "
             "when it has run: hand them off again, and 'bind' a new task for each run.",
             __FILE__, __LINE__, function});
    if (tav::management::isCurrentElsewhere(*contexts))
        tav::reportError(
            {"Attempting to run a task while its contexts are current on another thread. Deactivate them "
             "there first: a context is current on one thread at a time.",
             __FILE__, __LINE__, function});
    return std::move(*std::exchange(contexts, nullptr));
}

}  // namespace detail
}  // namespace foundation::state
