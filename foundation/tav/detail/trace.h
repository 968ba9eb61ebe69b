#pragma once

/// @file
/// Plain records of the diagnostic trace. A trace point whose severity is masked off costs one relaxed load and a test;
/// no exception leaves one, whatever a sink, a stream or an allocation throws: the record is dropped instead.

#include <foundation/log/diagnostic_logger.h>
#include <boost/log/core.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <locale>
#include <utility>

namespace foundation::tav::detail {

/// Each a bit of the mask; a record's severity is the same number.
enum Severity : unsigned {
    detailsSeverity = 2,  ///< not a record's: scope records then bear the operation's values
    informationSeverity = 16,
    entrySeverity = 32,
    exitSeverity = 64,
    errorSeverity = 512,
};

extern log::diagnostic_logger errorLogger;    ///< for reported errors alone
extern log::diagnostic_logger libraryLogger;  ///< for every other trace point

/// Whether any of the severities given is in the logger's mask.
inline bool isEnabled(const log::diagnostic_logger& logger, unsigned severities) {
    constexpr unsigned severityBits = 0x7fff;
    return (logger.mask() & severities & severityBits) != 0;
}

/// A record with the severity that it will keep; empty where nobody wants it.
boost::log::record openRecord(log::diagnostic_logger& logger, Severity severity);

/// What Boost.Log's pump of records takes for a logger.
struct RecordPusher {
    using char_type = char;

    void push_record(boost::log::record&& record) const { core->push_record(std::move(record)); }

    const boost::log::core_ptr& core;
};

/// Writes a record whatever the mask says; `compose` streams its text, and is not called where nobody wants it.
template <class Compose>
[[gnu::cold, gnu::noinline]] void writeRecord(log::diagnostic_logger& logger, Severity severity,
                                              const Compose& compose) noexcept try {
    boost::log::record record = openRecord(logger, severity);
    if (!record) return;
    const RecordPusher pusher{logger.core()};
    // Pushes the record at its end, unless by an exception. Its stream is one that the thread keeps for the next
    // record.
    const boost::log::aux::record_pump<const RecordPusher> pump(pusher, record);
    // Plain digits, whatever the global locale is.
    if (pump.stream().getloc() != std::locale::classic()) pump.stream().imbue(std::locale::classic());
    compose(pump.stream());
} catch (...) {
}

/// Writes a record if the mask asks for it.
template <class Compose>
void trace(log::diagnostic_logger& logger, Severity severity, const Compose& compose) noexcept {
    if (isEnabled(logger, severity)) [[unlikely]]
        writeRecord(logger, severity, compose);
}

}  // namespace foundation::tav::detail
