#pragma once

/// @file
/// The host's exceptions: the bases `IException` and `IInternalException`, and the wrapper in which any exception class
/// is thrown as one of the host's.
///
/// Host exceptions carry their text in UTF-16, can be cloned and thrown again without knowing their type, and travel
/// between threads in a `std::exception_ptr` as well as in a `boost::exception_ptr`. `IException` is deliberately no
/// `std::exception`: wrapping an exception class `T` that is one would leave two `std::exception` bases in the object,
/// and `catch (const std::exception&)` would catch neither.
///
/// Example:
/// @code
/// using foundation::core::except::detail::AnonymousInternalException;
/// try {
///     throw AnonymousInternalException<std::out_of_range>(std::out_of_range("No such page."));
/// } catch (const std::logic_error& error) {  // or as what it was made of, as any base of that, as IInternalException
///     show(error.what());
/// }
/// @endcode

#include <foundation/core/export.h>
#include <atomic>
#include <boost/config.hpp>
#include <boost/exception/exception.hpp>  // IWYU pragma: keep
#include <memory>
#include <string>

namespace foundation::core::except {

/// The base of all host exceptions.
///
/// ## Thread safety
/// Distinct objects are independent; one object may be read by any number of threads. The error information that
/// `boost::exception` carries is shared by plain copies without a lock, and not shared by clones.
/// ## Errors
/// Copying, destroying and `what()` never throw. `message()` and `convert_str()` may throw `std::bad_alloc`.
/// ## Lifetime
/// The text that `what()` returns lives as long as the object and doesn't change.
/// ## Re-entrancy
/// `what()` calls `message()`.
class FOUNDATION_CORE_EXPORT IException : public boost::exception_detail::clone_base, public boost::exception {
public:
    IException() noexcept;

    /// A copy without the text that `what()` has made: it makes its own.
    IException(const IException& other) noexcept;
    IException& operator=(const IException&) = delete;
    ~IException() noexcept override;

    /// The text of `message()` in UTF-8, in which a surrogate without its partner reads U+FFFD. It is made at the first
    /// call; "Unknown exception" where that fails.
    virtual const char* what() const noexcept;

    /// The text of the exception in UTF-16: u"Unknown exception", unless the class has one to give.
    virtual std::u16string message() const;

    /// The UTF-8 text in UTF-16. Each maximal part that begins like a character and goes on otherwise, and each byte
    /// that begins none, becomes one U+FFFD, as Unicode recommends: no byte of a good character is lost to a bad one.
    /// Linear in the size of the text.
    static std::u16string convert_str(const std::string& text);

private:
    mutable std::atomic<const std::string*> m_text{nullptr};  // owned; made by the first what() and final from then on
};

/// The base of the exceptions that tell of a bug, as opposed to bad input or a failing environment.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `IException`.
class FOUNDATION_CORE_EXPORT IInternalException : public IException {
public:
    IInternalException() noexcept;

    /// As of `IException`.
    IInternalException(const IInternalException& other) noexcept;
    ~IInternalException() noexcept override;
};

/// What is a host exception (an `Interface`) and a `T` at once, with the text of the `T`: the base under which all
/// exceptions made of a `T` can be caught. `Enable` is there for partial specialisations.
///
/// REQUIRES: `Interface` is `IException` or derives from it; `T` is a class with a `what()` that returns a C string
/// (null where there is none), and is neither a `boost::exception` nor a host exception itself.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `IException`. What is assigned to the `T` part shows in `what()` only before the first call of `what()`.
template <class Interface, class T, class Enable = void>
class BOOST_SYMBOL_VISIBLE Exception : public Interface, public T {
public:
    /// Makes an exception of the `T` given, which is copied.
    explicit Exception(const T& error) : Interface(), T(error) {}

    /// Copies both parts.
    Exception(const Exception&) = default;
    ~Exception() noexcept override = default;

    /// What can be thrown knows its own type: see `AnonymousInternalException`.
    const boost::exception_detail::clone_base* clone() const override = 0;

    /// Likewise.
    void rethrow() const override = 0;

    /// That of the `Interface`: `message()` in UTF-8.
    const char* what() const noexcept override { return Interface::what(); }

    /// The text of the `T` part.
    std::u16string message() const override {
        const char* text = T::what();
        return Interface::convert_str(text ? text : "Unknown exception");
    }
};

namespace detail {

/// What is thrown where a `T` is to be caught as an internal exception of the host, too.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `IException`. Classes derived from it have to override `clone()` and `rethrow()`, which copy this class only.
template <class T>
class BOOST_SYMBOL_VISIBLE AnonymousInternalException : public Exception<IInternalException, T, void> {
public:
    /// Makes an exception of the `T` given, which is copied.
    explicit AnonymousInternalException(const T& error) : Exception<IInternalException, T, void>(error) {}

    /// As throwing and catching by value do. It shares error information with the other: `clone()` doesn't.
    AnonymousInternalException(const AnonymousInternalException&) = default;
    ~AnonymousInternalException() noexcept override = default;

    /// A copy of the exception, owned by the caller. It shares no error information with this one, so that each of
    /// them may go to a thread of its own.
    ///
    /// @throws std::bad_alloc and what copying a `T` throws
    const boost::exception_detail::clone_base* clone() const override {
        auto copy = std::make_unique<AnonymousInternalException>(*this);
        boost::exception_detail::copy_boost_exception(copy.get(), this);
        return copy.release();
    }

    /// Throws a copy of the exception.
    [[noreturn]] void rethrow() const override { throw *this; }
};

}  // namespace detail

}  // namespace foundation::core::except
