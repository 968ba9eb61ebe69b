// Process state, which all threads share.

#include <foundation/tav/inspect.h>
#include <foundation/tav/unload.h>
#include <algorithm>
#include <barrier>
#include <cstddef>
#include <cstdint>

#include "threads.h"

namespace foundation::tests {
namespace {

class StateOfManyThreads : public ThreadsTest {
protected:
    Context<Process> process;
};

// Each round has one winner, all get its state, and what the losers offered is still theirs.
TEST_P(StateOfManyThreads, OneFindOrInsertWinsAndTheOthersKeepTheirState) {
    constexpr unsigned rounds = 500;
    constexpr std::uint64_t first = 7;
    std::vector<std::vector<const void*>> found(rounds, std::vector<const void*>(threads()));
    std::vector<std::atomic<unsigned>> winners(rounds);
    std::atomic<unsigned> kept = 0;
    std::barrier nextRound(threads());
    together(threads(), [&](unsigned index) {
        for (unsigned round = 0; round < rounds; ++round) {
            nextRound.arrive_and_wait();
            StatePtr offered = Counted::make(index);
            StatePtr& stored = Detail<Process>::findOrInsert(first + round, typeid(Counted), std::move(offered));
            found[round][index] = stored.get();
            if (!offered) {
                ++winners[round];
                EXPECT_EQ(static_cast<Counted*>(stored.get())->owner(), index);
            } else if (static_cast<Counted*>(offered.get())->owner() == index && offered != stored) {
                ++kept;
            }
        }
    });
    for (unsigned round = 0; round < rounds; ++round) {
        EXPECT_EQ(winners[round], 1u);
        EXPECT_EQ(found[round], std::vector<const void*>(threads(), found[round].front()));
        EXPECT_EQ(Detail<Process>::findOrFail(first + round, typeid(Counted)).get(), found[round].front());
    }
    EXPECT_EQ(kept, rounds * (threads() - 1));
    EXPECT_EQ(Counted::alive(), static_cast<int>(rounds));
    process.destroy();
    EXPECT_EQ(Counted::alive(), 0);
}

// Inserts are accepted or refused, erasures find something or nothing, and the books balance.
TEST_P(StateOfManyThreads, InsertsAndErasuresBalance) {
    constexpr std::uint64_t ids = 3;
    constexpr unsigned steps = 5000;
    std::atomic<unsigned> inserted = 0;
    std::atomic<unsigned> erased = 0;
    std::atomic<unsigned> refused = 0;
    together(threads(), [&](unsigned index) {
        std::string message;
        for (unsigned step = 0; step < steps; ++step) {
            StatePtr offered = Counted::make(index);
            if (succeeds([&] { Detail<Process>::insert(step % ids, typeid(Counted), std::move(offered)); }, message)) {
                ++inserted;
            } else {
                ++refused;
                EXPECT_TRUE(offered);
                EXPECT_EQ(message,
                          "State of type 'foundation::tests::Counted' already inserted. Consider using 'findOrInsert' "
                          "to safely retrieve the existing state or insert one if absent.");
            }
            if (Detail<Process>::erase((step + index) % ids, typeid(Counted))) ++erased;
        }
    });
    EXPECT_EQ(inserted + refused, threads() * steps);
    EXPECT_EQ(Counted::alive(), static_cast<int>(inserted - erased));
    for (std::uint64_t id = 0; id < ids; ++id)
        if (Detail<Process>::erase(id, typeid(Counted))) ++erased;
    EXPECT_EQ(inserted, erased);
    EXPECT_EQ(Counted::alive(), 0);
}

// Half of the threads insert and erase everywhere, the others look. Lookups never see anything but a whole state or
// none; the state itself is left alone, since it may be gone by then.
TEST_P(StateOfManyThreads, EraseAllRunsBesideLookups) {
    constexpr unsigned steps = 5000;
    std::atomic<std::uint64_t> inserted = 0;
    std::atomic<std::uint64_t> erased = 0;
    together(threads(), [&](unsigned index) {
        const std::uint64_t id = 1500;
        for (unsigned step = 0; step < steps; ++step) {
            if (index % 2 == 0) {
                StatePtr offered = Counted::make(index);
                Detail<Process>::findOrInsert(id, typeid(Counted), std::move(offered));
                if (!offered) ++inserted;
                erased += Detail<Process>::eraseAll(id, typeid(Counted));
            } else {
                Detail<Process>::find(id, typeid(Counted));
                Detail<Process>::find(id + std::uint64_t{20} * step, typeid(Counted));  // the table grows meanwhile
            }
        }
    });
    EXPECT_EQ(inserted, erased);
    EXPECT_EQ(Counted::alive(), 0);
}

// The stores of contexts that come and go, empty and current nowhere, can be reached into from other threads. Contexts
// that another thread works in can't: eraseAll for Zarn and Workspace takes no lock of theirs, and the callers have to
// agree on it. No test goes there.
TEST_P(StateOfManyThreads, EraseAllRunsBesideChildrenThatComeAndGo) {
    constexpr unsigned steps = 2000;
    Context<Zarn> lasting(process);
    {
        const ContextActivator activator(lasting);
        Detail<Zarn>::insert(0, typeid(Counted), Counted::make(0));
    }
    std::atomic<std::uint64_t> erased = 0;
    together(threads(), [&](unsigned index) {
        for (unsigned step = 0; step < steps; ++step) {
            if (index % 2 == 0)
                erased += Detail<Zarn>::eraseAll(0, typeid(Counted));
            else
                const Context<Zarn> passing(process);
        }
    });
    EXPECT_EQ(erased, 1u);
    EXPECT_EQ(Counted::alive(), 0);
}

// The same for the states of a deleter, which go by its address, and for looking at everything there is: of the Process
// context that may be done beside all other threads.
TEST_P(StateOfManyThreads, StatesAreErasedByDeleterBesideInsertions) {
    constexpr unsigned steps = 1000;
    const auto* const deleter = reinterpret_cast<const char*>(Counted::make(0).get_deleter());
    std::atomic<std::uint64_t> inserted = 0;
    std::atomic<std::uint64_t> erased = 0;
    together(threads(), [&](unsigned index) {
        for (unsigned step = 0; step < steps; ++step) {
            if (index % 2 == 0) {
                StatePtr offered = Counted::make(index);
                Detail<Process>::findOrInsert(step % 10, typeid(Counted), std::move(offered));
                if (!offered) ++inserted;
            } else {
                const auto contexts = tav::management::inspectContexts();
                for (const auto& state : contexts.at(0).states) {
                    EXPECT_LT(state.typeID, 10u);
                    EXPECT_EQ(reinterpret_cast<const char*>(state.deleter), deleter);
                }
                erased += tav::management::eraseStatesDeletedBy(deleter, deleter + 1);
            }
        }
    });
    erased += tav::management::eraseStatesDeletedBy(deleter, deleter + 1);
    EXPECT_EQ(inserted, erased);
    EXPECT_EQ(Counted::alive(), 0);
}

// Children that come and go, empty and current nowhere, are no obstacle to that either.
TEST_P(StateOfManyThreads, StatesAreErasedByDeleterBesideChildrenThatComeAndGo) {
    constexpr unsigned steps = 1000;
    const auto* const deleter = reinterpret_cast<const char*>(Counted::make(0).get_deleter());
    Detail<Process>::insert(0, typeid(Counted), Counted::make(0));
    std::atomic<std::uint64_t> erased = 0;
    together(threads(), [&](unsigned index) {
        for (unsigned step = 0; step < steps; ++step) {
            if (index % 2 == 0)
                erased += tav::management::eraseStatesDeletedBy(deleter, deleter + 1);
            else
                const Context<Zarn> passing(process);
        }
    });
    EXPECT_EQ(erased, 1u);
    EXPECT_EQ(Counted::alive(), 0);
}

// A deleter of one thread uses the context while the others do.
TEST_P(StateOfManyThreads, DeletersUseTheContextBesideOtherThreads) {
    constexpr unsigned steps = 2000;
    static std::atomic<unsigned> deaths = 0;
    deaths = 0;
    together(threads(), [](unsigned index) {
        const std::uint64_t own = index;
        for (unsigned step = 0; step < steps; ++step) {
            StatePtr state(new std::uint64_t(own), [](void* object) {
                const auto id = *static_cast<std::uint64_t*>(object);
                delete static_cast<std::uint64_t*>(object);
                EXPECT_EQ(Detail<Process>::find(id, typeid(int)), nullptr);
                Detail<Process>::findOrInsert(1000 + id, typeid(int), Counted::make(0));
                EXPECT_TRUE(Detail<Process>::erase(1000 + id, typeid(int)));
                ++deaths;
            });
            Detail<Process>::insert(own, typeid(int), std::move(state));
            EXPECT_TRUE(Detail<Process>::erase(own, typeid(int)));
        }
    });
    EXPECT_EQ(deaths, threads() * steps);
    EXPECT_EQ(Counted::alive(), 0);
}

// Ids are never given twice, and none is left out.
TEST_P(StateOfManyThreads, TypeIdsAreUniqueAndDense) {
    constexpr unsigned each = 5000;
    std::vector<std::vector<std::uint64_t>> ids(threads());
    const std::uint64_t before = Detail<Workspace>::getNextID(typeid(Counted));
    together(threads(), [&ids](unsigned index) {
        for (unsigned count = 0; count < each; ++count)
            ids[index].push_back(Detail<Workspace>::getNextID(typeid(Counted)));
    });
    std::vector<std::uint64_t> all;
    for (const auto& own : ids) {
        EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
        all.insert(all.end(), own.begin(), own.end());
    }
    std::sort(all.begin(), all.end());
    std::vector<std::uint64_t> expected(std::size_t{threads()} * each);
    for (std::size_t index = 0; index < expected.size(); ++index)
        expected[index] = before + 1 + index;
    EXPECT_EQ(all, expected);
}

INSTANTIATE_TEST_SUITE_P(Threads, StateOfManyThreads, testing::Values(2, 4, 16), testing::PrintToStringParamName());

}  // namespace
}  // namespace foundation::tests
