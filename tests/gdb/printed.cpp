// What gdb prints in tests: every handle in each of its states, states with and without a name, contexts at each point
// of their lives.

#include <foundation/state/state.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include "unknown.h"

namespace printed {

using namespace foundation;
using tav::management::Context;
using tav::management::ContextSet;
using tav::management::thisthread::ContextActivator;

struct Shape {
    using StateScope = tav::scope::Workspace;
    int corners;
};

template <class Key, class Value>
struct Table {
    using StateScope = tav::scope::Zarn;
    std::map<Key, Value> rows;
};

namespace {
struct Hidden {
    using StateScope = tav::scope::Zarn;
    int number;
};
}  // namespace

void deleteNote(void* note) { delete static_cast<std::string*>(note); }

// Static, since a debugger knows nothing of what an optimiser has done away with.
std::optional<Context<tav::scope::Process>> process, otherProcess;
std::optional<Context<tav::scope::Zarn>> zarn, shutDownZarn, destroyedZarn, emptyZarn;
std::optional<Context<tav::scope::Workspace>> workspace;
std::optional<ContextSet> emptySet, movedFromSet, fullSet;
std::optional<ContextActivator> activator, innerActivator, deactivatedActivator;
tav::StatePtr noState(nullptr, nullptr), namedState(nullptr, nullptr), unnamedState(nullptr, nullptr);
tav::management::NullContext<tav::scope::Workspace> noWorkspace;
const tav::management::NullContext<tav::scope::Workspace>& referenceToNoWorkspace = noWorkspace;
const tav::StatePtr& referenceToNamedState = namedState;
std::unique_ptr<int> foreignPointer;

[[gnu::noinline]] void beforeAll() { std::puts("before all"); }
[[gnu::noinline]] void allThere() { std::puts("all there"); }

/// Stops while its context is being destroyed.
struct Dying {
    using StateScope = tav::scope::Workspace;
    ~Dying() { deleting(); }
    [[gnu::noinline]] static void deleting() { std::puts("deleting"); }
};

void makeContexts() {
    process.emplace();
    otherProcess.emplace(false);
    zarn.emplace(*process);
    shutDownZarn.emplace(*process);
    shutDownZarn->shutdown();
    destroyedZarn.emplace(*process);
    destroyedZarn->destroy();
    emptyZarn.emplace(*process);
    { const Context<tav::scope::Zarn> moved = std::move(*emptyZarn); }
    workspace.emplace(*zarn);
}

void makeSets() {
    activator.emplace(*workspace);
    fullSet = activator->getActiveContexts();
    deactivatedActivator.emplace();
    deactivatedActivator->deactivate();
    emptySet.emplace();
    movedFromSet.emplace();
    const ContextSet moved = std::move(*movedFromSet);
}

void makeStates() {
    using Notes = tav::Detail<tav::scope::Process>;
    Notes::insert(Notes::getNextID(typeid(std::string)), typeid(std::string),
                  tav::StatePtr(new std::string("unregistered"), &deleteNote));
    constexpr tav::StateDeleter deleterOfLibrary = &::operator delete;
    Notes::insert(Notes::getNextID(typeid(long)), typeid(long), tav::StatePtr(::operator new(8), deleterOfLibrary));
    state::create<Table<int, long>>().rows = {{1, 10}, {2, 20}};
    state::create<Hidden>().number = 7;
    createUnknown();
    state::create<Shape>(4);
    state::create<Dying>();
    unnamedState = tav::StatePtr(new std::string("outside"), &deleteNote);
    auto shape = state::make<Shape>(3);
    const tav::StateDeleter deleter = shape.get_deleter().function;
    namedState = tav::StatePtr(shape.release(), deleter);
    foreignPointer = std::make_unique<int>(3);
}

}  // namespace printed

int main() {
    using namespace printed;
    beforeAll();
    makeContexts();
    makeSets();
    makeStates();
    innerActivator.emplace(tav::management::NullContext<tav::scope::Workspace>());
    allThere();
    innerActivator.reset();
    workspace.reset();  // while it is current
}
