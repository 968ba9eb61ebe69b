#pragma once

/// @file
/// `Detail<Scope>`: the operations through which state objects are stored, found and erased, by type id.
///
/// Each state type has one id per scope, obtained once from `getNextID` and used for every call. Every operation works
/// on the *required context* of its scope: the active Process context for `Process`, the calling thread's current
/// context for `Zarn` and `Workspace`. `eraseAll` alone works on the active Process context for all three.
///
/// | Operation      | No required context | State absent      | State present |
/// |----------------|---------------------|-------------------|---------------|
/// | `find`         | reported            | null              | found         |
/// | `findOrFail`   | reported            | reported          | found         |
/// | `findOrThrow`  | throws              | throws            | found         |
/// | `findOrInsert` | reported            | inserted          | found         |
/// | `insert`       | reported            | inserted          | reported      |
/// | `erase`        | reported            | false             | deleted, true |
/// | `eraseAll`     | reported            | 0                 | deleted, counted |
///
/// Example:
/// @code
/// Selection& selection() {
///     using State = foundation::tav::Detail<foundation::tav::scope::Workspace>;
///     static const std::uint64_t id = State::getNextID(typeid(Selection));
///     return *static_cast<Selection*>(State::findOrFail(id, typeid(Selection)).get());
/// }
/// @endcode

#include <foundation/tav/export.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>
#include <cstdint>
#include <typeinfo>

namespace foundation::tav {

/// The state operations of one scope.
///
/// The type id alone selects the state; the `std::type_info` that goes with it only names the type in messages,
/// exceptions and the trace.
///
/// ## Thread safety
/// Any thread may call any operation. The Process context is locked for each operation; the references and pointers
/// returned are valid until the state is erased or its context destroyed, which the callers have to agree on. Zarn and
/// Workspace contexts are current on one thread and not locked. One race remains by design: `eraseAll` for Zarn and
/// Workspace reaches into contexts that other threads may be using, creating or destroying, and nothing keeps those
/// threads out of them meanwhile. The Process handle must not be freed while other threads use its state.
/// ## Errors
/// Misuse goes to the error handler (`error.h`), absence in `findOrThrow` is thrown (`type_error.h`). The state offered
/// to an operation that fails, or that finds one present, stays with the caller. Lookups size the context's table, so
/// every operation with a type id may throw `std::length_error` (the id + 1024 passes what a table can hold) or
/// `std::bad_alloc`, before anything changes; a locked Process context may throw `std::system_error`.
/// ## Lifetime
/// Every state belongs to its context from insertion until it is erased or the context is destroyed.
/// ## Re-entrancy
/// Deleters run unlocked and may call every operation. An error handler called by `insert` and `findOrInsert` of the
/// Process scope runs with the context locked.
template <class Scope>
struct FOUNDATION_TAV_EXPORT Detail {
    /// The state of the type, or null. Constant time: a bounds test and an array read; an id beyond the context's table
    /// enlarges it to `typeID` + 1024 slots.
    static StatePtr* find(std::uint64_t typeID, const std::type_info& type);

    /// The state of the type.
    ///
    /// REQUIRES: it is present. Breaking this is reported.
    static StatePtr& findOrFail(std::uint64_t typeID, const std::type_info& type);

    /// The state of the type; absence is no misuse here.
    ///
    /// @throws NoActiveContextTypeError (wrapped, see `type_error.h`) when the required context is absent
    /// @throws DoesNotExistTypeError (likewise) when the state is absent
    static StatePtr& findOrThrow(std::uint64_t typeID, const std::type_info& type);

    /// The state of the type; the one offered is stored if there is none, and otherwise stays with the caller.
    ///
    /// REQUIRES: the offered `StatePtr` owns an object.
    static StatePtr& findOrInsert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state);

    /// Stores a state and returns it as stored.
    ///
    /// REQUIRES: no state of the type is present (breaking this is reported); the `StatePtr` owns an object.
    static StatePtr& insert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state);

    /// Deletes the state of the type; false if there is none.
    static bool erase(std::uint64_t typeID, const std::type_info& type);

    /// Deletes the states of the type in every context of the scope below the active Process context, parents and
    /// siblings in the order of their creation, and returns their number. All are taken out first, then deleted.
    static std::uint64_t eraseAll(std::uint64_t typeID, const std::type_info& type);

    /// A new type id of this scope: 0, 1, 2, ... Needs no context, takes no lock and never fails.
    static std::uint64_t getNextID(const std::type_info& type);

    /// Whether the required context is there. No lock, no trace.
    static bool isRequiredContextActive();
};

}  // namespace foundation::tav
