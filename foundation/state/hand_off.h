#pragma once

/// @file
/// Handing a thread's contexts on with the work that is to be done in them: `handOff` takes them off this thread,
/// `bind` makes a task of them and a callable that any thread may run.
///
/// | The task is ...          | Contexts of the set                  | Callable                        |
/// |--------------------------|--------------------------------------|---------------------------------|
/// | waiting                  | current nowhere                      | not called                      |
/// | running                  | current on the thread that runs it   | called, once                    |
/// | run, dropped, moved from | no longer its own; free for others   | not called; running is reported |
///
/// Example:
/// @code
/// tav::management::thisthread::ContextActivator activator(document);
/// auto task = state::bind(state::handOff(activator), [] { state::findOrFail<Selection>().items.clear(); });
/// std::jthread worker(std::move(task));  // or boost::asio::post(pool, std::move(task)), or a queue of one's own
/// @endcode

#include <foundation/state/export.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/context_set.h>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace foundation::state {

/// Deactivates the activator, and gives the contexts that it had made current.
///
/// REQUIRES: called on the activator's thread; it was not deactivated before. Breaking the latter is reported, as by
/// `getActiveContexts()`. Restoring the previous contexts may be misuse, as by `deactivate()`: the set is dropped then.
FOUNDATION_STATE_EXPORT tav::management::ContextSet handOff(tav::management::thisthread::ContextActivator& activator);

namespace detail {

/// The contexts out of a task's hands, where it may run with them.
///
/// REQUIRES: they are there, and current on no other thread. Breaking this is reported, and leaves them there.
FOUNDATION_STATE_EXPORT tav::management::ContextSet takeContexts(
    std::unique_ptr<tav::management::ContextSet>& contexts);

/// The contexts of a set made current. The first step leaves none current, and its end restores what was: where that is
/// refused, the thread is left without contexts, and not with the task's.
struct Activation {
    FOUNDATION_STATE_LOCAL explicit Activation(tav::management::ContextSet contexts) : active(std::move(contexts)) {}

    const tav::management::thisthread::ContextActivator none;
    const tav::management::thisthread::ContextActivator active;
};

}  // namespace detail

/// Calls a callable in the contexts of a set. Move-only; for whatever takes callables that are: `std::thread`,
/// `std::async`, `std::packaged_task`, `boost::asio::post`.
///
/// A context that was destroyed while the task waited is none in the callable, silently, as an activator has it: the
/// callable asks (`isContextActive`) if that may happen.
///
/// ## Thread safety
/// A plain value, which may be moved, run and dropped on any thread, one at a time. While it runs its contexts must be
/// current on no other thread; those that `handOff` gave are current on none, unless they are activated anew.
/// ## Errors
/// - Running it a second time, or after it was moved from: reported before anything else is done.
/// - What the callable throws passes through, the previous contexts restored.
/// - Contexts that are current on another thread: reported before anything is changed, here or in the task.
/// - Restoring may be misuse, where another thread has made the previous contexts current meanwhile. Reported beside an
///   exception in flight it ends the process, whatever the handler does.
/// - May throw `std::bad_alloc` before the callable is called; the task counts as run.
/// ## Lifetime
/// Shares the contexts until it was run or dropped, and keeps none from being destroyed. The callable lives as long as
/// the task, also after its call, and is destroyed in whatever contexts are current where the task is. What it refers
/// to must outlive the call: contexts that die take their states along.
/// ## Re-entrancy
/// The callable may do everything, with other activators and tasks as well. It must not run or free its own task.
template <class Callable>
class Task {
public:
    /// What `bind` makes.
    ///
    /// @param contexts what the callable is to run in; not null
    /// @param callable what is to be run
    FOUNDATION_STATE_LOCAL Task(std::unique_ptr<tav::management::ContextSet> contexts, Callable callable)
        : m_contexts(std::move(contexts)), m_callable(std::move(callable)) {}

    /// Makes the contexts current, calls the callable as an rvalue, restores what was current before, and returns what
    /// the callable has returned.
    ///
    /// REQUIRES: the task was neither run nor moved from, and its contexts are current on no other thread. Breaking
    /// this is reported.
    template <class... Arguments>
    FOUNDATION_STATE_LOCAL std::invoke_result_t<Callable, Arguments...> operator()(Arguments&&... arguments) {
        const detail::Activation activation(detail::takeContexts(m_contexts));
        return std::invoke(std::move(m_callable), std::forward<Arguments>(arguments)...);
    }

private:
    std::unique_ptr<tav::management::ContextSet> m_contexts;  // null once the task was run or moved from
    Callable m_callable;
};

/// A task that calls the callable, which is moved or copied into it, in the contexts of the set.
template <class Callable>
FOUNDATION_STATE_LOCAL Task<std::decay_t<Callable>> bind(tav::management::ContextSet contexts, Callable&& callable) {
    return {std::make_unique<tav::management::ContextSet>(std::move(contexts)), std::forward<Callable>(callable)};
}

}  // namespace foundation::state
