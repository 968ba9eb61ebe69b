#pragma once

/// @file
/// Reported misuse as an exception that tests can look at.

#include <foundation/tav/error.h>
#include <gmock/gmock.h>
#include <exception>
#include <string>
#include <vector>

namespace foundation::tests {

/// A copy of what an error handler got.
struct Reported : std::exception {
    Reported() = default;
    explicit Reported(const tav::ErrorInfo& info);
    const char* what() const noexcept override { return message.c_str(); }

    std::string message;
    std::string file;
    int line = 0;
    std::string function;
};

/// While it lives, each report is noted and leaves the failing operation as a `Reported`. One at a time.
class ThrowingErrorHandler {
public:
    ThrowingErrorHandler();
    ~ThrowingErrorHandler();
    ThrowingErrorHandler(const ThrowingErrorHandler&) = delete;
    ThrowingErrorHandler& operator=(const ThrowingErrorHandler&) = delete;

    /// All reports since construction, those of destructors included, which keep the exception to themselves.
    std::vector<Reported> reports() const;

private:
    const tav::ErrorHandler m_previous;
};

/// Installs the handler given for as long as it lives.
class ScopedErrorHandler {
public:
    explicit ScopedErrorHandler(tav::ErrorHandler handler) : m_previous(tav::setErrorHandler(handler)) {}
    ~ScopedErrorHandler() { tav::setErrorHandler(m_previous); }
    ScopedErrorHandler(const ScopedErrorHandler&) = delete;
    ScopedErrorHandler& operator=(const ScopedErrorHandler&) = delete;

private:
    const tav::ErrorHandler m_previous;
};

/// The report with which the operation fails, under a `ThrowingErrorHandler`.
template <class Operation>
Reported reportOf(Operation&& operation) {
    try {
        operation();
    } catch (const Reported& reported) {
        return reported;
    }
    ADD_FAILURE() << "Nothing was reported.";
    return {};
}

/// A report of the library's one implementation unit with the message, from the function.
template <class Message, class Function>
auto isReport(const Message& message, const Function& function) {
    using testing::Field;
    return testing::AllOf(
        Field("message", &Reported::message, message), Field("file", &Reported::file, "foundation/tav/management.cpp"),
        Field("line", &Reported::line, testing::Gt(0)), Field("function", &Reported::function, function));
}

}  // namespace foundation::tests
