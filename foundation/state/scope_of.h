#pragma once

/// @file
/// How a state type says at which scope it lives: `StateScope`, `ScopeOf<T>`, and what a state type may be.
///
/// A type says it itself, or somebody says it of a type that can't be edited or is only declared:
/// @code
/// struct Selection {
///     using StateScope = foundation::tav::scope::Workspace;
///     std::vector<int> items;
/// };
///
/// template <>
/// struct foundation::state::ScopeOf<foreign::Licence> {
///     using type = foundation::tav::scope::Process;
/// };
/// @endcode
/// Every module has to see the same declaration.

#include <foundation/tav/scope.h>
#include <concepts>
#include <type_traits>

namespace foundation::state {

namespace detail {

template <class Scope>
concept ScopeTag = std::same_as<Scope, tav::scope::Process> || std::same_as<Scope, tav::scope::Zarn> ||
    std::same_as<Scope, tav::scope::Workspace>;

/// The scope of what doesn't compile anyway, so that one text says why.
template <class T>
struct MemberScope {
    static_assert(
        requires { sizeof(T); },
        "This state type is only declared here, and its scope can't be seen. Include its definition, or "
        "specialise foundation::state::ScopeOf for it beside its declaration.");
    static_assert(
        !requires { sizeof(T); },
        "This state type declares no scope. Write 'using StateScope = foundation::tav::scope::Workspace;' "
        "(or Zarn, or Process) into it, or specialise foundation::state::ScopeOf for a type that can't be "
        "edited.");
    using type = tav::scope::Process;
};

template <class T>
    requires requires { typename T::StateScope; }
struct MemberScope<T> {
    using type = typename T::StateScope;
};

}  // namespace detail

/// The scope of a state type: `type` is one of the tags of `foundation/tav/scope.h`. Specialise it for types without a
/// member `StateScope`.
template <class T>
struct ScopeOf {
    /// The tag; the type's `StateScope` unless it is specialised.
    using type = typename detail::MemberScope<T>::type;
};

namespace detail {

template <class T>
struct CheckedState {
    static_assert(!std::is_reference_v<T>,
                  "A state type must not be a reference: name the type itself, as in find<Selection>().");
    static_assert(!std::is_const_v<T> && !std::is_volatile_v<T>,
                  "A state type must not be const or volatile: name the type as it was stored, and make the result "
                  "const.");
    static_assert(!std::is_array_v<T>,
                  "A state type must not be an array: store a std::array or std::vector in a "
                  "struct.");
    static_assert(std::is_object_v<T> || std::is_reference_v<T>, "A state type must be an object type.");
    using type = std::remove_reference_t<T>;
};

template <class T>
struct CheckedScope {
    using type = typename ScopeOf<typename CheckedState<T>::type>::type;
    static_assert(ScopeTag<type>,
                  "The scope of this state type is none: StateScope (or ScopeOf<T>::type) must be "
                  "foundation::tav::scope::Process, Zarn or Workspace.");
};

}  // namespace detail

/// `T` itself, if it may be the type of a state.
template <class T>
using State = typename detail::CheckedState<T>::type;

}  // namespace foundation::state
