#pragma once

/// @file
/// How misuse of the library is reported: an `ErrorInfo` record, handed to the one `ErrorHandler` of the process.
///
/// A report goes three ways, in this order: to the diagnostic trace (channel "foundation::tav", severity 512), to the
/// installed handler, and to the host's `foundation::core::diag::terminate`. The handler is the host's only chance to
/// see the failure; by throwing it leaves the failing call instead of ending the process. A handler that returns, or
/// none at all, ends the process.
///
/// Example: turning misuse into an exception for as long as a test runs.
/// @code
/// void throwMisuse(const foundation::tav::ErrorInfo& info) { throw std::logic_error(info.m_message); }
///
/// const auto previous = foundation::tav::setErrorHandler(&throwMisuse);
/// // ...
/// foundation::tav::setErrorHandler(previous);
/// @endcode

#include <foundation/tav/export.h>
#include <boost/format/format_fwd.hpp>
#include <string>
#include <utility>

namespace foundation::tav {

/// What went wrong and where: the record that an error handler gets.
///
/// All members are constant and moving copies the message: a record handed to a handler is never emptied by a move.
/// This is deliberate.
///
/// ## Thread safety
/// Immutable; any number of threads may read one record.
/// ## Errors
/// Construction and copying may throw `std::bad_alloc`; construction from a format that lacks arguments throws
/// Boost.Format's own exception.
/// ## Lifetime
/// `m_file` and `m_function` are not owned; in the library's own records they have static storage. `m_message` lives
/// as long as the record, which the library frees when the handler has returned or thrown: copy what is to stay.
/// ## Re-entrancy
/// Calls nothing back.
class FOUNDATION_TAV_EXPORT ErrorInfo {
public:
    /// Stores the message and the place of the failure as they are.
    ///
    /// @param message a Boost.Format that was fed all its arguments, a C string (not null) or a `std::string`
    /// @param file the source file of the failing operation
    /// @param line its line
    /// @param function the qualified name of the failing operation without its signature
    ///
    /// REQUIRES: `file` and `function` outlive the record and its copies.
    template <class Message>
    ErrorInfo(Message&& message, const char* file, int line, const char* function)
        : m_message(convert(std::forward<Message>(message))), m_file(file), m_line(line), m_function(function) {}

    /// Copies the message; the place stays whose it is.
    ErrorInfo(const ErrorInfo& other);

    /// Copies as well, so that the record given keeps its message.
    ErrorInfo(ErrorInfo&& other);  // NOLINT(performance-noexcept-move-constructor): copies the message, which may throw
    ErrorInfo& operator=(const ErrorInfo&) = delete;
    ErrorInfo& operator=(ErrorInfo&&) = delete;
    ~ErrorInfo();

    const std::string m_message;   ///< What went wrong and, often, what to do.
    const char* const m_file;      ///< The source file of the failing operation, relative to the include root.
    const int m_line;              ///< The source line, counted from 1.
    const char* const m_function;  ///< The qualified name of the failing operation.

private:
    static std::string convert(const boost::basic_format<char>& message);
    static std::string convert(const char* message);
    static std::string convert(std::string message);
};

/// Called with each report, on the reporting thread.
///
/// ## Thread safety
/// May run on several threads at once.
/// ## Errors
/// What it throws leaves the failing operation; nothing is undone beyond what unwinding releases. When it returns, the
/// process ends.
/// ## Re-entrancy
/// A report about a `Process` context may come while that context is locked (refused inserts, children and
/// destruction): the handler must not call operations on the active Process context. Everything else is allowed.
using ErrorHandler = void (*)(const ErrorInfo&);

/// The installed handler, null when there is none. Any thread may call it at any time; it never fails.
FOUNDATION_TAV_EXPORT ErrorHandler getErrorHandler();

/// Installs a handler, or none with null, and returns the one that was installed before.
///
/// Any thread may call it at any time (a sequentially consistent exchange); it never fails. A report that has already
/// read the previous handler may still call it once. There is no default handler.
FOUNDATION_TAV_EXPORT ErrorHandler setErrorHandler(ErrorHandler handler);

}  // namespace foundation::tav
