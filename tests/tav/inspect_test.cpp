#include <foundation/tav/inspect.h>

#include <foundation/tav/unload.h>
#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

#include "contexts.h"

namespace foundation::tests {
namespace {

using tav::management::ContextRecord;
using tav::management::ContextState;
using tav::management::eraseStatesDeletedBy;
using tav::management::inspectContexts;
using tav::management::StateRecord;
using testing::ElementsAre;
using testing::IsEmpty;

// A deleter is a plain function, so what it notes, and what it does besides, has to be global.
std::vector<std::string> deaths;
std::string actor;
std::function<void()> act;

void deleteState(void* state) {
    const std::unique_ptr<std::string> name(static_cast<std::string*>(state));
    deaths.push_back(*name);
    if (*name == actor) act();
}

void deleteOther(void* state) {
    deaths.emplace_back("other");
    delete static_cast<std::string*>(state);
}

/// Erases what `deleteState` is to delete.
std::uint64_t eraseStates() {
    const auto* const address = reinterpret_cast<const char*>(&deleteState);
    return eraseStatesDeletedBy(address, address + 1);
}

class InspectTest : public ContextsTest {
protected:
    InspectTest() {
        deaths.clear();
        actor.clear();
    }

    /// Stores a state in the current context of the scope, and returns its address.
    template <class Scope>
    static const void* put(std::uint64_t id, const std::string& name, tav::StateDeleter deleter = &deleteState) {
        return Detail<Scope>::insert(id, typeid(Widget), StatePtr(new std::string(name), deleter)).get();
    }
};

// Everything below the active Process context is there, parents first, and says whose child it is.
TEST_F(InspectTest, ShowsTheTree) {
    Context<Zarn> second(process);
    Context<Workspace> secondWorkspace(second);
    const std::vector<ContextRecord> contexts = inspectContexts();
    ASSERT_EQ(contexts.size(), 5);
    EXPECT_EQ(*contexts[0].scope, typeid(Process));
    EXPECT_EQ(*contexts[1].scope, typeid(Zarn));
    EXPECT_EQ(*contexts[2].scope, typeid(Workspace));
    EXPECT_EQ(*contexts[3].scope, typeid(Zarn));
    EXPECT_EQ(*contexts[4].scope, typeid(Workspace));
    EXPECT_EQ(contexts[0].parent, nullptr);
    EXPECT_EQ(contexts[1].parent, contexts[0].address);
    EXPECT_EQ(contexts[2].parent, contexts[1].address);
    EXPECT_EQ(contexts[3].parent, contexts[0].address);
    EXPECT_EQ(contexts[4].parent, contexts[3].address);
}

// A context shows how far its life has come, and where it is current.
TEST_F(InspectTest, ShowsStateAndActivation) {
    Context<Zarn> idle(process);
    idle.shutdown();
    std::vector<ContextRecord> contexts = inspectContexts();
    EXPECT_EQ(contexts[0].activations, 1);
    EXPECT_TRUE(contexts[0].isCurrent);
    EXPECT_EQ(contexts[1].activations, 1);
    EXPECT_TRUE(contexts[1].isCurrent);
    EXPECT_EQ(contexts[1].state, ContextState::running);
    EXPECT_EQ(contexts[3].activations, 0);
    EXPECT_FALSE(contexts[3].isCurrent);
    EXPECT_EQ(contexts[3].state, ContextState::shutdown);
    onOtherThread([&contexts] { contexts = inspectContexts(); });
    EXPECT_TRUE(contexts[0].isCurrent);
    EXPECT_FALSE(contexts[1].isCurrent);
    EXPECT_EQ(contexts[1].activations, 1);
}

// The states of a context are listed newest first, as they would die.
TEST_F(InspectTest, ShowsStates) {
    const void* const first = put<Zarn>(3, "first");
    const void* const second = put<Zarn>(2, "second", &deleteOther);
    const std::vector<ContextRecord> contexts = inspectContexts();
    EXPECT_THAT(contexts[0].states, IsEmpty());
    const std::vector<StateRecord>& states = contexts[1].states;
    ASSERT_EQ(states.size(), 2);
    EXPECT_EQ(states[0].typeID, 2);
    EXPECT_EQ(states[0].address, second);
    EXPECT_EQ(states[0].deleter, &deleteOther);
    EXPECT_EQ(states[1].typeID, 3);
    EXPECT_EQ(states[1].address, first);
    EXPECT_EQ(states[1].deleter, &deleteState);
}

// Without an active Process context there is nothing to see and nothing to erase.
TEST_F(InspectTest, NeedsAnActiveProcess) {
    put<Zarn>(0, "state");
    process.deactivate();
    EXPECT_THAT(inspectContexts(), IsEmpty());
    EXPECT_EQ(eraseStates(), 0);
    EXPECT_THAT(deaths, IsEmpty());
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// A destroyed context is in nobody's tree any more.
TEST_F(InspectTest, LeavesDestroyedContextsOut) {
    workspace.destroy();
    EXPECT_EQ(inspectContexts().size(), 2);
}

// A deleter may look: its own state is gone, the older ones are there.
TEST_F(InspectTest, DeletersMayLook) {
    const Watchdog watchdog("looking from a deleter");
    put<Process>(0, "older");
    put<Process>(1, "dying");
    std::size_t seen = 0;
    actor = "dying";
    act = [&seen] { seen = inspectContexts()[0].states.size(); };
    Detail<Process>::erase(1, typeid(Widget));
    EXPECT_EQ(seen, 1);
}

// The handler of a report that is made with the Process context locked may look, on whatever depth of reports.
TEST_F(InspectTest, HandlersMayLook) {
    const Watchdog watchdog("looking from an error handler");
    static std::vector<std::size_t> seen;
    static std::function<void()> again;
    seen.clear();
    const ScopedErrorHandler looking(+[](const tav::ErrorInfo& info) {
        seen.push_back(inspectContexts().size());
        if (const std::function<void()> next = std::exchange(again, nullptr)) next();
        throw Reported(info);
    });
    put<Process>(0, "state");
    reportOf([] { put<Process>(0, "inserted already"); });
    reportOf([this] { process.destroy(); });  // it has children
    reportOf([] { Detail<Process>::findOrFail(1, typeid(Widget)); });
    again = [] {
        Context<Process> other(false);
        other.shutdown();
        reportOf([&other] { const Context<Zarn> refused(other); });  // locks another Process context as well
        seen.push_back(inspectContexts().size());
    };
    reportOf([] { put<Process>(0, "inserted already"); });
    reportOf([this] {
        process.shutdown();
        const Context<Zarn> refused(process);
    });
    EXPECT_THAT(seen, ElementsAre(3, 3, 3, 3, 3, 3, 3));
}

// A report that is over has left the lock to others: the next look takes it.
TEST_F(InspectTest, LooksAfterReports) {
    const Watchdog watchdog("looking after a report");
    put<Process>(0, "state");
    reportOf([] { put<Process>(0, "inserted already"); });
    EXPECT_EQ(inspectContexts().size(), 3);
    onOtherThread([] { EXPECT_EQ(inspectContexts().size(), 3); });
}

// States go by their deleter: children before parents, the newest sibling first, newest first within a context. Others
// stay.
TEST_F(InspectTest, ErasesByDeleter) {
    put<Process>(0, "process");
    put<Zarn>(0, "zarn 0");
    put<Zarn>(1, "stays", &deleteOther);
    put<Zarn>(2, "zarn 2");
    put<Workspace>(0, "workspace");
    {
        Context<Zarn> second(process);
        const ContextActivator secondActivator(second);
        put<Zarn>(0, "second zarn");
        EXPECT_EQ(eraseStates(), 5);
    }
    EXPECT_THAT(deaths, ElementsAre("second zarn", "workspace", "zarn 2", "zarn 0", "process"));
    EXPECT_TRUE(has<Zarn>(1));
    EXPECT_FALSE(has<Zarn>(0));
    EXPECT_EQ(eraseStates(), 0);
}

// The range ends before its end.
TEST_F(InspectTest, ErasesWithinTheRangeOnly) {
    put<Zarn>(0, "state");
    const auto* const address = reinterpret_cast<const char*>(&deleteState);
    EXPECT_EQ(eraseStatesDeletedBy(address - 1, address), 0);
    EXPECT_EQ(eraseStatesDeletedBy(address + 1, address + 2), 0);
    EXPECT_EQ(eraseStatesDeletedBy(address - 1, address + 1), 1);
}

// A deleter finds what is older than its own state, and what it inserts goes as well.
TEST_F(InspectTest, DeletersMayUseTheContext) {
    const Watchdog watchdog("using a context from a deleter");
    put<Process>(0, "older");
    put<Process>(1, "dying");
    actor = "dying";
    act = [] {
        EXPECT_TRUE(has<Process>(0));
        EXPECT_FALSE(has<Process>(1));
        put<Process>(2, "late");
    };
    EXPECT_EQ(eraseStates(), 3);
    EXPECT_THAT(deaths, ElementsAre("dying", "late", "older"));
}

// A deleter may destroy contexts whose turn has yet to come.
TEST_F(InspectTest, DeletersMayDestroyContexts) {
    put<Zarn>(0, "zarn");
    put<Workspace>(0, "workspace");
    actor = "workspace";
    act = [this] {
        workspace.destroy();
        zarn.destroy();
        process.destroy();
    };
    EXPECT_EQ(eraseStates(), 1);
    EXPECT_THAT(deaths, ElementsAre("workspace", "zarn"));
}

// A deleter may free the handles of all contexts; their stores are there until the end.
TEST_F(InspectTest, DeletersMayFreeHandles) {
    put<Process>(0, "process");
    put<Zarn>(0, "zarn");
    put<Workspace>(0, "workspace");
    actor = "workspace";
    act = [this] {
        const Context<Process> freedLast(std::move(process));
        const Context<Zarn> freed(std::move(zarn));
        const Context<Workspace> freedFirst(std::move(workspace));
    };
    EXPECT_EQ(eraseStates(), 1);
    EXPECT_THAT(deaths, ElementsAre("workspace", "zarn", "process"));
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// What another thread works with is left alone.
TEST_F(InspectTest, PassesOverContextsOfOtherThreads) {
    const Watchdog watchdog("erasing beside another thread");
    put<Zarn>(0, "here");
    Context<Zarn> busy(process);
    std::latch inUse(1);
    std::latch looked(1);
    std::jthread user([&] {
        const ContextActivator activated(busy);
        put<Zarn>(0, "busy");
        inUse.count_down();
        looked.wait();
    });
    inUse.wait();
    const ContextRecord record = inspectContexts().at(3);
    EXPECT_EQ(record.activations, 1);
    EXPECT_FALSE(record.isCurrent);
    EXPECT_EQ(eraseStates(), 1);
    EXPECT_THAT(deaths, ElementsAre("here"));
    looked.count_down();
    user.join();
    EXPECT_EQ(eraseStates(), 1);
}

}  // namespace
}  // namespace foundation::tests
