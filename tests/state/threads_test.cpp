#include <foundation/state/state.h>
#include <foundation/state/testing.h>

#include <array>
#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include "state_types.h"

namespace foundation::tests {
namespace {

constexpr int threadCount = 4;

/// There is another one of this name in registry_test.cpp.
struct SameName {
    using StateScope = Zarn;
};

/// All constructors wait for each other, so that all but one lose.
struct Contested {
    using StateScope = Process;

    explicit Contested(std::barrier<>& start) {
        start.arrive_and_wait();
        ++living;
    }
    Contested(const Contested&) = delete;
    Contested& operator=(const Contested&) = delete;
    ~Contested() {
        state::find<Contested>();  // waits forever if the context is locked by this thread
        --living;
    }

    static inline std::atomic<int> living = 0;
};

struct AskedAtOnce {
    using StateScope = Process;
};

}  // namespace

std::uint64_t idOfOtherSameName() { return state::typeID<SameName>(); }

namespace {

using testing::Each;

class StateThreadsTest : public state::HermeticTest {
protected:
    /// Runs the task on all threads and gives back what they returned.
    template <class Result, class Task>
    static std::array<Result, threadCount> onAllThreads(const Task& task) {
        std::array<Result, threadCount> results{};
        std::vector<std::jthread> threads;
        for (Result& result : results)
            threads.emplace_back([&result, &task] { result = task(); });
        threads.clear();
        return results;
    }
};

// All threads get the one object that has won, and the losers delete theirs outside every lock.
TEST_F(StateThreadsTest, RaceToCreateHasOneWinner) {
    const Watchdog watchdog("racing to create a state");
    std::barrier<> start(threadCount);
    const auto found = onAllThreads<Contested*>([&start] { return &state::findOrCreate<Contested>(start); });
    EXPECT_THAT(found, Each(state::find<Contested>()));
    EXPECT_EQ(Contested::living, 1);
    process.deactivate();
    process.activate();
    EXPECT_TRUE(state::erase<Contested>());
    EXPECT_EQ(Contested::living, 0);
}

// Threads that ask for an id at once get the same.
TEST_F(StateThreadsTest, RaceForAnIdGivesOne) {
    std::barrier<> start(threadCount);
    const auto ids = onAllThreads<std::uint64_t>([&start] {
        start.arrive_and_wait();
        return state::typeID<AskedAtOnce>();
    });
    EXPECT_THAT(ids, Each(state::typeID<AskedAtOnce>()));
}

}  // namespace
}  // namespace foundation::tests
