#pragma once

/// @file
/// What the tests of the log library share: writing records, catching them, and giving global state back.

#include <foundation/log/diagnostic_logger.h>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record.hpp>
#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::log::testsupport {

/// Gives the calling thread's severity slot back.
class ScopedSeveritySlot {
public:
    ScopedSeveritySlot() = default;
    ScopedSeveritySlot(const ScopedSeveritySlot&) = delete;
    ScopedSeveritySlot& operator=(const ScopedSeveritySlot&) = delete;
    ~ScopedSeveritySlot() { boost::log::sources::aux::get_severity_level() = m_before; }

private:
    std::uintmax_t m_before = boost::log::sources::aux::get_severity_level();
};

/// Removes every sink there is at the end.
class ScopedSinks {
public:
    ScopedSinks() = default;
    ScopedSinks(const ScopedSinks&) = delete;
    ScopedSinks& operator=(const ScopedSinks&) = delete;
    ~ScopedSinks() { boost::log::core::get()->remove_all_sinks(); }
};

/// Indents the calling thread for a while.
class ScopedIndentation {
public:
    explicit ScopedIndentation(diagnostic_logger& logger, unsigned depth = 1) : m_logger(logger), m_depth(depth) {
        for (unsigned i = 0; i != m_depth; ++i) {
            m_logger.indentation().increase();
        }
    }
    ScopedIndentation(const ScopedIndentation&) = delete;
    ScopedIndentation& operator=(const ScopedIndentation&) = delete;
    ~ScopedIndentation() {
        for (unsigned i = 0; i != m_depth; ++i) {
            m_logger.indentation().decrease();
        }
    }

private:
    diagnostic_logger& m_logger;
    unsigned m_depth;
};

/// Opens a record at the severity, as the users of a logger do.
inline boost::log::record open(diagnostic_logger& logger, unsigned severity) {
    const std::lock_guard lock(logger.mutex());
    boost::log::sources::aux::get_severity_level() = severity;
    return logger.core()->open_record(logger.attributes());
}

/// Streams the message into the record and pushes it.
inline void push(boost::log::record record, std::string_view message) {
    {
        boost::log::record_ostream stream(record);
        stream << message;
        stream.flush();
    }
    boost::log::core::get()->push_record(std::move(record));
}

/// Writes a record at the severity and gives the slot back.
inline void write(diagnostic_logger& logger, unsigned severity, std::string_view message) {
    const ScopedSeveritySlot slot;
    boost::log::record record = open(logger, severity);
    if (record) push(std::move(record), message);
}

/// A record as a sink sees it; an attribute that is absent or of another type is empty.
struct Record {
    std::optional<unsigned> severity;
    std::optional<std::string> channel;
    std::optional<unsigned> indentation;
    std::optional<std::string> message;

    bool operator==(const Record&) const = default;
};

/// Keeps every record that is pushed for as long as it lives.
class RecordingSink {
public:
    RecordingSink() { boost::log::core::get()->add_sink(m_sink); }
    RecordingSink(const RecordingSink&) = delete;
    RecordingSink& operator=(const RecordingSink&) = delete;
    ~RecordingSink() { boost::log::core::get()->remove_sink(m_sink); }

    std::vector<Record> records() const { return m_sink->locked_backend()->records; }

private:
    struct Backend : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
        void consume(const boost::log::record_view& record) {
            records.push_back({.severity = valueOf<unsigned>("Severity", record),
                               .channel = valueOf<std::string>("Channel", record),
                               .indentation = valueOf<unsigned>("Indentation", record),
                               .message = valueOf<std::string>("Message", record)});
        }

        template <class T>
        static std::optional<T> valueOf(const char* name, const boost::log::record_view& record) {
            const auto value = boost::log::extract<T>(name, record);
            return value ? std::optional<T>(value.get()) : std::nullopt;
        }

        std::vector<Record> records;
    };

    boost::shared_ptr<boost::log::sinks::synchronous_sink<Backend>> m_sink =
        boost::make_shared<boost::log::sinks::synchronous_sink<Backend>>(boost::make_shared<Backend>());
};

}  // namespace foundation::log::testsupport
