// Contexts: making and destroying them, empty and with states, and making them current.

#include <algorithm>
#include <boost/asio/execution_context.hpp>
#include <list>
#include <random>
#include <utility>

#include "support/host.h"

namespace bench {
namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Create and destroy, empty

void BM_CreateProcess(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        Context<Process> process(false);
        use(&process);
    }
}
BENCHMARK(BM_CreateProcess);

void BM_CreateZarn(benchmark::State& state) {
    Context<Process> process;
    for ([[maybe_unused]] auto _ : state) {
        Context<Zarn> zarn(process);
        use(&zarn);
    }
}
BENCHMARK(BM_CreateZarn);

void BM_CreateWorkspace(benchmark::State& state) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    for ([[maybe_unused]] auto _ : state) {
        Context<Workspace> workspace(zarn);
        use(&workspace);
    }
}
BENCHMARK(BM_CreateWorkspace);

void BM_CreateProcessFloor(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        auto* process = floor::create();
        use(process);
        floor::destroy(process);
    }
}
BENCHMARK(BM_CreateProcessFloor);

void BM_CreateZarnFloor(benchmark::State& state) {
    const FloorHost host;
    for ([[maybe_unused]] auto _ : state) {
        auto* zarn = floor::create(*host.process);
        use(zarn);
        floor::destroy(zarn);
    }
}
BENCHMARK(BM_CreateZarnFloor);

void BM_CreateWorkspaceFloor(benchmark::State& state) {
    const FloorHost host;
    for ([[maybe_unused]] auto _ : state) {
        auto* workspace = floor::create(*host.zarn);
        use(workspace);
        floor::destroy(workspace);
    }
}
BENCHMARK(BM_CreateWorkspaceFloor);

void BM_CreateAsioContext(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        boost::asio::execution_context context;
        use(&context);
    }
}
BENCHMARK(BM_CreateAsioContext);

// ---------------------------------------------------------------------------------------------------------------------
// A Zarn context with one state, which has to be current to get it

void BM_ZarnOfOneState(benchmark::State& state) {
    const std::uint64_t id = typeIDs<Zarn>(1)[0];
    Context<Process> process;
    for ([[maybe_unused]] auto _ : state) {
        Context<Zarn> zarn(process);
        const ContextActivator activator(zarn);
        use(&Detail<Zarn>::insert(id, stateType, makeState()));
    }
}
BENCHMARK(BM_ZarnOfOneState);

template <int scanCount>
void BM_ZarnOfOneStateFloor(benchmark::State& state) {
    const std::uint64_t id = typeIDs<Zarn>(1)[0];
    auto* const process = floor::create();
    for ([[maybe_unused]] auto _ : state) {
        auto* const zarn = floor::create(*process);
        auto* const activation = floor::push(*zarn);
        use(&floor::insert(id, stateType, makeState()));
        for (int scan = 0; scan < scanCount; ++scan)
            use(floor::isAnyTaken());
        floor::pop(activation);
        floor::destroy(zarn);
    }
    floor::destroy(process);
}
BENCHMARK(BM_ZarnOfOneStateFloor<0>)->Name("BM_ZarnOfOneStateFloor");
BENCHMARK(BM_ZarnOfOneStateFloor<4>)->Name("BM_ZarnOfOneStateScannedFloor");

// ---------------------------------------------------------------------------------------------------------------------
// Destroy a context with n states. The time is that of one state.

enum class Order { inserted, reversed, shuffled };

/// The first ids, in the order in which their states are inserted.
std::vector<std::uint64_t> idsInOrder(std::size_t count, Order order) {
    const auto ids = typeIDs<Zarn>(count);
    std::vector<std::uint64_t> result(ids.begin(), ids.end());
    if (order == Order::reversed) std::reverse(result.begin(), result.end());
    if (order == Order::shuffled) std::shuffle(result.begin(), result.end(), std::minstd_rand());
    return result;
}

/// So many contexts are measured together that the clock's own time does not show.
std::size_t contextsAtOnce(std::size_t stateCount) { return std::max<std::size_t>(1, 1000 / stateCount); }

template <Order order>
void BM_Destroy(benchmark::State& state) {
    const auto ids = idsInOrder(static_cast<std::size_t>(state.range(0)), order);
    const std::size_t contextCount = contextsAtOnce(ids.size());
    Context<Process> process;
    while (state.KeepRunningBatch(static_cast<std::int64_t>(contextCount * ids.size()))) {
        std::vector<Context<Zarn>> contexts;
        while (contexts.size() < contextCount) {
            const ContextActivator activator(contexts.emplace_back(process));
            for (const std::uint64_t id : ids)
                Detail<Zarn>::insert(id, stateType, makeState());
        }
        state.SetIterationTime(secondsOf([&] {
            for (Context<Zarn>& context : contexts)
                context.destroy();
        }));
    }
}
BENCHMARK(BM_Destroy<Order::inserted>)
    ->Name("BM_DestroyInserted")
    ->RangeMultiplier(10)
    ->Range(10, maximumIDs)
    ->UseManualTime();
BENCHMARK(BM_Destroy<Order::reversed>)
    ->Name("BM_DestroyReversed")
    ->RangeMultiplier(10)
    ->Range(10, maximumIDs)
    ->UseManualTime();
BENCHMARK(BM_Destroy<Order::shuffled>)
    ->Name("BM_DestroyShuffled")
    ->RangeMultiplier(10)
    ->Range(10, maximumIDs)
    ->UseManualTime();

void BM_DestroyFloor(benchmark::State& state) {
    const auto stateCount = static_cast<std::size_t>(state.range(0));
    const std::size_t listCount = contextsAtOnce(stateCount);
    while (state.KeepRunningBatch(static_cast<std::int64_t>(listCount * stateCount))) {
        std::vector<std::list<floor::State>> lists(listCount);
        for (auto& list : lists)
            while (list.size() < stateCount)
                list.push_front(makeState());
        state.SetIterationTime(secondsOf([&] {
            for (auto& list : lists)
                floor::destroyAll(list);
        }));
    }
}
BENCHMARK(BM_DestroyFloor)->RangeMultiplier(10)->Range(10, maximumIDs)->UseManualTime();

// ---------------------------------------------------------------------------------------------------------------------
// Push and pop

template <class Scope>
void measurePushes(benchmark::State& state, Context<Scope>& context) {
    measureRounds(state, [&](std::size_t) {
        const ContextActivator activator(context);
        use(&activator);
    });
}

void BM_PushZarn(benchmark::State& state) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    measurePushes(state, zarn);
}
BENCHMARK(BM_PushZarn);

void BM_PushWorkspace(benchmark::State& state) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    measurePushes(state, workspace);
}
BENCHMARK(BM_PushWorkspace);

template <class Context>
void measureFloorPushes(benchmark::State& state, floor::Record<Context>& record) {
    measureRounds(state, [&](std::size_t) {
        auto* activation = floor::push(record);
        use(activation);
        floor::pop(activation);
    });
}

void BM_PushZarnFloor(benchmark::State& state) {
    auto* const process = floor::create();
    auto* const zarn = floor::create(*process);
    measureFloorPushes(state, *zarn);
    floor::destroy(zarn);
    floor::destroy(process);
}
BENCHMARK(BM_PushZarnFloor);

void BM_PushWorkspaceFloor(benchmark::State& state) {
    auto* const process = floor::create();
    auto* const zarn = floor::create(*process);
    auto* const workspace = floor::create(*zarn);
    measureFloorPushes(state, *workspace);
    floor::destroy(workspace);
    floor::destroy(zarn);
    floor::destroy(process);
}
BENCHMARK(BM_PushWorkspaceFloor);

}  // namespace
}  // namespace bench
