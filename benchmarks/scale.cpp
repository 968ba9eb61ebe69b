// How the costs grow: with contexts, type ids, threads and nesting.

#include <algorithm>
#include <memory>
#include <optional>
#include <random>

#include "support/host.h"

namespace bench {
namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Contexts: c of them alive

std::vector<Context<Zarn>> makeContexts(Context<Process>& process, std::int64_t count) {
    std::vector<Context<Zarn>> contexts;
    while (contexts.size() < static_cast<std::size_t>(count))
        contexts.emplace_back(process);
    return contexts;
}

/// Finds in one of them.
void BM_ScaleContextsFind(benchmark::State& state) {
    Context<Process> process;
    auto contexts = makeContexts(process, state.range(0));
    const ContextActivator activator(contexts[contexts.size() / 2]);
    const auto ids = typeIDs<Zarn>(entryCount);
    fill<Zarn>(ids);
    measureFinds(state, ids, [](auto id, auto& type) { return Detail<Zarn>::find(id, type); });
}
BENCHMARK(BM_ScaleContextsFind)->RangeMultiplier(10)->Range(1, 10'000);

/// Makes each of them current in turn, and finds a state there.
void BM_ScaleContextsVisit(benchmark::State& state) {
    const std::uint64_t id = typeIDs<Zarn>(1)[0];
    Context<Process> process;
    auto contexts = makeContexts(process, state.range(0));
    for (Context<Zarn>& context : contexts) {
        const ContextActivator activator(context);
        Detail<Zarn>::insert(id, stateType, makeStaticState());
    }
    while (state.KeepRunningBatch(state.range(0))) {
        for (Context<Zarn>& context : contexts) {
            const ContextActivator activator(context);
            use(Detail<Zarn>::find(id, stateType));
        }
    }
}
BENCHMARK(BM_ScaleContextsVisit)->RangeMultiplier(10)->Range(1, 10'000);

/// Makes and destroys one beside the others.
void BM_ScaleContextsCreate(benchmark::State& state) {
    Context<Process> process;
    const auto contexts = makeContexts(process, state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        Context<Zarn> zarn(process);
        use(&zarn);
    }
}
BENCHMARK(BM_ScaleContextsCreate)->RangeMultiplier(10)->Range(1, 10'000);

/// Destroys them all, the oldest first. The time is that of one.
void BM_ScaleContextsDestroy(benchmark::State& state) {
    Context<Process> process;
    while (state.KeepRunningBatch(state.range(0))) {
        auto contexts = makeContexts(process, state.range(0));
        state.SetIterationTime(secondsOf([&] {
            for (Context<Zarn>& context : contexts)
                context.destroy();
        }));
    }
}
BENCHMARK(BM_ScaleContextsDestroy)->RangeMultiplier(10)->Range(1, 10'000)->UseManualTime();

// ---------------------------------------------------------------------------------------------------------------------
// Type ids: each of n is found, in no order that the processor could guess

template <class Insert, class Find>
void measureShuffledFinds(benchmark::State& state, const Insert& insert, const Find& find) {
    const auto all = typeIDs<Zarn>(static_cast<std::size_t>(state.range(0)));
    std::vector<std::uint64_t> ids(all.begin(), all.end());
    for (const std::uint64_t id : ids)
        insert(id);
    std::shuffle(ids.begin(), ids.end(), std::minstd_rand());
    auto next = ids.begin();
    for ([[maybe_unused]] auto _ : state) {
        use(find(*next));
        if (++next == ids.end()) next = ids.begin();
    }
}

void BM_ScaleIDs(benchmark::State& state) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    const ContextActivator activator(zarn);
    measureShuffledFinds(
        state, [](std::uint64_t id) { Detail<Zarn>::insert(id, stateType, makeStaticState()); },
        [](std::uint64_t id) { return Detail<Zarn>::find(id, stateType); });
}
BENCHMARK(BM_ScaleIDs)->RangeMultiplier(10)->Range(1, maximumIDs);

void BM_ScaleIDsFloor(benchmark::State& state) {
    auto* const process = floor::create();
    auto* const zarn = floor::create(*process);
    auto* const activation = floor::push(*zarn);
    measureShuffledFinds(
        state, [](std::uint64_t id) { floor::insert(id, stateType, makeStaticState()); },
        [](std::uint64_t id) { return floor::find(id, stateType); });
    floor::pop(activation);
    floor::destroy(zarn);
    floor::destroy(process);
}
BENCHMARK(BM_ScaleIDsFloor)->RangeMultiplier(10)->Range(1, maximumIDs);

// ---------------------------------------------------------------------------------------------------------------------
// Threads: a Zarn context each, below one Process context. The time is that of a find of any of them.

void BM_ScaleThreads(benchmark::State& state) {
    const auto ids = typeIDs<Zarn>(entryCount);
    Context<Process> process;
    auto contexts = makeContexts(process, state.range(0));
    measureTogether(
        state, contexts.size(),
        [&](std::size_t thread) {
            auto activator = std::make_unique<ContextActivator>(contexts[thread]);
            if (!Detail<Zarn>::find(ids[0], stateType)) fill<Zarn>(ids);
            return activator;
        },
        [ids = ids.data()] {
            unrolled<entryCount>([ids](std::size_t index) { use(Detail<Zarn>::find(ids[index], stateType)); });
        });
}
BENCHMARK(BM_ScaleThreads)->RangeMultiplier(2)->Range(1, 16)->UseManualTime();

// ---------------------------------------------------------------------------------------------------------------------
// Nesting: n activators one in the other, and out again. The time is that of one.

void BM_ScaleNesting(benchmark::State& state) {
    Context<Process> process;
    Context<Zarn> even(process);
    Context<Zarn> odd(process);
    const auto depth = static_cast<std::size_t>(state.range(0));
    std::vector<std::optional<ContextActivator>> activators(depth);
    while (state.KeepRunningBatch(state.range(0))) {
        for (std::size_t index = 0; index < depth; ++index)
            activators[index].emplace(index % 2 == 0 ? even : odd);
        for (auto activator = activators.rbegin(); activator != activators.rend(); ++activator)
            activator->reset();
    }
}
BENCHMARK(BM_ScaleNesting)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

}  // namespace
}  // namespace bench
