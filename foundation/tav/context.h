#pragma once

/// @file
/// `management::Context<Scope>`: the handle that owns one context, the place where state objects of one scope live.
///
/// A `Context<Process>` is active for the whole process, at once when it is constructed with its default argument.
/// `Context<Zarn>` and `Context<Workspace>` are its children and grandchildren; they become current for one thread at a
/// time through a `thisthread::ContextActivator`.
///
/// | State     | Entered by                | State objects        | Children  | `activate()` | An activator       |
/// |-----------|---------------------------|----------------------|-----------|--------------|--------------------|
/// | running   | construction              | found, put in, erased | accepted | accepted     | makes it current   |
/// | shut down | `shutdown()`              | likewise; see *Errors* | refused | refused      | makes it current   |
/// | destroyed | `destroy()`, `~Context()` | deleted, newest first | none left | refused     | makes none current |
///
/// Example:
/// @code
/// using namespace foundation::tav;
/// management::Context<scope::Process> process;            // active at once
/// management::Context<scope::Zarn> zarn(process);
/// management::Context<scope::Workspace> workspace(zarn);  // at most one at a time per Zarn context
/// @endcode

#include <foundation/tav/export.h>
#include <foundation/tav/scope.h>
#include <concepts>
#include <memory>

namespace foundation::tav::management {

namespace thisthread {
class ContextActivator;
}

/// The move-only handle of one context. A handle that was moved from is *empty*: it is shut down and not active, and
/// `shutdown()`, `deactivate()` and `destroy()` do nothing.
///
/// ## Thread safety
/// A handle is a plain value: moving and freeing it need exclusive access. The other operations of a `Process` handle
/// may be called from any number of threads at once, beside each other and beside state operations; those of a `Zarn`
/// or `Workspace` handle may be called by one thread at a time. Children of one Process context may be created and
/// destroyed on different threads at once. The handle of the active context must not be freed while another thread
/// activates or deactivates through any handle.
/// ## Errors
/// Misuse goes to the error handler (`error.h`). What a throwing handler leaves behind:
/// - A refused child is released again; the parent is unchanged.
/// - A context that refuses to be destroyed because it has children keeps its state and everything in it.
/// - `activate()` while another Process context is active: the new one is active, the old one has lost its activation,
///   and the error is reported. `deactivate()` through the wrong handle likewise deactivates the active context, then
///   reports.
/// - Inserting into a context that is shut down *or destroyed* goes ahead, unless the environment variable
///   `KV_TAV_STRICT_SHUTDOWN` is set to anything but "0" (read once per process, when it first matters): then it is
///   reported. What goes into a destroyed context is deleted when the last share of the context is released.
/// - A Zarn or Workspace context destroyed while it is current on another thread is destroyed, and the failed
///   assertion "!isActive()" is reported.
/// - Constructors may throw `std::bad_alloc`; a Process context may throw `std::system_error` when its mutex can't be
///   locked.
/// ## Lifetime
/// Freeing a handle destroys its context. Within a context state objects are deleted newest first, and each deletion
/// has ended before the next begins. Children come before parents whatever order the handles are freed in: freeing the
/// handle of a context that still has children is misuse; it is reported, and the context is then destroyed when the
/// last of its children is. A context under destruction keeps its parent alive until its own state objects are gone.
/// The library's own data, its trace included, is usable from before the first static initialiser of default priority
/// until after the last static destructor of such an object (with shared libraries, of any priority), so handles may be
/// globals.
/// ## Re-entrancy
/// A deleter that runs while its context is destroyed may call every operation: it finds the states that are older than
/// its own and none that is newer, and what it inserts is destroyed too. `destroy()` of a context whose destruction is
/// in progress, or that of its last child, called by a deleter or another thread, returns at once and leaves the rest
/// to the call in progress. A deleter may free the handle of its own context and those of its parents.
template <class Scope>
class FOUNDATION_TAV_EXPORT Context {
public:
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    Context& operator=(Context&&) = delete;

    /// Makes a Process context and, if asked, activates it as `activate()` does.
    explicit Context(bool activate = true) requires std::same_as<Scope, scope::Process>;

    /// Makes a child of the Process context given.
    ///
    /// REQUIRES: the parent is running; its handle is not empty. Breaking this is reported as "Attempting to create a
    /// child of a shutdown context."
    explicit Context(Context<scope::Process>& parent) requires std::same_as<Scope, scope::Zarn>;

    /// Makes the child of the Zarn context given.
    ///
    /// REQUIRES: the parent is running, its handle is not empty, and it has no other Workspace context at this time.
    /// Breaking this is reported.
    explicit Context(Context<scope::Zarn>& parent) requires std::same_as<Scope, scope::Workspace>;

    /// Takes the context over; the other handle becomes empty.
    Context(Context&& other) noexcept;

    /// Destroys the context. An exception that comes out of its destruction is written to the trace and goes no
    /// further.
    ~Context();

    /// Makes this the active Process context of the process. Does nothing if it already is.
    ///
    /// REQUIRES: not shut down, not empty; no other Process context is active. Breaking this is reported, see *Errors*.
    void activate() requires std::same_as<Scope, scope::Process>;

    /// Leaves the process without an active Process context.
    ///
    /// REQUIRES: no other Process context is active. Breaking this is reported, see *Errors*.
    void deactivate() requires std::same_as<Scope, scope::Process>;

    /// Stops new children and, under `KV_TAV_STRICT_SHUTDOWN`, new state objects. Children, activation and the state
    /// objects that are there stay as they are.
    void shutdown();

    /// Whether the context was shut down or destroyed; true for an empty handle.
    bool isShutdown() const;

    /// Whether the context is active: in the process (Process) or on some thread (Zarn, Workspace). False for an empty
    /// handle.
    bool isActive() const;

    /// Deletes the state objects, newest first, and takes the context out of its parent, out of the calling thread's
    /// current contexts and out of the process-wide activation. Does nothing if that was done before. Linear in the
    /// number of state objects.
    ///
    /// REQUIRES: the context has no children, and is not current on another thread. Breaking this is reported, see
    /// *Errors*.
    void destroy();

private:
    template <class OtherScope>
    friend class Context;  // a child's constructor reads its parent
    friend class thisthread::ContextActivator;

    struct FOUNDATION_TAV_LOCAL Pimpl;
    std::unique_ptr<Pimpl> m_pimpl;  // null in an empty handle only
};

}  // namespace foundation::tav::management
