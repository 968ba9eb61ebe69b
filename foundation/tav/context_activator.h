#pragma once

/// @file
/// `management::thisthread::ContextActivator`: the scope guard that makes contexts current for the calling thread and
/// restores the previous ones.
///
/// | Constructed from        | Current Zarn context      | Current Workspace context |
/// |-------------------------|---------------------------|---------------------------|
/// | `Context<Zarn>&`        | that context              | none                      |
/// | `Context<Workspace>&`   | the parent of that context | that context             |
/// | `NullContext<Workspace>` | as it was                | none                      |
/// | `NullContext<Zarn>`, nothing | none                 | none                      |
/// | `ContextSet`            | the one that the set names | the one that the set names |
///
/// Example:
/// @code
/// {
///     management::thisthread::ContextActivator activator(workspace);
///     Detail<scope::Workspace>::findOrFail(selectionID, typeid(Selection));  // works on `workspace`
/// }  // what was current before is current again
/// @endcode

#include <foundation/tav/context.h>
#include <foundation/tav/context_set.h>
#include <foundation/tav/export.h>
#include <foundation/tav/scope.h>
#include <memory>

namespace foundation::tav::management {

/// Stands for no context of the scope, where an activator expects a context.
template <class Scope>
struct NullContext {};

namespace thisthread {

/// Makes contexts current for the calling thread, from construction until `deactivate()` or destruction.
///
/// Activators nest: each remembers what it replaced. A context that is already current stays as it is; a context that
/// is destroyed leaves none current in its place, silently, though `getActiveContexts()` still names it. An empty
/// handle or a moved-from set counts as no context.
///
/// ## Thread safety
/// Belongs to the thread that constructed it: deactivating or freeing it on another would restore its previous contexts
/// there. A Zarn or Workspace context is current on one thread at a time.
/// ## Errors
/// - A context that is current on another thread: reported as "Non-concurrent context activated by more than one
///   thread. ...". If the handler throws, the refused activation stays counted, so that the context reads as active
///   from then on, and of an activation left half-way the step already made (the Zarn context) stays made.
/// - `getActiveContexts()`, `getPreviousContexts()` after deactivation: reported as "Error accessing deactivated
///   ContextActivator".
/// - Constructors may throw `std::bad_alloc`; they and deactivation may throw `std::bad_weak_ptr` where the thread's
///   current context is being released by its last owner at that moment.
/// - The destructor lets exceptions out (`noexcept(false)`), since restoring the previous contexts may be misuse; its
///   record is freed in every case.
/// ## Lifetime
/// Shares the contexts that it made current and those that it will restore; the thread itself owns none. Activators
/// should end in reverse order. One that ends out of order installs its previous contexts all the same, so that the
/// thread is left with those of whichever ended last.
/// ## Re-entrancy
/// Restoring releases shares; the last share of a context that was never destroyed deletes its state objects here.
class FOUNDATION_TAV_EXPORT ContextActivator {
public:
    ContextActivator(const ContextActivator&) = delete;
    ContextActivator& operator=(const ContextActivator&) = delete;

    /// Leaves no context current, as `NullContext<Zarn>` does.
    ContextActivator();

    /// Makes a Zarn context current, and no Workspace context.
    explicit ContextActivator(Context<scope::Zarn>& context);

    /// Leaves no context current.
    explicit ContextActivator(NullContext<scope::Zarn> none);

    /// Makes a Workspace context and its parent current.
    explicit ContextActivator(Context<scope::Workspace>& context);

    /// Leaves no Workspace context current, and the Zarn context as it is.
    explicit ContextActivator(NullContext<scope::Workspace> none);

    /// Makes the contexts of a set current, on this thread or on another than the one that the set comes from.
    explicit ContextActivator(ContextSet contexts);

    /// Deactivates, if that was not done before.
    ~ContextActivator() noexcept(false);  // NOLINT(bugprone-exception-escape): restoring may be misuse

    /// Makes the previous contexts current again; one that was destroyed meanwhile leaves none. A second call does
    /// nothing.
    ///
    /// REQUIRES: called on the thread that constructed the activator.
    void deactivate();

    /// The contexts that this activator was asked to make current.
    ///
    /// REQUIRES: `isActivated()`. Breaking this is reported, see *Errors*.
    ContextSet getActiveContexts() const;

    /// The contexts that were current before, which deactivation restores.
    ///
    /// REQUIRES: `isActivated()`. Breaking this is reported, see *Errors*.
    ContextSet getPreviousContexts() const;

    /// Whether it has not been deactivated yet.
    bool isActivated() const;

private:
    // Whether the context is the calling thread's current one (Zarn, Workspace) or the process's (Process).
    template <class Scope>
    static bool isActive(const Context<Scope>& context);

    struct FOUNDATION_TAV_LOCAL Pimpl;
    std::unique_ptr<Pimpl> m_pimpl;  // null once deactivated
};

}  // namespace thisthread
}  // namespace foundation::tav::management
