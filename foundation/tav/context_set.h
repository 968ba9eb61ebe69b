#pragma once

/// @file
/// `management::ContextSet`: the value that names a thread's current contexts, to carry them to another thread or to
/// make them current again later.
///
/// | State                 | Comes from                                     | `isEmpty()` |
/// |-----------------------|------------------------------------------------|-------------|
/// | no record             | moving out of the set                          | true        |
/// | record without a Zarn | `ContextSet()`, an activator of no Zarn context | true       |
/// | record with a Zarn    | an activator of a Zarn or Workspace context    | false       |
///
/// Example: work goes on where it was, on another thread.
/// @code
/// ContextSet contexts = activator.getActiveContexts();
/// activator.deactivate();  // a context is current on one thread at a time
/// std::thread worker([contexts = std::move(contexts)]() mutable {
///     thisthread::ContextActivator activator(std::move(contexts));
///     // ...
/// });
/// @endcode

#include <foundation/tav/export.h>
#include <memory>

namespace foundation::tav::management {

namespace thisthread {
class ContextActivator;
}

/// At most one Zarn and one Workspace context, shared. Only a `thisthread::ContextActivator` makes sets that are not
/// empty.
///
/// ## Thread safety
/// A plain value: distinct sets are independent, also when they name the same contexts; one set must not be used from
/// two threads at once.
/// ## Errors
/// Construction may throw `std::bad_alloc`; nothing else fails, and nothing is reported.
/// ## Lifetime
/// Keeps the contexts that it names alive, though not from being destroyed through their handles. Releases the
/// Workspace context before the Zarn context.
/// ## Re-entrancy
/// Releasing the last share of a context that was never destroyed deletes its state objects on this thread.
class FOUNDATION_TAV_EXPORT ContextSet {
public:
    ContextSet(const ContextSet&) = delete;
    ContextSet& operator=(const ContextSet&) = delete;

    /// Names no context.
    ContextSet();

    /// Takes the other set's contexts over; the other is left without a record.
    ContextSet(ContextSet&& other) noexcept;

    /// Takes the other set's contexts over, then releases those that this set named. Assigning a set to itself changes
    /// nothing.
    ContextSet& operator=(ContextSet&& other) noexcept;

    ~ContextSet();

    /// Whether the set names a Zarn context.
    explicit operator bool() const;

    /// Whether the set names no Zarn context; a Workspace context is not looked at.
    bool isEmpty() const;

    /// Whether both sets are empty, or name the very same contexts.
    friend FOUNDATION_TAV_EXPORT bool operator==(const ContextSet& a, const ContextSet& b);

    /// Whether one set is empty and the other is not, or both have records that name different contexts.
    ///
    /// This is not the negation of `==` in one case, deliberately: two sets without a Zarn context that name different
    /// Workspace contexts are equal and unequal at once. Only activating destroyed Workspace contexts makes such sets.
    friend FOUNDATION_TAV_EXPORT bool operator!=(const ContextSet& a, const ContextSet& b);

private:
    friend class thisthread::ContextActivator;
    friend FOUNDATION_TAV_EXPORT bool isCurrentElsewhere(const ContextSet& contexts);  // inspect.h

    struct FOUNDATION_TAV_LOCAL Pimpl;
    explicit ContextSet(const Pimpl& contexts);

    std::unique_ptr<Pimpl> m_pimpl;  // null in a moved-from set only
};

}  // namespace foundation::tav::management
