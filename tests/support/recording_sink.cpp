#include "recording_sink.h"

#include <foundation/log/diagnostic_logger.h>
#include <atomic>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/shared_ptr.hpp>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace foundation::tests {
namespace {

template <class Value>
Value valueOf(const char* name, const boost::log::record_view& record) {
    return boost::log::extract_or_default<Value>(name, record, Value());
}

// Boost.Log takes boost::shared_ptr only; this one frees nothing, as the recording sink owns its own.
boost::shared_ptr<boost::log::sinks::sink> notOwning(boost::log::sinks::sink& sink) {
    return {&sink, [](boost::log::sinks::sink*) {}};
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Record& record) {
    return stream << '[' << record.channel << "] " << record.severity << ' '
                  << std::string(std::size_t{2} * record.indentation, ' ') << record.message;
}

class RecordingSink::Sink : public boost::log::sinks::sink {
public:
    Sink() : boost::log::sinks::sink(false) {}

    bool will_consume(const boost::log::attribute_value_set&) override {
        failIf(SinkFailure::whenAsked);
        return true;
    }

    void consume(const boost::log::record_view& record) override {
        failIf(SinkFailure::whenWritten);
        const std::lock_guard lock(m_mutex);
        m_records.push_back({.severity = valueOf<unsigned>("Severity", record),
                             .indentation = valueOf<unsigned>("Indentation", record),
                             .message = valueOf<std::string>("Message", record),
                             .channel = valueOf<std::string>("Channel", record)});
    }

    void flush() override {}

    void fail(SinkFailure failure) { m_failure = failure; }
    unsigned failures() const { return m_failures; }

    std::vector<Record> take() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_records, {});
    }

private:
    void failIf(SinkFailure failure) {
        if (m_failure != failure) return;
        ++m_failures;
        throw std::runtime_error("The sink is broken.");
    }

    std::atomic<SinkFailure> m_failure = SinkFailure::none;
    std::atomic<unsigned> m_failures = 0;
    std::mutex m_mutex;
    std::vector<Record> m_records;
};

RecordingSink::RecordingSink() : m_sink(std::make_shared<Sink>()) {
    boost::log::core::get()->add_sink(notOwning(*m_sink));
}

RecordingSink::~RecordingSink() { boost::log::core::get()->remove_sink(notOwning(*m_sink)); }

void RecordingSink::fail(SinkFailure failure) { m_sink->fail(failure); }
unsigned RecordingSink::failures() const { return m_sink->failures(); }
std::vector<Record> RecordingSink::take() { return m_sink->take(); }

class NullSink::Sink : public boost::log::sinks::sink {
public:
    Sink() : boost::log::sinks::sink(false) {}
    bool will_consume(const boost::log::attribute_value_set&) override { return false; }
    void consume(const boost::log::record_view&) override {}
    void flush() override {}
};

NullSink::NullSink() : m_sink(std::make_shared<Sink>()) { boost::log::core::get()->add_sink(notOwning(*m_sink)); }

NullSink::~NullSink() { boost::log::core::get()->remove_sink(notOwning(*m_sink)); }

ScopedMask::ScopedMask(unsigned mask) : m_previous(log::severity_mask(tavChannel)) {
    log::set_severity_mask(tavChannel, mask);
}

ScopedMask::~ScopedMask() { log::set_severity_mask(tavChannel, m_previous); }

}  // namespace foundation::tests
