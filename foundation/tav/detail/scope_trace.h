#pragma once

/// @file
/// Entry and exit records of the traced operations, and the indentation between them.

#include <foundation/tav/detail/platform.h>
#include <foundation/tav/detail/trace.h>
#include <exception>

namespace foundation::tav::detail {

/// One traced call of an operation, from its entry record to its exit record; nothing at all until it is entered.
class ScopeTrace {
public:
    ScopeTrace() = default;
    ~ScopeTrace() {
        if (m_signature) [[unlikely]]
            exit();
    }
    ScopeTrace(const ScopeTrace&) = delete;
    ScopeTrace& operator=(const ScopeTrace&) = delete;

    /// Begins the call; `details` streams the operation's values, each label beginning with a blank. Not inlined, so
    /// that a masked trace leaves the operation's registers and stack alone.
    template <class Details>
    [[gnu::cold, gnu::noinline]] void enter(const char* signature, const Details& details) noexcept {
        if (!isEnabled(libraryLogger, entrySeverity)) return;  // a mask with the exit severity alone writes nothing
        m_signature = signature;
        m_uncaughtExceptions = std::uncaught_exceptions();
        trace(libraryLogger, entrySeverity, [&](auto& stream) {
            stream << signature;
            if (isEnabled(libraryLogger, detailsSeverity)) details(stream << ' ');
        });
        libraryLogger.indentation().increase();
    }

private:
    [[gnu::cold]] void exit() noexcept;

    const char* m_signature = nullptr;  // of what was entered
    int m_uncaughtExceptions = 0;       // at entry: an exit is a throw only by comparison with them
};

}  // namespace foundation::tav::detail

/// Traces the enclosing operation to its end; a macro for the operation's full signature. `details` is a chain of
/// insertions, which parentheses would break. NOLINTBEGIN(bugprone-macro-parentheses)
#define FOUNDATION_TAV_TRACE_SCOPE(details)                                                                   \
    ::foundation::tav::detail::ScopeTrace scopeTrace;                                                         \
    if (::foundation::tav::detail::isEnabled(                                                                 \
            ::foundation::tav::detail::libraryLogger,                                                         \
            ::foundation::tav::detail::entrySeverity | ::foundation::tav::detail::exitSeverity)) [[unlikely]] \
    scopeTrace.enter(FOUNDATION_TAV_SIGNATURE, [&](auto& stream) { stream << details; })
// NOLINTEND(bugprone-macro-parentheses)
