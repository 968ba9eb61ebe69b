#pragma once

/// @file
/// `management::inspectContexts`: what contexts there are and what they hold, as a value to look at.
///
/// Example: the states of every context, oldest context first.
/// @code
/// for (const management::ContextRecord& context : management::inspectContexts())
///     for (const management::StateRecord& state : context.states)
///         std::cout << context.scope->name() << ' ' << context.address << ' ' << state.typeID << '\n';
/// @endcode

#include <foundation/tav/context_set.h>
#include <foundation/tav/export.h>
#include <foundation/tav/state_ptr.h>
#include <cstdint>
#include <typeinfo>
#include <vector>

namespace foundation::tav::management {

/// See the table in `context.h`. A context whose state objects are being deleted reads as shut down.
enum class ContextState : std::int32_t { running, shutdown, destroyed };

/// One stored state object.
struct StateRecord {
    std::uint64_t typeID;  ///< Of the scope of its context.
    const void* address;   ///< The object; it may be gone by now.
    StateDeleter deleter;  ///< What will delete it.
};

/// One context as it was when it was looked at. The addresses name it, and lead nowhere else.
struct ContextRecord {
    const std::type_info* scope;      ///< `typeid` of the scope's tag.
    const void* address;              ///< The context's identity, as the trace writes it.
    const void* parent;               ///< The parent's address; null for Process.
    ContextState state;               ///< How far its life has come.
    std::uint64_t activations;        ///< Zarn, Workspace: 0 or 1, and more only after refused activations.
    bool isCurrent;                   ///< For the calling thread; for Process, in the whole process.
    std::vector<StateRecord> states;  ///< Newest first.
};

/// The active Process context and all contexts below it, each before its children, siblings in the order of their
/// creation. Empty where no Process context is active. Contexts that have left their parent, which is the first step of
/// their destruction, belong no more.
///
/// ## Thread safety
/// Any thread may call it at any time: it holds the Process context's lock meanwhile and calls nobody back. What
/// `Detail<Scope>::eraseAll` leaves to its callers it leaves to them as well: Zarn and Workspace contexts have no lock,
/// and no other thread may use, create or destroy them or make them current meanwhile. Nor may the Process handle be
/// freed.
/// ## Errors
/// Throws `std::bad_alloc`, or `std::system_error` when the lock can't be taken. Nothing is reported.
/// ## Lifetime
/// The records are the caller's, and share nothing with the contexts.
/// ## Re-entrancy
/// Deleters, error handlers and sinks of the trace may call it, also where the report is made with the active Process
/// context locked: the thread that holds the lock for its report doesn't take it again.
///
/// Linear in the number of contexts and states.
FOUNDATION_TAV_EXPORT std::vector<ContextRecord> inspectContexts();

/// Whether a context of the set counts as current on another thread, so that an activator of the set would be refused
/// on this one. Any thread may call it, where no other makes these contexts current or lets them go meanwhile. Never
/// fails.
FOUNDATION_TAV_EXPORT bool isCurrentElsewhere(const ContextSet& contexts);

}  // namespace foundation::tav::management
