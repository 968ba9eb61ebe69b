// Runs one operation after the other under callgrind, which counts the instructions of `measured` and of all that it
// calls. Each operation is one part of callgrind's output, named after it.

#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>
#include <valgrind/callgrind.h>
#include <cstdint>
#include <thread>
#include <typeinfo>
#include <utility>

#include "trace_points.h"

namespace {

using foundation::tav::Detail;
using foundation::tav::StatePtr;
using foundation::tav::management::Context;
using foundation::tav::management::thisthread::ContextActivator;
using foundation::tav::scope::Process;
using foundation::tav::scope::Workspace;
using foundation::tav::scope::Zarn;

struct Widget {};

/// A state type of the typed layer.
template <class Scope>
struct Typed {
    using StateScope = Scope;
};

constinit Widget widget;

StatePtr makeState() {
    return {&widget, [](void*) {}};
}

/// Has the compiler believe that a pointer or number is used, and all memory with it.
template <class Value>
void use(Value value) {
    asm volatile("" : : "r"(value) : "memory");
}

/// What callgrind counts: it is told the name.
template <class Operation>
[[gnu::noinline]] void measured(const Operation& operation) {
    operation();
}

/// One part: the operation, `rounds` times. Once before, so that lazy binding, tables and caches of the allocator are
/// no part of it.
template <class Operation>
void count(const char* name, const Operation& operation) {
    constexpr int rounds = 1000;
    operation();
    CALLGRIND_ZERO_STATS;
    for (int round = 0; round < rounds; ++round)
        measured(operation);
    CALLGRIND_DUMP_STATS_AT(name);
}

template <class Scope>
std::uint64_t presentID() {
    static const std::uint64_t id = [] {
        const std::uint64_t next = Detail<Scope>::getNextID(typeid(Widget));
        Detail<Scope>::insert(next, typeid(Widget), makeState());
        return next;
    }();
    return id;
}

/// The instructions of `measured` itself.
void countNothing() {
    count("nothing", [] { use(0); });
}

template <class Scope>
void countFind(const char* name) {
    count(name, [id = presentID<Scope>()] { use(Detail<Scope>::find(id, typeid(Widget))); });
}

/// What a caller of `Detail` does to get at the object, with an id that is a constant.
template <class Scope>
void countObject(const char* name) {
    count(name, [id = presentID<Scope>()] {
        const StatePtr* const state = Detail<Scope>::find(id, typeid(Widget));
        use(state ? state->get() : nullptr);
    });
}

/// The same through the typed layer.
template <class Scope>
void countTypedFind(const char* name) {
    foundation::state::create<Typed<Scope>>();
    count(name, [] { use(foundation::state::find<Typed<Scope>>()); });
}

void countFindOrInsert() {
    StatePtr offered = makeState();  // stays here, since one is present
    count("findOrInsert present",
          [&, id = presentID<Zarn>()] { use(&Detail<Zarn>::findOrInsert(id, typeid(Widget), std::move(offered))); });
}

template <class Scope>
void countInsertErase(const char* name) {
    count(name, [id = Detail<Scope>::getNextID(typeid(Widget))] {
        use(&Detail<Scope>::insert(id, typeid(Widget), makeState()));
        use(Detail<Scope>::erase(id, typeid(Widget)));
    });
}

template <class Scope>
void countPushPop(const char* name, Context<Scope>& context) {
    count(name, [&context] {
        const ContextActivator activator(context);
        use(&activator);
    });
}

void countTracePoints() {
    count("counter", [] { use(foundation::tests::next()); });
    count("counter with a masked trace point", [] { use(foundation::tests::nextTraced()); });
    count("counter with a masked scope trace", [] { use(foundation::tests::nextInScope()); });
    count("getNextID", [] { use(Detail<Zarn>::getNextID(typeid(Widget))); });
}

}  // namespace

int main() {
    std::thread([] {}).join();  // ends the C library's short cuts for one thread, which hosts don't have
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    countNothing();
    countPushPop("push and pop, Zarn", zarn);
    countPushPop("push and pop, Workspace", workspace);
    const ContextActivator activator(workspace);
    countFind<Process>("find, Process");
    countFind<Zarn>("find, Zarn");
    countFind<Workspace>("find, Workspace");
    countObject<Process>("object found, Process");
    countObject<Zarn>("object found, Zarn");
    countObject<Workspace>("object found, Workspace");
    countTypedFind<Process>("typed find, Process");
    countTypedFind<Zarn>("typed find, Zarn");
    countTypedFind<Workspace>("typed find, Workspace");
    countFindOrInsert();
    countInsertErase<Zarn>("insert and erase, Zarn");
    countInsertErase<Process>("insert and erase, Process");
    countTracePoints();
}
