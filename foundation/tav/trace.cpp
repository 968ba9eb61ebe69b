#include <foundation/log/diagnostic_logger.h>
#include <foundation/tav/detail/platform.h>
#include <foundation/tav/detail/scope_trace.h>
#include <foundation/tav/detail/trace.h>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <utility>

namespace foundation::tav::detail {
namespace {

/// Gives the thread's severity slot a value and, at its end, the one back that it had: a record that the application
/// has in flight on this thread keeps its own.
class ThreadSeverity {
public:
    explicit ThreadSeverity(Severity severity)
        : m_slot(boost::log::sources::aux::get_severity_level()), m_previous(std::exchange(m_slot, severity)) {}
    ~ThreadSeverity() { m_slot = m_previous; }

    ThreadSeverity(const ThreadSeverity&) = delete;
    ThreadSeverity& operator=(const ThreadSeverity&) = delete;

private:
    std::uintmax_t& m_slot;
    const std::uintmax_t m_previous;
};

}  // namespace

// Before every static initialiser of default priority: in a static build nothing else would order the loggers before
// globals of the program that hold contexts.
FOUNDATION_TAV_INIT_FIRST log::diagnostic_logger errorLogger("foundation::tav");
FOUNDATION_TAV_INIT_FIRST log::diagnostic_logger libraryLogger("foundation::tav");

// Boost.Log makes a thread's severity slot when it is first asked for, and destroys it accordingly: asked for here, the
// main thread's outlives the globals of the program, whose destructors may still trace.
FOUNDATION_TAV_INIT_FIRST const ThreadSeverity mainThreadSeverity{Severity{}};

boost::log::record openRecord(log::diagnostic_logger& logger, Severity severity) {
    if (!logger.core()->get_logging_enabled()) return {};
    const std::lock_guard lock(logger.mutex());
    const ThreadSeverity threadSeverity(severity);
    return logger.core()->open_record(logger.attributes());  // reads the slot
}

void ScopeTrace::exit() noexcept {
    libraryLogger.indentation().decrease();
    // The exit of what was entered is written even if the mask has changed since.
    writeRecord(libraryLogger, exitSeverity, [this](auto& stream) {
        stream << m_signature;
        if (std::uncaught_exceptions() > m_uncaughtExceptions) stream << " [throw]";
    });
}

}  // namespace foundation::tav::detail

// For gdb, which runs the text if it trusts the file that it is in (docs/debugging.md): a section that is never loaded
// into memory, in this file since every program of a static build links it. The text gets names of its own, beside
// those of other libraries' scripts. 4: a Python text, with its own name on the first line.
#ifdef FOUNDATION_TAV_GDB_SCRIPT
asm(".pushsection .debug_gdb_scripts, \"MS\", %progbits, 1\n"
    ".byte 4\n"
    ".ascii \"foundation_tav\\nexec(r'''\"\n"
    ".incbin \"" FOUNDATION_TAV_GDB_SCRIPT
    "\"\n"
    ".asciz \"''', {'__name__': 'foundation_tav'})\\n\"\n"
    ".popsection\n");
#endif
