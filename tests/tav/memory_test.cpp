// What happens where memory ends.

#include <foundation/tav/teardown.h>
#include <foundation/tav/type_error.h>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "../support/failing_allocation.h"
#include "../support/recording_sink.h"
#include "../support/teardown_recording.h"
#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

enum class Outcome { done, outOfMemory, reported };

template <class Operation>
Outcome outcomeOf(Operation& operation) {
    try {
        operation();
        return Outcome::done;
    } catch (const std::bad_alloc&) {
        return Outcome::outOfMemory;
    } catch (const Reported&) {
        return Outcome::reported;
    }
}

/// Runs the operation with its first allocation failing, then with its second, and so on, until no allocation is left
/// to fail. Hands the outcome of each failure on, and returns the last outcome.
template <class Operation, class Check>
Outcome failEachAllocation(Operation operation, Check check) {
    for (std::size_t number = 1;; ++number) {
        Outcome outcome;
        {
            const FailingAllocation failing(number);
            outcome = outcomeOf(operation);
        }
        if (!FailingAllocation::takeFailure()) {
            EXPECT_GT(number, 1u) << "Nothing was allocated.";
            return outcome;
        }
        check(outcome);
    }
}

/// The check for operations each of whose allocations is needed.
template <class Check>
auto outOfMemoryAnd(Check check) {
    return [check](Outcome outcome) {
        EXPECT_EQ(outcome, Outcome::outOfMemory);
        check();
    };
}

template <class Scope>
class MemoryTest : public ContextsTest {
protected:
    using State = Detail<Scope>;

    MemoryTest() { put<Scope>(0, "present"); }

    // Looking for a state makes room for it: only an id that is far beyond the last needs a larger table again.
    static constexpr std::uint64_t idInTable = 1000;
    static std::uint64_t idBeyond(std::uint64_t id) { return 4 * id; }

    // An operation on the absent state of the id has failed: nothing has changed.
    void expectUnchanged(std::uint64_t id, const StatePtr& offered) {
        EXPECT_NE(offered, nullptr);
        EXPECT_TRUE(has<Scope>(0));
        EXPECT_FALSE(has<Scope>(id));
        EXPECT_THAT(log.deaths(), IsEmpty());
    }
};
TYPED_TEST_SUITE(MemoryTest, AllScopes, ScopeNames);

// An insertion that fails leaves the state with the caller and the context as it was.
TYPED_TEST(MemoryTest, InsertFailsCleanly) {
    StatePtr offered = this->log.state("offered");
    std::uint64_t id = this->idInTable;
    const auto insert = [&] {
        TestFixture::State::insert(id = this->idBeyond(id), typeid(Widget), std::move(offered));
    };
    const auto unchanged = outOfMemoryAnd([&] { this->expectUnchanged(id, offered); });
    EXPECT_EQ(failEachAllocation(insert, unchanged), Outcome::done);
    EXPECT_TRUE(this->template has<TypeParam>(id));
}

// So does findOrInsert.
TYPED_TEST(MemoryTest, FindOrInsertFailsCleanly) {
    StatePtr offered = this->log.state("offered");
    std::uint64_t id = this->idInTable;
    const auto insert = [&] {
        TestFixture::State::findOrInsert(id = this->idBeyond(id), typeid(Widget), std::move(offered));
    };
    const auto unchanged = outOfMemoryAnd([&] { this->expectUnchanged(id, offered); });
    EXPECT_EQ(failEachAllocation(insert, unchanged), Outcome::done);
    EXPECT_TRUE(this->template has<TypeParam>(id));
}

// An id whose table memory can't hold is refused by every operation before anything changes.
TYPED_TEST(MemoryTest, IdsBeyondMemoryAreRefused) {
    using StateOperations = Detail<TypeParam>;
    constexpr std::uint64_t id = std::uint64_t{1} << 58;
    StatePtr offered = this->log.state("offered");
    EXPECT_THROW(StateOperations::find(id, typeid(Widget)), std::bad_alloc);
    EXPECT_THROW(StateOperations::findOrFail(id, typeid(Widget)), std::bad_alloc);
    EXPECT_THROW(StateOperations::findOrThrow(id, typeid(Widget)), std::bad_alloc);
    EXPECT_THROW(StateOperations::findOrInsert(id, typeid(Widget), std::move(offered)), std::bad_alloc);
    EXPECT_THROW(StateOperations::insert(id, typeid(Widget), std::move(offered)), std::bad_alloc);
    EXPECT_THROW(StateOperations::erase(id, typeid(Widget)), std::bad_alloc);
    EXPECT_THROW(StateOperations::eraseAll(id, typeid(Widget)), std::bad_alloc);
    this->expectUnchanged(1, offered);
}

// The last id whose table a machine could have is refused by the memory; those beyond it are no ids.
TYPED_TEST(MemoryTest, IdsEndWhereTablesDo) {
    constexpr std::uint64_t slots = PTRDIFF_MAX / sizeof(StatePtr*);
    constexpr std::uint64_t step = 1024;
    EXPECT_THROW(Detail<TypeParam>::find(slots - step, typeid(Widget)), std::bad_alloc);
    EXPECT_THROW(Detail<TypeParam>::find(slots - step + 1, typeid(Widget)), std::length_error);
}

// Erasing needs no memory but for the table of an id never seen.
TYPED_TEST(MemoryTest, ErasesWithoutMemory) {
    {
        const FailingAllocation any(1);
        EXPECT_TRUE(TestFixture::State::erase(0, typeid(Widget)));
        EXPECT_FALSE(TestFixture::State::erase(0, typeid(Widget)));
        EXPECT_EQ(TestFixture::State::eraseAll(0, typeid(Widget)), 0u);
    }
    EXPECT_THAT(this->log.deaths(), ElementsAre("present"));
}

// With the trace masked off no operation allocates for it, and lookups don't allocate at all.
TYPED_TEST(MemoryTest, LookupsDoNotAllocate) {
    StatePtr offered = this->log.state("offered");
    const std::size_t allocations = allocationCount();
    TestFixture::State::find(0, typeid(Widget));
    TestFixture::State::findOrFail(0, typeid(Widget));
    TestFixture::State::findOrThrow(0, typeid(Widget));
    TestFixture::State::findOrInsert(0, typeid(Widget), std::move(offered));
    TestFixture::State::isRequiredContextActive();
    TestFixture::State::getNextID(typeid(Widget));
    TestFixture::State::erase(1, typeid(Widget));
    EXPECT_EQ(allocationCount(), allocations);
}

// A report gets through to the handler, unless memory ends while it is composed.
TYPED_TEST(MemoryTest, ReportsAreNotLost) {
    EXPECT_EQ(failEachAllocation([] { TestFixture::State::findOrFail(1, typeid(Widget)); },
                                 [](Outcome outcome) { EXPECT_NE(outcome, Outcome::done); }),
              Outcome::reported);
}

// findOrThrow throws, if not its own exception then that of the memory.
TYPED_TEST(MemoryTest, FindOrThrowThrows) {
    const auto find = [] { EXPECT_THROW(TestFixture::State::findOrThrow(1, typeid(Widget)), std::exception); };
    EXPECT_EQ(failEachAllocation(find, [](Outcome) {}), Outcome::done);
}

class EraseAllMemoryTest : public TavTest {
protected:
    // Tables of different sizes, so that each has to grow.
    void fill(Context<Zarn>& zarn, std::uint64_t seen) {
        ContextActivator activator(zarn);
        put<Zarn>(0, std::to_string(seen));
        Detail<Zarn>::find(seen, typeid(Widget));
    }

    bool hasState(Context<Zarn>& zarn) {
        ContextActivator activator(zarn);
        return has<Zarn>(0);
    }

    Context<Process> process;
    Context<Zarn> first{process};
    Context<Zarn> second{process};
    Context<Zarn> third{process};
};

// Where memory ends eraseAll has erased nothing and lost nothing.
TEST_F(EraseAllMemoryTest, ErasesAllOrNone) {
    fill(first, 20000);
    fill(second, 2000);
    fill(third, 3);
    constexpr std::uint64_t id = 10000;
    {
        ContextActivator activator(first);
        put<Zarn>(id, "erased");
    }
    EXPECT_EQ(failEachAllocation([] { EXPECT_EQ(Detail<Zarn>::eraseAll(id, typeid(Widget)), 1u); }, outOfMemoryAnd([&] {
                                     EXPECT_THAT(log.deaths(), IsEmpty());
                                     EXPECT_TRUE(hasState(first) && hasState(second) && hasState(third));
                                     ContextActivator activator(first);
                                     EXPECT_TRUE(has<Zarn>(id));
                                 })),
              Outcome::done);
    EXPECT_THAT(log.deaths(), ElementsAre("erased"));
}

// What is present in all contexts goes without any memory.
TEST_F(EraseAllMemoryTest, ErasesPresentStatesWithoutMemory) {
    fill(first, 0);
    fill(second, 1);
    fill(third, 2);
    {
        const FailingAllocation any(1);
        EXPECT_EQ(Detail<Zarn>::eraseAll(0, typeid(Widget)), 3u);
    }
    EXPECT_THAT(log.deaths(), ElementsAre("0", "1", "2"));
}

// A Process context that can't be had is not active.
TEST_F(TavTest, ProcessContextFailsCleanly) {
    EXPECT_EQ(failEachAllocation([] { Context<Process> process; },
                                 outOfMemoryAnd([] { EXPECT_FALSE(Detail<Process>::isRequiredContextActive()); })),
              Outcome::done);
}

// A child that can't be had leaves nothing in its parent, which can be destroyed afterwards.
TEST_F(TavTest, ChildrenFailCleanly) {
    Context<Process> process;
    {
        Context<Zarn> zarn(process);
        const auto nothing = outOfMemoryAnd([] {});
        EXPECT_EQ(failEachAllocation([&] { Context<Zarn> child(process); }, nothing), Outcome::done);
        EXPECT_EQ(failEachAllocation([&] { Context<Workspace> child(zarn); }, nothing), Outcome::done);
    }
    process.destroy();
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// An activator that can't be had leaves the thread's contexts as they were.
TEST_F(ContextsTest, ActivatorFailsCleanly) {
    Context<Zarn> other(process);
    const ContextSet before = activator.getActiveContexts();
    EXPECT_EQ(failEachAllocation([&] { ContextActivator failing(other); }, outOfMemoryAnd([&] {
                                     EXPECT_FALSE(other.isActive());
                                     EXPECT_TRUE(workspace.isActive());
                                     EXPECT_EQ(ContextActivator(workspace).getPreviousContexts(), before);
                                 })),
              Outcome::done);
}

// Sets that can't be had are no harm.
TEST_F(ContextsTest, ContextSetsFailCleanly) {
    const auto nothing = outOfMemoryAnd([] {});
    EXPECT_EQ(failEachAllocation([] { ContextSet set; }, nothing), Outcome::done);
    EXPECT_EQ(failEachAllocation([&] { activator.getActiveContexts(); }, nothing), Outcome::done);
    EXPECT_EQ(failEachAllocation([&] { activator.getPreviousContexts(); }, nothing), Outcome::done);
}

/// Everything is traced, with memory ending while it is.
class TraceMemoryTest : public ContextsTest {
protected:
    // The operation needs no memory for itself: failures concern the trace, and none may be noticed.
    template <class Operation>
    void expectUnnoticed(Operation operation) {
        const ScopedMask mask(0x7fff);
        EXPECT_EQ(failEachAllocation(operation,
                                     [this](Outcome outcome) {
                                         EXPECT_EQ(outcome, Outcome::done);
                                         sink.take();
                                     }),
                  Outcome::done);
        sink.take();
        Detail<Process>::getNextID(typeid(Widget));
        EXPECT_THAT(sink.take(), ElementsAre(testing::Field(&Record::indentation, 0u)));
    }

    RecordingSink sink;
};

// No allocation of the trace that fails leaves a trace point.
TEST_F(TraceMemoryTest, RecordsAreLostUnnoticed) {
    const ContextSet set = activator.getActiveContexts();
    expectUnnoticed([] { Detail<Process>::getNextID(typeid(Widget)); });
    put<Process>(0, "state");
    expectUnnoticed([] { EXPECT_FALSE(Detail<Process>::erase(1, typeid(Widget))); });
    expectUnnoticed([] { EXPECT_EQ(Detail<Workspace>::eraseAll(1, typeid(Widget)), 0u); });
    expectUnnoticed([this] { workspace.destroy(); });
    EXPECT_TRUE(workspace.isShutdown());
    expectUnnoticed([this] { activator.deactivate(); });
    EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
}

bool handlerWasCalled = false;

// A report that could be composed reaches its handler although it can't be traced.
TEST_F(TraceMemoryTest, ReportsThatCannotBeTracedReachTheHandler) {
    struct Left {};
    const ScopedErrorHandler leaving([](const tav::ErrorInfo&) {
        handlerWasCalled = true;
        throw Left();
    });
    const ScopedMask mask(512);
    const auto findAbsent = [] {
        handlerWasCalled = false;
        EXPECT_THROW(Detail<Process>::findOrFail(1, typeid(Widget)), Left);
    };
    // Traced and not, a report is composed of as many allocations; those beyond belong to the trace.
    std::size_t needed = 0;
    {
        const ScopedMask untraced(0);
        const std::size_t before = allocationCount();
        findAbsent();
        needed = allocationCount() - before;
    }
    for (std::size_t number = needed;; ++number) {
        const FailingAllocation failing(number);
        findAbsent();
        EXPECT_TRUE(handlerWasCalled);
        if (!FailingAllocation::takeFailure()) break;
    }
}

/// A recorded destruction in which memory ends.
class TeardownMemoryTest : public testing::Test {
protected:
    using TeardownRecord = tav::management::TeardownRecord;

    // Three states, the oldest of which looks for the newest.
    void destroyRecorded() {
        std::optional<Context<Process>> process;
        {
            const SparedAllocations spared;
            tav::management::recordTeardown(std::chrono::nanoseconds(0));
            log.emplace();
            process.emplace();
            put(0, "oldest", [] { EXPECT_EQ(Detail<Process>::find(2, typeid(Widget)), nullptr); });
            put(1, "middle");
            put(2, "newest");
        }
        process->destroy();
        const SparedAllocations spared;
        recorded = tav::management::recordedTeardown();
        process.reset();
    }

    // Nothing is wanting but in the record, and that is whole as far as it goes.
    void expectDeaths() const {
        EXPECT_THAT(log->deaths(), ElementsAre("newest", "middle", "oldest"));
        std::uint64_t next = 3;
        for (const auto& deletion : recorded.deletions) {
            EXPECT_LT(deletion.typeID, next);
            EXPECT_FALSE(deletion.isRunning);
            EXPECT_LE(deletion.lateUses.size(), deletion.typeID == 0 ? 1u : 0u);
            EXPECT_GT(deletion.duration, std::chrono::nanoseconds(0));
            next = deletion.typeID;
        }
    }

    bool isWhole() const { return recorded.deletions.size() == 3 && recorded.deletions.back().lateUses.size() == 1; }

    void expectAll() const {
        expectDeaths();
        EXPECT_EQ(recorded.lost, 0u);
        EXPECT_TRUE(isWhole());
    }

    std::optional<LifetimeLog> log;
    TeardownRecord recorded{};

private:
    void put(std::uint64_t id, const std::string& name, std::function<void()> atDeath = {}) {
        Detail<Process>::insert(id, typeid(Widget), log->state(name, std::move(atDeath)));
    }

    const TeardownRecording m_restored;
};

// What there is no memory to record is counted, and else goes unnoticed.
TEST_F(TeardownMemoryTest, LossesAreCounted) {
    const auto destroy = [this] { destroyRecorded(); };
    EXPECT_EQ(failEachAllocation(destroy,
                                 [this](Outcome outcome) {
                                     EXPECT_EQ(outcome, Outcome::done);
                                     expectDeaths();
                                     EXPECT_EQ(recorded.lost, 1u);
                                     const auto& deletions = recorded.deletions;
                                     const bool isUseLost = deletions.size() == 3 && deletions[2].lateUses.empty();
                                     EXPECT_TRUE(deletions.size() == 2 || isUseLost);
                                 }),
              Outcome::done);
    expectAll();
}

// Without any memory nothing is recorded, each time of which counts: the destruction's beginning and each deletion.
TEST_F(TeardownMemoryTest, NothingIsRecordedWithoutMemory) {
    {
        const FailingAllocation all(1, Failures::fromThenOn);
        destroyRecorded();
    }
    EXPECT_TRUE(FailingAllocation::takeFailure());
    expectDeaths();
    EXPECT_THAT(recorded.deletions, IsEmpty());
    EXPECT_EQ(recorded.lost, 4u);
}

// Wherever memory ends for good, states die all the same.
TEST_F(TeardownMemoryTest, MemoryMayEndForGood) {
    for (std::size_t number = 2;; ++number) {
        {
            const FailingAllocation failing(number, Failures::fromThenOn);
            destroyRecorded();
        }
        if (!FailingAllocation::takeFailure()) break;
        expectDeaths();
        EXPECT_GT(recorded.lost, 0u);
    }
    expectAll();
}

// Nor does it matter where memory ends while the findings are traced.
TEST_F(TeardownMemoryTest, FindingsAreLostUnnoticed) {
    RecordingSink sink;
    const auto destroy = [this] {
        const ScopedMask mask(16);
        destroyRecorded();
    };
    EXPECT_EQ(failEachAllocation(destroy,
                                 [this](Outcome outcome) {
                                     EXPECT_EQ(outcome, Outcome::done);
                                     expectDeaths();
                                     EXPECT_EQ(recorded.lost, isWhole() ? 0u : 1u);
                                 }),
              Outcome::done);
    expectAll();
}

// The record that there is no memory to copy is there the next time.
TEST_F(TeardownMemoryTest, RecordsAreReadAgain) {
    destroyRecorded();
    EXPECT_EQ(failEachAllocation([this] { recorded = tav::management::recordedTeardown(); }, outOfMemoryAnd([] {})),
              Outcome::done);
    expectAll();
}

// While nothing is recorded, a destruction allocates nothing for it.
TEST_F(TeardownMemoryTest, NoRecordNoAllocation) {
    Context<Process> process;
    Detail<Process>::insert(0, typeid(Widget), StatePtr(this, [](void*) {}));
    tav::management::stopRecordingTeardown();
    const std::size_t allocations = allocationCount();
    process.destroy();
    EXPECT_EQ(allocationCount(), allocations);
}

}  // namespace
}  // namespace foundation::tests
