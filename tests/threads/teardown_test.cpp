// The record of teardown, fed, read and switched by many threads.

#include <foundation/tav/teardown.h>
#include <chrono>
#include <cstddef>
#include <map>

#include "../support/teardown_recording.h"
#include "threads.h"

namespace foundation::tests {
namespace {

using std::chrono::nanoseconds;
using tav::management::DeletionRecord;
using tav::management::overdueDeletions;
using tav::management::recordedTeardown;
using tav::management::recordTeardown;
using tav::management::stopRecordingTeardown;
using tav::management::TeardownRecord;

void findNewest(void* state) {
    delete static_cast<Counted*>(state);
    EXPECT_EQ(Detail<Zarn>::find(2, typeid(Counted)), nullptr);
    EXPECT_NE(Detail<Process>::find(0, typeid(Counted)), nullptr);
}

class TeardownOfManyThreads : public ThreadsTest {
protected:
    static constexpr unsigned rounds = 50;
    static constexpr unsigned states = 3;

    TeardownOfManyThreads() { Detail<Process>::insert(0, typeid(Counted), Counted::make(0)); }

    // Three deletions in each of the rounds, of which the last is late for the first, and one in the Process context.
    void destroyContexts(unsigned index) {
        for (unsigned round = 0; round < rounds; ++round) {
            Context<Zarn> zarn(m_process);
            const ContextActivator activator(zarn);
            Detail<Zarn>::insert(0, typeid(Counted), StatePtr(new Counted(index), &findNewest));
            Detail<Zarn>::insert(1, typeid(Counted), Counted::make(index));
            Detail<Zarn>::insert(2, typeid(Counted), Counted::make(index));
            Detail<Process>::insert(index + 1, typeid(Counted), Counted::make(index));
            zarn.destroy();
            EXPECT_TRUE(Detail<Process>::erase(index + 1, typeid(Counted)));
        }
    }

    // Whenever the record is read it is whole.
    static void expectWhole(const TeardownRecord& teardown) {
        for (const DeletionRecord& deletion : teardown.deletions) {
            EXPECT_GE(deletion.begin, teardown.start);
            EXPECT_GE(deletion.duration, nanoseconds(0));
            EXPECT_EQ(deletion.depth, 0u);
            EXPECT_NE(deletion.context, nullptr);
            EXPECT_NE(deletion.address, nullptr);
            if (!deletion.lateUses.empty()) {
                EXPECT_EQ(deletion.typeID, 0u);
                EXPECT_EQ(deletion.lateUses.size(), 1u);
                EXPECT_EQ(deletion.lateUses.front().typeID, 2u);
                EXPECT_EQ(deletion.lateUses.front().context, deletion.context);
            }
        }
        EXPECT_EQ(teardown.lost, 0u);
    }

private:
    Context<Process> m_process;
};

// Each deletion is there, those of one thread in their order, while others look on.
TEST_P(TeardownOfManyThreads, IsReadWhileContextsDie) {
    const TeardownRecording recording(nanoseconds(0));
    std::atomic<unsigned> busy = threads();
    together(threads() + 1, [&](unsigned index) {
        if (index < threads()) {
            destroyContexts(index);
            --busy;
            return;
        }
        while (busy > 0) {
            expectWhole(recordedTeardown());
            const TeardownRecord overdue = overdueDeletions();
            expectWhole(overdue);
            EXPECT_LE(overdue.deletions.size(), threads());
            for (const DeletionRecord& deletion : overdue.deletions)
                EXPECT_TRUE(deletion.isRunning);
        }
    });
    const TeardownRecord teardown = recordedTeardown();
    expectWhole(teardown);
    EXPECT_EQ(teardown.deletions.size(), std::size_t{threads()} * rounds * (states + 1));
    std::map<std::thread::id, std::vector<DeletionRecord>> deletions;
    for (const DeletionRecord& deletion : teardown.deletions)
        deletions[deletion.thread].push_back(deletion);
    EXPECT_EQ(deletions.size(), threads());
    for (const auto& [thread, own] : deletions) {
        ASSERT_EQ(own.size(), std::size_t{rounds} * (states + 1));
        for (std::size_t i = 0; i < own.size(); ++i) {
            const std::size_t place = i % (states + 1);
            EXPECT_EQ(*own[i].scope, place < states ? typeid(Zarn) : typeid(Process));
            if (place < states) {
                EXPECT_EQ(own[i].typeID, states - 1 - place);
            }
            EXPECT_EQ(own[i].lateUses.size(), place == states - 1 ? 1u : 0u);
            EXPECT_FALSE(own[i].isRunning);
        }
    }
    EXPECT_EQ(Counted::alive(), 1);
}

// Nobody notices that the recording is switched, and what is there at any time is whole.
TEST_P(TeardownOfManyThreads, IsSwitchedWhileContextsDie) {
    const TeardownRecording recording(nanoseconds(0));
    std::atomic<unsigned> busy = threads();
    together(threads() + 2, [&](unsigned index) {
        if (index < threads()) {
            destroyContexts(index);
            --busy;
        } else if (index == threads()) {
            while (busy > 0) {
                expectWhole(recordedTeardown());
                expectWhole(overdueDeletions());
            }
        } else {
            while (busy > 0) {
                stopRecordingTeardown();
                recordTeardown(nanoseconds(1));
            }
        }
    });
    expectWhole(recordedTeardown());
    EXPECT_EQ(Counted::alive(), 1);
}

INSTANTIATE_TEST_SUITE_P(Threads, TeardownOfManyThreads, testing::Values(2, 4, 16), testing::PrintToStringParamName());

}  // namespace
}  // namespace foundation::tests
