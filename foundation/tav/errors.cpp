#include <foundation/core/diag.h>
#include <foundation/tav/detail/messages.h>
#include <foundation/tav/detail/trace.h>
#include <foundation/tav/error.h>
#include <foundation/tav/report.h>
#include <foundation/tav/type_error.h>
#include <atomic>
#include <boost/format.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <typeinfo>

namespace foundation::tav {
namespace {

constinit std::atomic<ErrorHandler> errorHandler = nullptr;

/// The message as it is traced and passed to termination; as it came where memory for the whole text is wanting, since
/// a report must not be lost.
std::string withCallerBug(const std::string& message) noexcept try { return message + detail::callerBug; } catch (...) {
    return {};
}

}  // namespace

ErrorInfo::ErrorInfo(const ErrorInfo& other) = default;
ErrorInfo::ErrorInfo(ErrorInfo&& other) = default;  // NOLINT(performance-noexcept-move-constructor): see the header
ErrorInfo::~ErrorInfo() = default;

std::string ErrorInfo::convert(const boost::basic_format<char>& message) { return message.str(); }
std::string ErrorInfo::convert(const char* message) { return message; }
std::string ErrorInfo::convert(std::string message) { return message; }

ErrorHandler getErrorHandler() { return errorHandler.load(); }
ErrorHandler setErrorHandler(ErrorHandler handler) { return errorHandler.exchange(handler); }

void reportError(const ErrorInfo& info) {
    const std::string composed = withCallerBug(info.m_message);
    const std::string& message = composed.empty() ? info.m_message : composed;
    detail::trace(detail::errorLogger, detail::errorSeverity, [&](auto& stream) {
        stream << "m_function=" << info.m_function << "  m_file=" << info.m_file << "  m_line=" << info.m_line
               << "  m_message=" << message;
    });
    if (const ErrorHandler handler = getErrorHandler()) handler(info);
    core::diag::terminate(message, info.m_file, info.m_line, info.m_function);
}

TypeError::TypeError(std::string_view message, const std::type_info& type)
    : std::runtime_error(std::string(message) + detail::callerBug), m_type(&type) {}
TypeError::TypeError(const TypeError& other) noexcept = default;
TypeError& TypeError::operator=(const TypeError& other) noexcept = default;
TypeError::~TypeError() = default;

const std::type_info& TypeError::getType() const { return *m_type; }
std::string TypeError::getTypeName() const { return detail::getName(*m_type); }

DoesNotExistTypeError::DoesNotExistTypeError(const std::type_info& type)
    : TypeError(detail::formatted(detail::doesNotExist, detail::getName(type)), type) {}
DoesNotExistTypeError::DoesNotExistTypeError(const DoesNotExistTypeError& other) noexcept = default;
DoesNotExistTypeError& DoesNotExistTypeError::operator=(const DoesNotExistTypeError& other) noexcept = default;
DoesNotExistTypeError::~DoesNotExistTypeError() = default;

NoActiveContextTypeError::NoActiveContextTypeError(const std::type_info& type)
    : TypeError(detail::formatted("No active TAV context with scope specified for state type '%1%'. ",
                                  detail::getName(type)) +
                    detail::contextRequired,
                type) {}
NoActiveContextTypeError::NoActiveContextTypeError(const NoActiveContextTypeError& other) noexcept = default;
NoActiveContextTypeError& NoActiveContextTypeError::operator=(const NoActiveContextTypeError& other) noexcept = default;
NoActiveContextTypeError::~NoActiveContextTypeError() = default;

}  // namespace foundation::tav
