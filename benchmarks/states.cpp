// Inserting and erasing: one state beside twenty, the oldest of many, one in each of many contexts.

#include <algorithm>
#include <array>
#include <memory>
#include <typeindex>
#include <unordered_map>

#include "support/host.h"

namespace bench {
namespace {

/// Ids that no state of the small hosts has.
template <class Scope>
std::span<const std::uint64_t, entryCount> freeIDs() {
    return typeIDs<Scope>(2 * entryCount).template last<entryCount>();
}

// ---------------------------------------------------------------------------------------------------------------------
// Insert and erase

template <class Scope>
void BM_InsertErase(benchmark::State& state) {
    const Host host;
    const auto ids = freeIDs<Scope>();
    measureRounds(state, [&](std::size_t index) {
        use(&Detail<Scope>::insert(ids[index], stateType, makeStaticState()));
        use(Detail<Scope>::erase(ids[index], stateType));
    });
}
BENCHMARK(BM_InsertErase<Zarn>)->Name("BM_InsertEraseZarn");
BENCHMARK(BM_InsertErase<Process>)->Name("BM_InsertEraseProcess");

void BM_InsertEraseZarnFloor(benchmark::State& state) {
    const FloorHost host;
    const auto ids = freeIDs<Zarn>();
    measureRounds(state, [&](std::size_t index) {
        use(&floor::insert(ids[index], stateType, makeStaticState()));
        use(floor::erase(ids[index], stateType));
    });
}
BENCHMARK(BM_InsertEraseZarnFloor);

void BM_InsertEraseProcessFloor(benchmark::State& state) {
    const FloorHost host;
    const auto ids = freeIDs<Process>();
    measureRounds(state, [&](std::size_t index) {
        use(&floor::insertInProcess(ids[index], stateType, makeStaticState()));
        use(floor::eraseInProcess(ids[index], stateType));
    });
}
BENCHMARK(BM_InsertEraseProcessFloor);

template <std::size_t index>
struct Entry {};

template <std::size_t... index>
std::array<std::type_index, sizeof...(index)> entryTypes(std::index_sequence<index...>) {
    return {typeid(Entry<index>)...};
}

void BM_InsertEraseMap(benchmark::State& state) {
    const auto types = entryTypes(std::make_index_sequence<2 * entryCount>());
    std::unordered_map<std::type_index, std::shared_ptr<void>> map;
    const auto insert = [&](std::size_t index) {
        StatePtr owned = makeStaticState();
        const auto deleter = owned.get_deleter();
        return map.emplace(types[index], std::shared_ptr<void>(owned.release(), deleter)).second;
    };
    unrolled<entryCount>(insert);
    measureRounds(state, [&](std::size_t index) {
        use(insert(entryCount + index));
        use(map.erase(types[entryCount + index]));
    });
}
BENCHMARK(BM_InsertEraseMap);

// ---------------------------------------------------------------------------------------------------------------------
// Erase the oldest of n, and insert it again as the newest: the next oldest is that of the next id.

template <class Insert, class Erase>
void measureOldest(benchmark::State& state, const Insert& insert, const Erase& erase) {
    const auto ids = typeIDs<Zarn>(static_cast<std::size_t>(state.range(0)));
    for (const std::uint64_t id : ids)
        insert(id);
    auto oldest = ids.begin();
    for ([[maybe_unused]] auto _ : state) {
        erase(*oldest);
        insert(*oldest);
        if (++oldest == ids.end()) oldest = ids.begin();
    }
}

void BM_EraseOldest(benchmark::State& state) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    const ContextActivator activator(zarn);
    measureOldest(
        state, [](std::uint64_t id) { use(&Detail<Zarn>::insert(id, stateType, makeStaticState())); },
        [](std::uint64_t id) { use(Detail<Zarn>::erase(id, stateType)); });
}
BENCHMARK(BM_EraseOldest)->RangeMultiplier(10)->Range(10, maximumIDs);

void BM_EraseOldestFloor(benchmark::State& state) {
    floor::Store store;
    measureOldest(
        state, [&](std::uint64_t id) { use(&floor::insert(store, id, makeStaticState())); },
        [&](std::uint64_t id) { use(floor::erase(store, id)); });
}
BENCHMARK(BM_EraseOldestFloor)->RangeMultiplier(10)->Range(10, maximumIDs);

// ---------------------------------------------------------------------------------------------------------------------
// Erase a state in each of c contexts. The time is that of one context.

/// So many states are erased in turn that the clock's own time does not show.
std::span<const std::uint64_t> idsToErase(std::size_t contextCount) {
    return typeIDs<Zarn>(std::max(entryCount, 1000 / contextCount));
}

/// `erase(id)` erases the states of one id in all `contextCount` contexts; the newest states go first.
template <class Insert, class Erase>
void measureEverywhere(benchmark::State& state, std::size_t contextCount, const Insert& insertAll, const Erase& erase) {
    const auto ids = idsToErase(contextCount);
    while (state.KeepRunningBatch(static_cast<std::int64_t>(contextCount * ids.size()))) {
        insertAll();
        state.SetIterationTime(secondsOf([&] {
            for (auto id = ids.rbegin(); id != ids.rend(); ++id)
                erase(*id);
        }));
    }
}

void BM_EraseAll(benchmark::State& state) {
    Context<Process> process;
    std::vector<Context<Zarn>> contexts;
    while (contexts.size() < static_cast<std::size_t>(state.range(0)))
        contexts.emplace_back(process);
    measureEverywhere(
        state, contexts.size(),
        [&] {
            for (Context<Zarn>& context : contexts) {
                const ContextActivator activator(context);
                fill<Zarn>(idsToErase(contexts.size()));
            }
        },
        [](std::uint64_t id) { use(Detail<Zarn>::eraseAll(id, stateType)); });
}
BENCHMARK(BM_EraseAll)->RangeMultiplier(10)->Range(1, 10'000)->UseManualTime();

void BM_EraseAllFloor(benchmark::State& state) {
    std::vector<floor::Store> stores(static_cast<std::size_t>(state.range(0)));
    measureEverywhere(
        state, stores.size(),
        [&] {
            for (floor::Store& store : stores)
                for (const std::uint64_t id : idsToErase(stores.size()))
                    floor::insert(store, id, makeStaticState());
        },
        [&](std::uint64_t id) {
            for (floor::Store& store : stores)
                use(floor::erase(store, id));
        });
}
BENCHMARK(BM_EraseAllFloor)->RangeMultiplier(10)->Range(1, 10'000)->UseManualTime();

}  // namespace
}  // namespace bench
