// Lookups: the three scopes, the operations that find what is there, their floors, and what else a host could use.

#include <foundation/state/state.h>
#include <boost/any.hpp>
#include <boost/asio/execution_context.hpp>
#include <memory>
#include <mutex>
#include <typeindex>
#include <unordered_map>

#include "support/host.h"

namespace bench {
namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Zarn and Workspace

void BM_FindZarn(benchmark::State& state) {
    const Host host;
    measureFinds(state, typeIDs<Zarn>(entryCount), [](auto id, auto& type) { return Detail<Zarn>::find(id, type); });
}
BENCHMARK(BM_FindZarn);

/// To the object itself, as what else a host could use is measured.
void BM_FindZarnObject(benchmark::State& state) {
    const Host host;
    measureFinds(state, typeIDs<Zarn>(entryCount),
                 [](auto id, auto& type) { return Detail<Zarn>::find(id, type)->get(); });
}
BENCHMARK(BM_FindZarnObject);

void BM_FindZarnFloor(benchmark::State& state) {
    const FloorHost host;
    measureFinds(state, typeIDs<Zarn>(entryCount), [](auto id, auto& type) { return floor::find(id, type); });
}
BENCHMARK(BM_FindZarnFloor);

void BM_FindZarnFloorInitialExec(benchmark::State& state) {
    const FloorHost host;
    measureFinds(state, typeIDs<Zarn>(entryCount),
                 [](auto id, auto& type) { return floor::findInitialExec(id, type); });
}
BENCHMARK(BM_FindZarnFloorInitialExec);

void BM_FindInlineFloor(benchmark::State& state) {
    const FloorHost host;
    measureFinds(state, typeIDs<Zarn>(entryCount), [](auto id, auto& type) { return floor::findInline(id, type); });
}
BENCHMARK(BM_FindInlineFloor);

void BM_FindZarnLoop(benchmark::State& state) {
    const Host host;
    measureFindLoop(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return Detail<Zarn>::find(id, type); });
}
BENCHMARK(BM_FindZarnLoop);

void BM_FindZarnFloorLoop(benchmark::State& state) {
    const FloorHost host;
    measureFindLoop(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return floor::find(id, type); });
}
BENCHMARK(BM_FindZarnFloorLoop);

void BM_FindInlineFloorLoop(benchmark::State& state) {
    const FloorHost host;
    measureFindLoop(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return floor::findInline(id, type); });
}
BENCHMARK(BM_FindInlineFloorLoop);

void BM_FindZarnChain(benchmark::State& state) {
    const Host host;
    measureFindChain(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return Detail<Zarn>::find(id, type); });
}
BENCHMARK(BM_FindZarnChain);

void BM_FindZarnFloorChain(benchmark::State& state) {
    const FloorHost host;
    measureFindChain(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return floor::find(id, type); });
}
BENCHMARK(BM_FindZarnFloorChain);

void BM_FindZarnFloorInitialExecChain(benchmark::State& state) {
    const FloorHost host;
    measureFindChain(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return floor::findInitialExec(id, type); });
}
BENCHMARK(BM_FindZarnFloorInitialExecChain);

void BM_FindInlineFloorChain(benchmark::State& state) {
    const FloorHost host;
    measureFindChain(state, typeIDs<Zarn>(1)[0], [](auto id, auto& type) { return floor::findInline(id, type); });
}
BENCHMARK(BM_FindInlineFloorChain);

void BM_FindWorkspace(benchmark::State& state) {
    const Host host;
    measureFinds(state, typeIDs<Workspace>(entryCount),
                 [](auto id, auto& type) { return Detail<Workspace>::find(id, type); });
}
BENCHMARK(BM_FindWorkspace);

void BM_FindWorkspaceFloor(benchmark::State& state) {
    const FloorHost host;
    measureFinds(state, typeIDs<Workspace>(entryCount),
                 [](auto id, auto& type) { return floor::findInWorkspace(id, type); });
}
BENCHMARK(BM_FindWorkspaceFloor);

// ---------------------------------------------------------------------------------------------------------------------
// The other operations, on states that are there

void BM_FindOrThrow(benchmark::State& state) {
    const Host host;
    measureFinds(state, typeIDs<Zarn>(entryCount),
                 [](auto id, auto& type) { return &Detail<Zarn>::findOrThrow(id, type); });
}
BENCHMARK(BM_FindOrThrow);

void BM_FindOrFail(benchmark::State& state) {
    const Host host;
    measureFinds(state, typeIDs<Zarn>(entryCount),
                 [](auto id, auto& type) { return &Detail<Zarn>::findOrFail(id, type); });
}
BENCHMARK(BM_FindOrFail);

void BM_FindOrInsert(benchmark::State& state) {
    const Host host;
    StatePtr offered = makeStaticState();  // stays here, since one is present
    measureFinds(state, typeIDs<Zarn>(entryCount),
                 [&](auto id, auto& type) { return &Detail<Zarn>::findOrInsert(id, type, std::move(offered)); });
}
BENCHMARK(BM_FindOrInsert);

// ---------------------------------------------------------------------------------------------------------------------
// Process: one thread, and two that contend for the mutex

void BM_FindProcess(benchmark::State& state) {
    const Host host;
    measureFinds(state, typeIDs<Process>(entryCount),
                 [](auto id, auto& type) { return Detail<Process>::find(id, type); });
}
BENCHMARK(BM_FindProcess);

void BM_FindProcessFloor(benchmark::State& state) {
    const FloorHost host;
    measureFinds(state, typeIDs<Process>(entryCount),
                 [](auto id, auto& type) { return floor::findInProcess(id, type); });
}
BENCHMARK(BM_FindProcessFloor);

template <class Find>
void measureContention(benchmark::State& state, const Find& find) {
    const std::uint64_t* const ids = typeIDs<Process>(entryCount).data();
    measureTogether(
        state, 2, [](std::size_t) { return nullptr; },
        [ids, find] { unrolled<entryCount>([ids, find](std::size_t index) { use(find(ids[index], stateType)); }); });
}

void BM_FindProcessContended(benchmark::State& state) {
    const Host host;
    measureContention(state, [](auto id, auto& type) { return Detail<Process>::find(id, type); });
}
BENCHMARK(BM_FindProcessContended)->UseManualTime();

void BM_FindProcessContendedFloor(benchmark::State& state) {
    const FloorHost host;
    measureContention(state, [](auto id, auto& type) { return floor::findInProcess(id, type); });
}
BENCHMARK(BM_FindProcessContendedFloor)->UseManualTime();

// ---------------------------------------------------------------------------------------------------------------------
// The typed layer

template <std::size_t index>
struct TypedEntry {
    using StateScope = Zarn;
    std::uint64_t value;
};

void BM_FindTyped(benchmark::State& state) {
    const Host host;
    [&]<std::size_t... index>(std::index_sequence<index...>) {
        (foundation::state::create<TypedEntry<index>>(index), ...);
        while (state.KeepRunningBatch(entryCount))
            (use(foundation::state::find<TypedEntry<index>>()), ...);
    }
    (std::make_index_sequence<entryCount>());
}
BENCHMARK(BM_FindTyped);

// ---------------------------------------------------------------------------------------------------------------------
// What else a host could keep its state in, each asked for every entry in turn

template <std::size_t index>
struct Entry {
    explicit Entry(std::uint64_t initial) : value(initial) {}
    std::uint64_t value;
};

/// Known at run time only, so that no entry can be initialised by the compiler.
std::uint64_t initialValue() { return typeIDs<Zarn>(1)[0]; }

template <std::size_t index>
struct Service : boost::asio::execution_context::service {
    explicit Service(boost::asio::execution_context& context) : boost::asio::execution_context::service(context) {}
    void shutdown() override {}

    inline static boost::asio::execution_context::id id;
    std::uint64_t value = initialValue();
};

template <std::size_t count>
void BM_FindAsioService(benchmark::State& state) {
    boost::asio::execution_context context;
    const auto useEach = [&]<std::size_t... index>(std::index_sequence<index...>) {
        (use(&boost::asio::use_service<Service<index>>(context)), ...);
    };
    useEach(std::make_index_sequence<count>());
    while (state.KeepRunningBatch(count))
        useEach(std::make_index_sequence<count>());
}
BENCHMARK(BM_FindAsioService<1>);
BENCHMARK(BM_FindAsioService<10>);
BENCHMARK(BM_FindAsioService<100>);

template <class Operation>
void forEachEntry(const Operation& operation) {
    [&]<std::size_t... index>(std::index_sequence<index...>) { (operation.template operator()<Entry<index>>(), ...); }
    (std::make_index_sequence<entryCount>());
}

/// Measures a lookup of each entry type, in turn.
template <class Find>
void measureEntries(benchmark::State& state, const Find& find) {
    while (state.KeepRunningBatch(entryCount))
        forEachEntry([&]<class Type>() { use(find.template operator()<Type>()); });
}

using PointerMap = std::unordered_map<std::type_index, std::shared_ptr<void>>;

PointerMap makePointerMap() {
    PointerMap map;
    forEachEntry([&]<class Type>() { map.emplace(typeid(Type), std::make_shared<Type>(initialValue())); });
    return map;
}

void BM_FindMap(benchmark::State& state) {
    const PointerMap map = makePointerMap();
    measureEntries(state, [&]<class Type>() { return static_cast<Type*>(map.find(typeid(Type))->second.get()); });
}
BENCHMARK(BM_FindMap);

void BM_FindMapLocked(benchmark::State& state) {
    const PointerMap map = makePointerMap();
    std::mutex mutex;
    measureEntries(state, [&]<class Type>() {
        const std::lock_guard lock(mutex);
        return static_cast<Type*>(map.find(typeid(Type))->second.get());
    });
}
BENCHMARK(BM_FindMapLocked);

void BM_FindAnyMap(benchmark::State& state) {
    std::unordered_map<std::type_index, boost::any> map;
    forEachEntry([&]<class Type>() { map.emplace(typeid(Type), Type(initialValue())); });
    measureEntries(state, [&]<class Type>() { return boost::any_cast<Type>(&map.find(typeid(Type))->second); });
}
BENCHMARK(BM_FindAnyMap);

template <class Type>
Type& localStatic() {
    static Type object(initialValue());
    return object;
}

void BM_FindLocalStatic(benchmark::State& state) {
    measureEntries(state, []<class Type>() { return &localStatic<Type>(); });
}
BENCHMARK(BM_FindLocalStatic);

template <class Type>
Type& threadLocal() {
    thread_local Type object(initialValue());
    return object;
}

void BM_FindThreadLocal(benchmark::State& state) {
    measureEntries(state, []<class Type>() { return &threadLocal<Type>(); });
}
BENCHMARK(BM_FindThreadLocal);

}  // namespace
}  // namespace bench
