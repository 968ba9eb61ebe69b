// The trace, turned on and off while threads run.

#include <foundation/log/diagnostic_logger.h>
#include <cstddef>
#include <iterator>
#include <set>

#include "../support/recording_sink.h"
#include "threads.h"

namespace foundation::tests {
namespace {

class TraceOfManyThreads : public ThreadsTest {
protected:
    // The threads use the library until `change(0)`, ..., `change(turns - 1)` have been called, each with time enough
    // for a thread to do everything under what it changed. Then each thread calls `last`.
    template <class Change, class Last>
    void change(unsigned turns, const Change& change, const Last& last) {
        std::atomic<unsigned> uses = 0;
        std::atomic<bool> isOver = false;
        together(threads() + 1, [&](unsigned index) {
            if (index < threads()) {
                for (; !isOver; ++uses)
                    useEverything(index);
                last();
                return;
            }
            for (unsigned turn = 0; turn < turns; ++turn) {
                change(turn);
                // Two uses per thread: one of them began after the change.
                for (const unsigned before = uses; uses - before < 2 * threads();)
                    std::this_thread::yield();
            }
            isOver = true;
        });
    }

    RecordingSink sink;

private:
    void useEverything(unsigned index) {
        Context<Zarn> zarn(m_process);
        const ContextActivator activator(zarn);
        Detail<Zarn>::insert(0, typeid(Counted), Counted::make(index));
        Detail<Process>::findOrInsert(index, typeid(Counted), Counted::make(index));
        Detail<Process>::erase(index, typeid(Counted));
        std::string message;
        EXPECT_FALSE(succeeds([] { Detail<Zarn>::findOrFail(1, typeid(Counted)); }, message));
    }

    const ScopedMask m_restored{0};
    Context<Process> m_process;
};

// Records come from all threads, whole, and of the severities that some mask asked for.
TEST_P(TraceOfManyThreads, MasksChangeWhileTheThreadsRun) {
    constexpr unsigned masks[] = {0, 16, 32, 32 | 64, 512, 2 | 16 | 32 | 64 | 512};
    std::set<unsigned> seen;
    const auto changeMask = [&](unsigned turn) {
        log::set_severity_mask(tavChannel, masks[turn % std::size(masks)]);
        for (const Record& record : sink.take()) {
            EXPECT_EQ(record.channel, tavChannel);
            EXPECT_FALSE(record.message.empty());
            seen.insert(record.severity);
        }
    };
    change(10 * std::size(masks), changeMask, [] {});
    EXPECT_EQ(seen, (std::set<unsigned>{16, 32, 64, 512}));
    EXPECT_EQ(Counted::alive(), 0);
}

// However a mask cuts off an operation's records, the next one shows that the thread's indentation is back.
TEST_P(TraceOfManyThreads, IndentationIsBackWhateverTheMasksWere) {
    const auto changeMask = [](unsigned turn) { log::set_severity_mask(tavChannel, turn % 2 == 0 ? 96u : 0u); };
    std::latch idle(threads());
    change(40, changeMask, [&] {
        idle.arrive_and_wait();
        log::set_severity_mask(tavChannel, 16);
        Detail<Process>::getNextID(typeid(Counted));
    });
    unsigned ids = 0;
    for (const Record& record : sink.take()) {
        if (record.severity != 16) continue;
        ++ids;
        EXPECT_EQ(record.indentation, 0u) << record;
    }
    EXPECT_EQ(ids, threads());
}

INSTANTIATE_TEST_SUITE_P(Threads, TraceOfManyThreads, testing::Values(2, 4, 16), testing::PrintToStringParamName());

}  // namespace
}  // namespace foundation::tests
