#pragma once

/// @file
/// State by its type: the operations of `Detail<Scope>` (`foundation/tav/detail.h`) without ids, `std::type_info` and
/// casts.
///
/// A state type names its scope (`scope_of.h`), and every operation works on the required context of that scope.
///
/// | Operation        | No required context | State absent      | State present    |
/// |------------------|---------------------|-------------------|------------------|
/// | `find`           | reported            | null              | found            |
/// | `findOrFail`     | reported            | reported          | found            |
/// | `findOrThrow`    | throws              | throws            | found            |
/// | `findOrCreate`   | reported (`find`)   | constructed       | found            |
/// | `create`         | reported (`insert`) | constructed       | reported         |
/// | `insert`         | reported            | inserted          | reported         |
/// | `erase`          | reported            | false             | deleted, true    |
/// | `eraseAll`       | reported            | 0                 | deleted, counted |
///
/// Example:
/// @code
/// struct Selection {
///     using StateScope = foundation::tav::scope::Workspace;
///     std::vector<int> items;
/// };
///
/// foundation::state::findOrCreate<Selection>().items.push_back(42);
/// @endcode
///
/// The type may be only declared where it is not made: then `ScopeOf` says its scope, and it is inserted as a `Ptr`.
/// The template argument `isDefined` of the operations is never given.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `Detail<Scope>`, with these additions. Every operation but `isContextActive` reports modules that disagree
/// about the type (`type_id.h`) before it does anything else; when that or another report is thrown, a state that was
/// offered is deleted. A constructor and a destructor of the type run unlocked, and may call every operation. Deleters
/// lie in the module that calls `create`, `findOrCreate`, `make`, or `insert` of a `std::unique_ptr`.

#include <foundation/state/export.h>
#include <foundation/state/scope_of.h>
#include <foundation/state/type_id.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/state_ptr.h>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace foundation::state {

/// Deletes a state through a function that was chosen where its type was complete.
template <class T>
struct Deleter {
    tav::StateDeleter function = nullptr;  ///< Null in a `Ptr` that owns nothing only.

    /// Deletes the state.
    FOUNDATION_STATE_LOCAL void operator()(T* state) const { function(state); }
};

/// Owns a state whose type may be only declared. It converts to no `Ptr` of another type, deliberately: the deleter
/// wants the address that it was made for.
template <class T>
using Ptr = std::unique_ptr<T, Deleter<T>>;

namespace detail {

template <class T>
using DetailOf = tav::Detail<typename CheckedScope<T>::type>;

template <class T>
FOUNDATION_STATE_LOCAL void deleteState(void* state) {
    delete static_cast<T*>(state);
}

template <class T, bool isDefined>
struct CheckedDefinition {
    static_assert(isDefined,
                  "This state type is only declared here: include its definition, or take it from "
                  "foundation::state::make where it is complete and insert that.");
    using type = State<T>;
};

template <class T>
struct CheckedDefinition<T, true> {
    static_assert(!std::is_polymorphic_v<T> || std::has_virtual_destructor_v<T>,
                  "A polymorphic state type needs a virtual destructor.");
    using type = State<T>;
};

/// `T` itself, where a state of that type may be made.
template <class T, bool isDefined>
using Defined = typename CheckedDefinition<T, isDefined>::type;

/// The object of a state that was offered, as `Detail` wants it.
///
/// REQUIRES: it is not null. Breaking this is reported.
FOUNDATION_STATE_EXPORT tav::StatePtr checkedState(const std::type_info& type, void* state, tav::StateDeleter deleter);

template <class T>
FOUNDATION_STATE_LOCAL inline T* objectOf(const tav::StatePtr* state) {
    return state ? static_cast<T*>(state->get()) : nullptr;
}

}  // namespace detail

/// The state of the type, or null.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline State<T>* find() {
    return detail::objectOf<T>(detail::DetailOf<T>::find(typeID<T, isDefined>(), detail::typeInfo<T, isDefined>()));
}

/// The state of the type.
///
/// REQUIRES: it is present. Breaking this is reported.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline State<T>& findOrFail() {
    return *detail::objectOf<T>(
        &detail::DetailOf<T>::findOrFail(typeID<T, isDefined>(), detail::typeInfo<T, isDefined>()));
}

/// The state of the type; absence is no misuse here.
///
/// @throws foundation::tav::NoActiveContextTypeError when the required context is absent, and
/// `foundation::tav::DoesNotExistTypeError` when the state is, both wrapped as `type_error.h` says
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline State<T>& findOrThrow() {
    return *detail::objectOf<T>(
        &detail::DetailOf<T>::findOrThrow(typeID<T, isDefined>(), detail::typeInfo<T, isDefined>()));
}

/// Constructs a state for `insert` of the arguments given, or of braces around them where the type is an aggregate.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T), class... Arguments>
FOUNDATION_STATE_LOCAL inline Ptr<detail::Defined<T, isDefined>> make(Arguments&&... arguments) {
    if constexpr (std::is_constructible_v<T, Arguments...>)
        return {new T(std::forward<Arguments>(arguments)...), {&detail::deleteState<T>}};
    else
        return {new T{std::forward<Arguments>(arguments)...}, {&detail::deleteState<T>}};
}

/// Stores a state that was made where its type was complete.
///
/// REQUIRES: the pointer is not null, and no state of the type is present. Breaking this is reported.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline State<T>& insert(Ptr<T> state) {
    const std::type_info& type = detail::typeInfo<T, isDefined>();
    const std::uint64_t id = typeID<T, isDefined>();
    const tav::StateDeleter deleter = state.get_deleter().function;
    tav::StatePtr offered = detail::checkedState(type, state.release(), deleter);
    return *detail::objectOf<T>(&detail::DetailOf<T>::insert(id, type, std::move(offered)));
}

/// Stores a state. It is found by the type of the pointer, whatever derived class the object is of.
///
/// REQUIRES: as for a `Ptr`. In code that may be unloaded the whole object must belong to the module that calls this:
/// the module of the deleter is what is asked when a module goes.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline State<T>& insert(std::unique_ptr<T>&& state) {
    using Object = detail::Defined<T, isDefined>;
    return insert<T, isDefined>(Ptr<Object>(state.release(), {&detail::deleteState<Object>}));
}

/// Constructs and stores a state, as `make` and `insert` do. The construction comes first.
///
/// REQUIRES: no state of the type is present. Breaking this is reported.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T), class... Arguments>
FOUNDATION_STATE_LOCAL inline detail::Defined<T, isDefined>& create(Arguments&&... arguments) {
    return insert<T, isDefined>(make<T, isDefined>(std::forward<Arguments>(arguments)...));
}

/// The state of the type, constructed as `make` does if there is none. Where the state appears while it is being
/// constructed, on another thread or by the constructor's own doing, the one constructed here is deleted again.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T), class... Arguments>
FOUNDATION_STATE_LOCAL inline detail::Defined<T, isDefined>& findOrCreate(Arguments&&... arguments) {
    if (T* const present = find<T, isDefined>()) return *present;
    Ptr<T> fresh = make<T, isDefined>(std::forward<Arguments>(arguments)...);
    const tav::StateDeleter deleter = fresh.get_deleter().function;
    tav::StatePtr offered(fresh.release(), deleter);  // deleted here, unlocked, if it is not taken
    return *detail::objectOf<T>(&detail::DetailOf<T>::findOrInsert(
        typeID<T, isDefined>(), detail::typeInfo<T, isDefined>(), std::move(offered)));
}

/// Deletes the state of the type; false if there is none.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline bool erase() {
    return detail::DetailOf<T>::erase(typeID<T, isDefined>(), detail::typeInfo<T, isDefined>());
}

/// Deletes the states of the type in every context of its scope below the active Process context, and returns their
/// number, as `Detail<Scope>::eraseAll` does.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline std::uint64_t eraseAll() {
    return detail::DetailOf<T>::eraseAll(typeID<T, isDefined>(), detail::typeInfo<T, isDefined>());
}

/// Whether the context that states of the type live in is there. No lock, no trace, no report.
template <class T>
FOUNDATION_STATE_LOCAL inline bool isContextActive() {
    return detail::DetailOf<T>::isRequiredContextActive();
}

}  // namespace foundation::state
