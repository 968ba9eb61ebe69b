#pragma once

/// @file
/// Entry and exit records of the traced operations, and the indentation between them.

#include <foundation/tav/detail/trace.h>
#include <exception>
#include <optional>

namespace foundation::tav::detail {

/// One traced call of an operation, from its entry record to its exit record.
class ScopeTrace {
public:
    /// Begins a call; `details` streams the operation's values, each label beginning with a blank.
    template <class Details>
    ScopeTrace(log::diagnostic_logger& logger, const char* signature, const Details& details) noexcept
        : m_logger(logger),
          m_enabled(isEnabled(logger, entrySeverity)),
          m_signature(signature),
          m_uncaughtExceptions(std::uncaught_exceptions()) {
        if (!m_enabled) return;
        trace(m_logger, entrySeverity, [&](auto& stream) {
            stream << m_signature;
            if (isEnabled(m_logger, detailsSeverity)) details(stream << ' ');
        });
        m_logger.indentation().increase();
    }

    ~ScopeTrace() {
        if (!m_enabled) return;
        m_logger.indentation().decrease();
        // The exit of what was entered is written even if the mask has changed since.
        writeRecord(m_logger, exitSeverity, [this](auto& stream) {
            stream << m_signature;
            if (std::uncaught_exceptions() > m_uncaughtExceptions) stream << " [throw]";
        });
    }

    ScopeTrace(const ScopeTrace&) = delete;
    ScopeTrace& operator=(const ScopeTrace&) = delete;

private:
    log::diagnostic_logger& m_logger;
    const bool m_enabled;  // a mask with the exit severity alone makes traces that write nothing
    const char* const m_signature;
    const int m_uncaughtExceptions;  // at entry: an exit is a throw only by comparison with them
};

}  // namespace foundation::tav::detail

/// Traces the enclosing operation to its end; a macro for the operation's full signature. `details` is a chain of
/// insertions, which parentheses would break: NOLINTNEXTLINE(bugprone-macro-parentheses)
#define FOUNDATION_TAV_TRACE_SCOPE(details)                                                                   \
    std::optional<::foundation::tav::detail::ScopeTrace> scopeTrace;                                          \
    if (::foundation::tav::detail::isEnabled(                                                                 \
            ::foundation::tav::detail::libraryLogger,                                                         \
            ::foundation::tav::detail::entrySeverity | ::foundation::tav::detail::exitSeverity)) [[unlikely]] \
    scopeTrace.emplace(::foundation::tav::detail::libraryLogger, __PRETTY_FUNCTION__,                         \
                       [&](auto& stream) { stream << details; })
