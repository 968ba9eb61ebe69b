#pragma once

/// @file
/// The exceptions that `Detail<Scope>::findOrThrow` throws, all about one state type.
///
/// What is thrown is `foundation::core::except::detail::AnonymousInternalException<T>` with one of the concrete types
/// below as `T`: it can be caught as `T`, as `TypeError`, as `std::exception`, or as the host's `IInternalException`.

#include <foundation/tav/export.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <typeinfo>

namespace foundation::tav {

/// The common base: a message and the state type that it is about.
///
/// ## Thread safety
/// Distinct objects are independent; one object may be read by any number of threads.
/// ## Errors
/// Construction may throw `std::bad_alloc`; copying and destroying never throw.
/// ## Lifetime
/// Refers to the `std::type_info` of the state type, which lives as long as the module that defines the type.
/// ## Re-entrancy
/// Calls nothing back.
struct FOUNDATION_TAV_EXPORT TypeError : std::runtime_error {
    /// Makes the message of the text given and the sentence with which every type error ends.
    TypeError(std::string_view message, const std::type_info& type);

    /// Shares the text.
    TypeError(const TypeError& other) noexcept;

    /// Takes the text and the type over.
    TypeError& operator=(const TypeError& other) noexcept;
    ~TypeError() override = 0;

    /// The state type asked for.
    const std::type_info& getType() const;

    /// The readable name of the state type asked for, as it stands in the message.
    std::string getTypeName() const;

private:
    const std::type_info* m_type;  // never null; a pointer, so that type errors can be assigned
};

/// The context is there, but no state of the type was ever put into it.
struct FOUNDATION_TAV_EXPORT DoesNotExistTypeError : TypeError {
    /// Makes the message for the state type asked for.
    explicit DoesNotExistTypeError(const std::type_info& type);

    /// As of `TypeError`.
    DoesNotExistTypeError(const DoesNotExistTypeError& other) noexcept;

    /// As of `TypeError`.
    DoesNotExistTypeError& operator=(const DoesNotExistTypeError& other) noexcept;
    ~DoesNotExistTypeError() override;
};

/// No context of the scope that the state type requires is active.
struct FOUNDATION_TAV_EXPORT NoActiveContextTypeError : TypeError {
    /// Makes the message for the state type asked for.
    explicit NoActiveContextTypeError(const std::type_info& type);

    /// As of `TypeError`.
    NoActiveContextTypeError(const NoActiveContextTypeError& other) noexcept;

    /// As of `TypeError`.
    NoActiveContextTypeError& operator=(const NoActiveContextTypeError& other) noexcept;
    ~NoActiveContextTypeError() override;
};

}  // namespace foundation::tav
