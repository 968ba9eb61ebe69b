#pragma once

/// @file
/// What the benchmarks measure with: contexts, states and ids, and the loops around the operations.

#include <benchmark/benchmark.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>
#include <algorithm>
#include <barrier>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <span>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

#include "../floor/floor.h"

namespace bench {

using foundation::tav::Detail;
using foundation::tav::StatePtr;
using foundation::tav::management::Context;
using foundation::tav::management::thisthread::ContextActivator;
using foundation::tav::scope::Process;
using foundation::tav::scope::Workspace;
using foundation::tav::scope::Zarn;

/// The states that a context of the small rows has, and the lookups that one round makes: each state once.
inline constexpr std::size_t entryCount = 20;

/// A state that is freed for real.
struct Payload {
    std::uint64_t values[2] = {1, 2};
};

/// The type that the states are said to have; their ids alone tell them apart.
inline constexpr const std::type_info& stateType = typeid(Payload);

/// A new state, freed by its deleter.
StatePtr makeState();

/// Does nothing, out of sight of the compiler.
void keep(void* payload);

extern Payload staticPayload;

/// A state that owns nothing, with a deleter that does nothing: for the rows that are about the store alone.
inline StatePtr makeStaticState() { return {&staticPayload, &keep}; }

inline constexpr std::size_t maximumIDs = 100'000;

/// The first ids of the scope: `count` of them, at most `maximumIDs`. All are fetched before the program begins, so
/// that they stay small whatever else asks for ids.
template <class Scope>
std::span<const std::uint64_t> typeIDs(std::size_t count);

/// Inserts static states into the scope's required context.
template <class Scope>
void fill(std::span<const std::uint64_t> ids) {
    for (const std::uint64_t id : ids)
        Detail<Scope>::insert(id, stateType, makeStaticState());
}

/// A Process context, a Zarn context and a Workspace context, current and with the small rows' states in each.
struct Host {
    Host() {
        fill<Process>(typeIDs<Process>(entryCount));
        fill<Zarn>(typeIDs<Zarn>(entryCount));
        fill<Workspace>(typeIDs<Workspace>(entryCount));
    }

    Context<Process> process;
    Context<Zarn> zarn{process};
    Context<Workspace> workspace{zarn};
    ContextActivator activator{workspace};
};

/// The same of the floors.
struct FloorHost {
    FloorHost();
    FloorHost(const FloorHost&) = delete;
    FloorHost& operator=(const FloorHost&) = delete;
    ~FloorHost();

    floor::Record<floor::ProcessContext>* process = floor::create();
    floor::Record<floor::ZarnContext>* zarn = floor::create(*process);
    floor::Record<floor::WorkspaceContext>* workspace = floor::create(*zarn);
    floor::Activation* activation = floor::push(*workspace);
};

/// `operation(0)`, `operation(1)`, ... `operation(count - 1)` without a loop's own cost.
template <std::size_t count, class Operation>
void unrolled(const Operation& operation) {
    [&]<std::size_t... index>(std::index_sequence<index...>) { (operation(index), ...); }
    (std::make_index_sequence<count>());
}

/// Has the compiler believe that a pointer or number is used, and all memory with it. It is in a register then:
/// Google Benchmark's own way takes it in memory too, and so leaves the last read of a lookup undone.
template <class Value>
void use(Value value) {
    asm volatile("" : : "r"(value) : "memory");
}

/// Measures an operation that is called with 0, 1, ... `entryCount - 1` in each round; the time is that of one call.
template <class Operation>
void measureRounds(benchmark::State& state, const Operation& operation) {
    while (state.KeepRunningBatch(entryCount))
        unrolled<entryCount>(operation);
}

/// Measures a lookup of each of the ids, in turn. Nothing but the lookups is in the way of the processor, which makes
/// the ratios the strictest there are.
template <class Find>
void measureFinds(benchmark::State& state, std::span<const std::uint64_t> allIDs, const Find& find) {
    const std::uint64_t* const ids = allIDs.first(entryCount).data();
    measureRounds(state, [ids, find](std::size_t index) { use(find(ids[index], stateType)); });
}

/// Measures the lookup of one id in a loop: what a caller sees that does something, if little, besides.
template <class Find>
void measureFindLoop(benchmark::State& state, std::uint64_t id, const Find& find) {
    for (auto _ : state)
        use(find(id, stateType));
}

/// The seconds of the calling thread's processor time that an operation takes, for the rows that prepare each iteration
/// without measuring it. Like the other rows of one thread, they don't count what other processes take meanwhile.
template <class Operation>
double secondsOf(const Operation& operation) {
    const auto now = [] {
        std::timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    operation();
    return now() - start;
}

/// Measures lookups each of which needs the result of the one before, so that the processor can't overlap them: how
/// long one takes, rather than how many fit in a time.
template <class Find>
void measureFindChain(benchmark::State& state, std::uint64_t id, const Find& find) {
    std::uintptr_t previous = 0;
    for (auto _ : state) {
        constexpr int signBit = 63;  // clear in every address of a program, as the compiler does not know
        previous = reinterpret_cast<std::uintptr_t>(find(id + (previous >> signBit), stateType));
        use(previous);
    }
}

/// Measures finds that threads make together, each calling `findEntries()`, which makes `entryCount` of them, again and
/// again; the time is that which passes from the moment when all are ready to the end of the last, per find.
/// `begin(thread)` returns what a thread keeps meanwhile. (Google Benchmark's own threads begin their time when each of
/// them happens to be scheduled.)
template <class Begin, class FindEntries>
void measureTogether(benchmark::State& state, std::size_t threadCount, const Begin& begin,
                     const FindEntries& findEntries) {
    constexpr std::size_t rounds = 100'000;
    using Clock = std::chrono::steady_clock;
    while (state.KeepRunningBatch(static_cast<std::int64_t>(threadCount * rounds * entryCount))) {
        Clock::time_point start;
        std::barrier ready(static_cast<std::ptrdiff_t>(threadCount), [&start]() noexcept { start = Clock::now(); });
        std::vector<Clock::time_point> ends(threadCount);
        {
            std::vector<std::jthread> threads;
            for (std::size_t thread = 0; thread < threadCount; ++thread)
                threads.emplace_back([&, thread] {
                    [[maybe_unused]] const auto kept = begin(thread);
                    ready.arrive_and_wait();
                    for (std::size_t round = 0; round < rounds; ++round)
                        findEntries();
                    ends[thread] = Clock::now();
                });
        }
        state.SetIterationTime(
            std::chrono::duration<double>(*std::max_element(ends.begin(), ends.end()) - start).count());
    }
}

}  // namespace bench
