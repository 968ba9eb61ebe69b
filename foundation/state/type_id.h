#pragma once

/// @file
/// `typeID<T>()`: the one id that a state type has in its scope, whatever modules of the process ask for it.
///
/// A module is the executable or a shared library. Types are the same where their mangled names are; a type of an
/// unnamed namespace is one of its own in each translation unit. (A class that is local to a `static` function goes by
/// its name alone: put such types into a namespace.) Modules must be linked to one and the same library
/// `foundation::state`: a static one can serve a program that consists of a single module.
///
/// Each module keeps the ids that it has asked for in hidden variables of its own.

#include <foundation/state/export.h>
#include <foundation/state/scope_of.h>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <typeinfo>

/// Whether the definition of a type is seen here. A macro, since a template would keep the answer that it gave first.
#define FOUNDATION_STATE_IS_DEFINED(T) \
    requires { sizeof(T); }

namespace foundation::state {

/// What modules have to agree on, besides the scope. All zero: the type is only declared.
struct Layout {
    std::size_t size = 0;       ///< `sizeof` the type
    std::size_t alignment = 0;  ///< `alignof` the type
    unsigned version = 0;       ///< `StateVersion` of the type, if it has one

    /// Whether all three are the same.
    friend bool operator==(const Layout&, const Layout&) = default;
};

/// The ids of one type in one module, once they were asked for.
struct CachedIDs {
    /// No id: it was not asked for yet.
    static constexpr std::uint64_t unknown = ~std::uint64_t(0);

    std::atomic<std::uint64_t> ofDefined = unknown;   ///< For code that sees the definition of the type,
    std::atomic<std::uint64_t> ofDeclared = unknown;  ///< and for code that doesn't.
};

/// The id of a type, which is new if no module has ever asked for it, put into the cache as well.
///
/// Thread-safe. A report about modules that disagree comes before anything is noted of the type in this module.
/// `getNextID` is traced with the registry locked: a sink of the trace must not meet state types of its own for the
/// first time.
///
/// REQUIRES: other modules in memory have declared the same scope for the type and, where they see its definition, the
/// same layout. Breaking this is reported.
template <class Scope>
FOUNDATION_STATE_EXPORT std::uint64_t registerType(CachedIDs& cache, const std::type_info& type, const Layout& layout);

/// The readable name of the type that has the id in a scope, given by `typeid` of its tag; empty if the id was not
/// handed out here. Thread-safe; linear in the number of types.
FOUNDATION_STATE_EXPORT std::string typeName(const std::type_info& scope, std::uint64_t id);

/// What a pointer's type points at: the only way to name a type that is only declared.
FOUNDATION_STATE_EXPORT const std::type_info& pointedAt(const std::type_info& pointer);

namespace detail {

template <class T>
FOUNDATION_STATE_LOCAL inline constinit CachedIDs cachedIDs{};

template <class T>
consteval unsigned versionOf() {
    if constexpr (requires { T::StateVersion; })
        return T::StateVersion;
    else
        return 0;
}

template <class T, bool isDefined>
FOUNDATION_STATE_LOCAL inline const std::type_info& typeInfo() {
    if constexpr (isDefined)
        return typeid(T);
    else
        return pointedAt(typeid(T*));
}

template <class T, bool isDefined>
consteval Layout layoutOf() {
    if constexpr (isDefined)
        return {sizeof(T), alignof(T), versionOf<T>()};
    else
        return {};
}

template <class T, bool isDefined>
FOUNDATION_STATE_LOCAL inline constexpr Layout layout = layoutOf<T, isDefined>();

}  // namespace detail

/// The id of a state type. One load, from the second call in a module on; `isDefined` is never given: code that sees
/// the definition of a type and code that doesn't are two functions.
///
/// Thread-safe. REQUIRES and errors as for `registerType`.
template <class T, bool isDefined = FOUNDATION_STATE_IS_DEFINED(T)>
FOUNDATION_STATE_LOCAL inline std::uint64_t typeID() {
    CachedIDs& cache = detail::cachedIDs<T>;
    const std::uint64_t id = (isDefined ? cache.ofDefined : cache.ofDeclared).load(std::memory_order_relaxed);
    if (id != CachedIDs::unknown) [[likely]]
        return id;
    return registerType<typename detail::CheckedScope<T>::type>(cache, detail::typeInfo<T, isDefined>(),
                                                                detail::layout<T, isDefined>);
}

}  // namespace foundation::state
