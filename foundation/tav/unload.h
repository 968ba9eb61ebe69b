#pragma once

/// @file
/// `management::eraseStatesDeletedBy`: for code that is about to leave memory, and whose deleters must not stay behind.

#include <foundation/tav/export.h>
#include <cstdint>

namespace foundation::tav::management {

/// Deletes the states whose deleter lies at an address from `begin` to before `end`, in the active Process context and
/// all contexts below it, and returns their number: children before parents, the newest sibling first, and newest first
/// within a context, each deletion ended before the next begins. As in a context's destruction a deleter finds the
/// states that are older than its own, and what it inserts in its own context is deleted too. Does nothing where no
/// Process context is active.
///
/// Contexts that are current on another thread are passed over: `inspectContexts` (`inspect.h`) tells of them.
///
/// ## Thread safety
/// Any thread may call it. The Process context is locked to take each state out; what `Detail<Scope>::eraseAll` leaves
/// to its callers it leaves to them as well: no other thread may use, create or destroy the Zarn and Workspace contexts
/// or make them current meanwhile. Nor may the Process handle be freed.
/// ## Errors
/// May throw `std::bad_alloc` before anything is deleted, and `std::system_error` when the lock can't be taken.
/// ## Lifetime
/// Shares the contexts that it works on until it returns.
/// ## Re-entrancy
/// Deleters run unlocked and may call every operation.
///
/// Linear in the number of contexts, and for each of them in its states times those that are deleted.
FOUNDATION_TAV_EXPORT std::uint64_t eraseStatesDeletedBy(const void* begin, const void* end);

}  // namespace foundation::tav::management
