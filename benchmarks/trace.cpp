// The trace: a masked trace point, and records that are written.

#include <foundation/log/diagnostic_logger.h>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <string>
#include <vector>

#include "support/host.h"

namespace bench {
namespace {

void BM_MaskedTracePoint(benchmark::State& state) {
    measureRounds(state, [](std::size_t) { use(Detail<Zarn>::getNextID(stateType)); });
}
BENCHMARK(BM_MaskedTracePoint);

void BM_MaskedTracePointFloor(benchmark::State& state) {
    measureRounds(state, [](std::size_t) { use(floor::nextIDTraced(stateType)); });
}
BENCHMARK(BM_MaskedTracePointFloor);

void BM_NoTracePointFloor(benchmark::State& state) {
    measureRounds(state, [](std::size_t) { use(floor::nextID(stateType)); });
}
BENCHMARK(BM_NoTracePointFloor);

/// Reads the text of every record; keeps them only if asked to.
class Reader : public boost::log::sinks::basic_sink_backend<
                   boost::log::sinks::combine_requirements<boost::log::sinks::concurrent_feeding>::type> {
public:
    explicit Reader(std::vector<std::string>* kept) : m_kept(kept) {}

    void consume(const boost::log::record_view& record) {
        const std::string& text = *record[boost::log::expressions::smessage];
        use(text.size());
        if (m_kept) m_kept->push_back(text);
    }

private:
    std::vector<std::string>* const m_kept;
};

/// Entry, exit and details are written for as long as this lives, to a reader.
class TraceOn {
public:
    explicit TraceOn(std::vector<std::string>* kept = nullptr)
        : m_sink(boost::make_shared<boost::log::sinks::unlocked_sink<Reader>>(boost::make_shared<Reader>(kept))) {
        boost::log::core::get()->add_sink(m_sink);
        foundation::log::set_severity_mask(channel, 32 + 64 + 2);
    }
    ~TraceOn() {
        foundation::log::set_severity_mask(channel, m_previousMask);
        boost::log::core::get()->remove_sink(m_sink);
    }
    TraceOn(const TraceOn&) = delete;
    TraceOn& operator=(const TraceOn&) = delete;

private:
    static constexpr const char* channel = "foundation::tav";

    const unsigned m_previousMask = foundation::log::severity_mask(channel);
    const boost::shared_ptr<boost::log::sinks::unlocked_sink<Reader>> m_sink;
};

/// The records of one call.
template <class Call>
std::vector<std::string> recordsOf(Call& call) {
    std::vector<std::string> records;
    const TraceOn on(&records);
    call();
    return records;
}

// A call writes two records, its entry and its exit; the time is that of one record.
constexpr int recordsPerCall = 2;

struct TracedCall {
    void operator()() { use(&Detail<Zarn>::findOrInsert(id, stateType, std::move(offered))); }

    Host host;
    std::uint64_t id = typeIDs<Zarn>(1)[0];
    StatePtr offered = makeStaticState();
};

void BM_Record(benchmark::State& state) {
    TracedCall call;
    const TraceOn on;
    while (state.KeepRunningBatch(recordsPerCall))
        call();
}
BENCHMARK(BM_Record);

void BM_RecordFloor(benchmark::State& state) {
    TracedCall call;
    const std::vector<std::string> records = recordsOf(call);
    const std::string& signature = records.at(1);
    const auto recordByHand = [&] { floor::recordCall(signature.c_str(), call.id, stateType, &call.host); };
    const std::vector<std::string> recordsByHand = recordsOf(recordByHand);
    // But for the address, whose length is that of every address.
    if (records[0].size() != recordsByHand.at(0).size() || records[1] != recordsByHand.at(1))
        return state.SkipWithError("The records written by hand are not those of the library.");
    const TraceOn on;
    while (state.KeepRunningBatch(recordsPerCall))
        recordByHand();
}
BENCHMARK(BM_RecordFloor);

}  // namespace
}  // namespace bench
