// The classes of the implementation unit's unnamed namespace, tested where they are: the unit is compiled into this
// program, which doesn't link the library.

#if defined(__GNUC__) && !defined(__clang__)
// The exported classes have members of unnamed-namespace types. That is sound in a unit that is compiled on its own;
// the compiler can't know that nobody else includes it here either.
#pragma GCC diagnostic ignored "-Wsubobject-linkage"
#endif
// NOLINTNEXTLINE(bugprone-suspicious-include): what is tested has no header
#include <foundation/tav/management.cpp>

#include <array>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/make_shared.hpp>
#include <functional>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <string>

#include "../support/recording_sink.h"
#include "../support/teardown_recording.h"
#include "contexts.h"

namespace {

/// Looks into a store and breaks what it promises.
struct InstanceManagerPeer {
    static std::size_t slotCount(const InstanceManager& store) { return store.m_items.size(); }
    static std::size_t directSlots(const InstanceManager& store) { return store.m_slotCount; }
    static std::size_t listSize(const InstanceManager& store) { return store.m_list.size(); }
    static void setSlot(InstanceManager& store, std::uint64_t typeID, StatePtr* item) { store.m_items[typeID] = item; }
};

using foundation::tests::IgnoredAssertions;
using foundation::tests::isReport;
using foundation::tests::LifetimeLog;
using foundation::tests::onOtherThread;
using foundation::tests::Reported;
using foundation::tests::reportOf;
using foundation::tests::Watchdog;
using foundation::tests::Widget;
using scope::Process;
using scope::Workspace;
using scope::Zarn;
using testing::ElementsAre;
using testing::IsEmpty;

/// What a failed assertion writes: the expression, this unit, a line and the signature of the function.
auto assertionFailed(const std::string& expression, const std::string& function) {
    std::string pattern;
    for (const char character : expression) {
        if (std::string_view("().[]*!").find(character) != std::string_view::npos) pattern += '\\';
        pattern += character;
    }
    return testing::ContainsRegex("assertion failed: " + pattern +
                                  "\n  file: foundation/tav/management\\.cpp\n  line: [1-9][0-9]*\n  function: [^\n]*" +
                                  function + "\\(");
}

// ---------------------------------------------------------------------------------------------------------------------

class InstanceManagerTest : public testing::Test {
protected:
    using Peer = InstanceManagerPeer;

    void put(std::uint64_t id, const std::string& name, std::function<void()> atDeath = {}) {
        store.insert(id, log.state(name, std::move(atDeath)));
    }

    std::size_t slotCount() const { return Peer::slotCount(store); }

    LifetimeLog log;
    InstanceManager store;
};

// Nothing is there at first, not even a table.
TEST_F(InstanceManagerTest, StartsEmpty) {
    EXPECT_EQ(slotCount(), 0u);
    EXPECT_EQ(store.numNonNullItems(), 0u);
}

// The table grows to 1024 slots beyond an id that it lacks, and not for those that it has.
TEST_F(InstanceManagerTest, LookupsGrowTheTable) {
    EXPECT_EQ(store.find(0), nullptr);
    EXPECT_EQ(slotCount(), 1024u);
    EXPECT_EQ(store.find(1023), nullptr);
    EXPECT_EQ(slotCount(), 1024u);
    EXPECT_EQ(store.find(1024), nullptr);
    EXPECT_EQ(slotCount(), 2048u);
    EXPECT_EQ(store.find(1024), nullptr);
    EXPECT_EQ(slotCount(), 2048u);
    EXPECT_EQ(store.find(5000), nullptr);
    EXPECT_EQ(slotCount(), 6024u);
}

// Insertions grow it by the same rule.
TEST_F(InstanceManagerTest, InsertionsGrowTheTable) {
    put(0, "first");
    EXPECT_EQ(slotCount(), 1024u);
    put(5000, "second");
    EXPECT_EQ(slotCount(), 6024u);
    EXPECT_EQ(store.numNonNullItems(), 2u);
}

// The table doesn't shrink again.
TEST_F(InstanceManagerTest, NeverShrinks) {
    put(3000, "state");
    store.extract(3000);
    EXPECT_EQ(slotCount(), 4024u);
    store.destroy(InstanceManager::erase);
    EXPECT_EQ(slotCount(), 4024u);
    EXPECT_EQ(store.numNonNullItems(), 0u);
}

// What is inserted is found where the insertion said, and the caller's pointer is empty.
TEST_F(InstanceManagerTest, FindsWhatWasInserted) {
    StatePtr state = log.state("state");
    void* const object = state.get();
    StatePtr& stored = store.insert(7, std::move(state));
    EXPECT_EQ(state, nullptr);
    EXPECT_EQ(stored.get(), object);
    put(5000, "other");
    EXPECT_EQ(store.find(7), &stored);
    EXPECT_EQ(store.find(8), nullptr);
}

// Extracting takes the state out and deletes nothing; where there is none, the result is empty.
TEST_F(InstanceManagerTest, Extracts) {
    put(1, "kept");
    put(2, "extracted");
    {
        const StatePtr extracted = store.extract(2);
        EXPECT_NE(extracted, nullptr);
        EXPECT_EQ(store.find(2), nullptr);
        EXPECT_EQ(store.numNonNullItems(), 1u);
        EXPECT_THAT(log.deaths(), IsEmpty());
    }
    EXPECT_THAT(log.deaths(), ElementsAre("extracted"));
    const StatePtr none = store.extract(2);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(none.get_deleter(), nullptr);
}

// Extracting an id never seen changes nothing but the table's size.
TEST_F(InstanceManagerTest, ExtractingAnUnknownIDGrowsTheTable) {
    EXPECT_EQ(store.extract(2000), nullptr);
    EXPECT_EQ(slotCount(), 3024u);
}

// Erasing deletes the state that it is given, which was in no store or is no longer; an empty one is none.
TEST_F(InstanceManagerTest, Erases) {
    InstanceManager::erase(1, log.state("state"));
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
    InstanceManager::erase(1, StatePtr(nullptr, nullptr));
}

// The callback gets the states newest first, each with its id; one that was inserted again counts as newest.
TEST_F(InstanceManagerTest, DestroysNewestFirst) {
    put(10, "a");
    put(2000, "b");
    put(0, "c");
    store.extract(2000);
    put(2000, "b again");
    std::vector<std::uint64_t> ids;
    store.destroy([&](std::uint64_t id, StatePtr&& state) {
        ids.push_back(id);
        state.reset();
    });
    EXPECT_THAT(ids, ElementsAre(2000, 0, 10));
    EXPECT_THAT(log.deaths(), ElementsAre("b", "b again", "c", "a"));
}

// What the callback leaves is deleted, before the next state's turn.
TEST_F(InstanceManagerTest, DeletesWhatTheCallbackLeaves) {
    put(0, "older");
    put(1, "newer");
    std::vector<std::size_t> alive;
    store.destroy([&](std::uint64_t, StatePtr&&) { alive.push_back(log.alive()); });
    EXPECT_THAT(alive, ElementsAre(2, 1));
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "older"));
}

// What the callback takes is not deleted.
TEST_F(InstanceManagerTest, LeavesWhatTheCallbackTakes) {
    put(0, "taken");
    StatePtr taken(nullptr, nullptr);
    store.destroy([&](std::uint64_t, StatePtr&& state) { taken = std::move(state); });
    EXPECT_THAT(log.deaths(), IsEmpty());
    EXPECT_NE(taken, nullptr);
}

// A callback that throws loses its own state; those not reached yet stay, and everything fits together.
TEST_F(InstanceManagerTest, SurvivesAThrowingCallback) {
    put(0, "oldest");
    put(1, "middle");
    put(2, "newest");
    const auto refuse = [](std::uint64_t id, StatePtr&&) {
        if (id == 1) throw std::runtime_error("refused");
    };
    EXPECT_THROW(store.destroy(refuse), std::runtime_error);
    EXPECT_THAT(log.deaths(), ElementsAre("newest", "middle"));
    EXPECT_EQ(store.find(1), nullptr);
    EXPECT_NE(store.find(0), nullptr);
    EXPECT_EQ(InstanceManagerPeer::listSize(store), store.numNonNullItems());
}

// A deleter finds older states, and neither its own nor newer ones; what it inserts is destroyed next.
TEST_F(InstanceManagerTest, DeletersMayUseTheStore) {
    put(0, "older");
    put(1, "dying", [this] {
        EXPECT_NE(store.find(0), nullptr);
        EXPECT_EQ(store.find(1), nullptr);
        EXPECT_EQ(store.find(2), nullptr);
        put(5000, "inserted");
    });
    put(2, "newer");
    store.destroy(InstanceManager::erase);
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "dying", "inserted", "older"));
}

// No state outlives its store.
TEST_F(InstanceManagerTest, DestructorDestroysNewestFirst) {
    {
        InstanceManager local;
        local.insert(0, log.state("older"));
        local.insert(1, log.state("newer"));
    }
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "older"));
}

// The record of an erasure names the id.
TEST_F(InstanceManagerTest, TracesErasures) {
    const foundation::tests::ScopedMask mask(2 | 32);
    foundation::tests::RecordingSink sink;
    InstanceManager::erase(1234, log.state("state"));
    const auto records = sink.take();
    ASSERT_THAT(records, testing::SizeIs(2));
    EXPECT_EQ(records[0].message, records[1].message + "  typeID=1234");
    EXPECT_THAT(records[1].message, testing::HasSubstr("InstanceManager::erase("));
}

// An insertion on top of another, its check ignored: the earlier state can't be found any more, but is not lost.
TEST_F(InstanceManagerTest, IgnoredInsertionOnTopKeepsBothStates) {
    const IgnoredAssertions ignoredAssertions;
    put(0, "hidden");
    put(0, "visible");
    EXPECT_EQ(InstanceManagerPeer::listSize(store), 2u);
    EXPECT_EQ(store.numNonNullItems(), 1u);
    store.destroy(InstanceManager::erase);
    EXPECT_THAT(log.deaths(), ElementsAre("visible", "hidden"));
}

// A slot that points to a state of another id, its check ignored: nothing is extracted, and the slot is cleared.
TEST_F(InstanceManagerTest, IgnoredStraySlotExtractsNothing) {
    const IgnoredAssertions ignoredAssertions;
    InstanceManager::Item stray(1, log.state("stray"));
    store.find(0);
    Peer::setSlot(store, 0, &stray);
    EXPECT_EQ(store.extract(0), nullptr);
    EXPECT_EQ(store.find(0), nullptr);
    EXPECT_NE(stray, nullptr);
}

// A watched store does what any does, growing included; when that is over lookups are direct again.
TEST_F(InstanceManagerTest, IsWatched) {
    put(3, "third");
    EXPECT_EQ(Peer::directSlots(store), slotCount());
    store.watch();
    EXPECT_EQ(Peer::directSlots(store), 0u);
    EXPECT_NE(store.find(3), nullptr);
    EXPECT_EQ(store.find(4), nullptr);
    put(4, "fourth");
    EXPECT_NE(store.find(4), nullptr);
    EXPECT_EQ(slotCount(), 1027u);
    EXPECT_EQ(store.find(5000), nullptr);
    EXPECT_EQ(slotCount(), 6024u);
    put(9000, "last");
    EXPECT_EQ(slotCount(), 10024u);
    EXPECT_EQ(Peer::directSlots(store), 0u);
    EXPECT_TRUE(store.extract(4));
    EXPECT_FALSE(store.extract(4));
    EXPECT_EQ(store.numNonNullItems(), 2u);
    store.endWatch();
    EXPECT_EQ(Peer::directSlots(store), 10024u);
    EXPECT_NE(store.find(3), nullptr);
    EXPECT_NE(store.find(9000), nullptr);
    EXPECT_EQ(store.find(20000), nullptr);
    EXPECT_EQ(Peer::directSlots(store), 21024u);
}

// Each invariant is checked where it matters. All of this happens in processes of their own.
class InstanceManagerDeathTest : public InstanceManagerTest {
protected:
    void destroy() { store.destroy(InstanceManager::erase); }

    InstanceManager::Item stray{1, log.state("stray")};  // of another id than those that are put
};

// Callers look before they insert: a second state of one id is a fault of theirs.
TEST_F(InstanceManagerDeathTest, ChecksThatAnInsertionsSlotIsEmpty) {
    put(3, "first");
    EXPECT_DEATH(put(3, "second"), assertionFailed("m_items[typeID] == nullptr", "InstanceManager::insert"));
}

// A slot that points to a state of another id is found out by who extracts it.
TEST_F(InstanceManagerDeathTest, ChecksThatAnExtractedSlotHasANode) {
    const auto extractStray = [this] {
        put(3, "state");
        Peer::setSlot(store, 3, &stray);
        store.extract(3);
    };
    EXPECT_DEATH(extractStray(), assertionFailed("iter != m_list.end()", "InstanceManager::extract"));
}

// A lost slot is found out by the destruction before it begins.
TEST_F(InstanceManagerDeathTest, ChecksThatNodesAndSlotsAreOfOneNumber) {
    const auto destroyWithLostSlot = [this] {
        put(3, "state");
        Peer::setSlot(store, 3, nullptr);
        destroy();
    };
    EXPECT_DEATH(destroyWithLostSlot(),
                 assertionFailed("m_list.size() == numNonNullItems()", "InstanceManager::destroy"));
}

// An empty state, which nobody may insert, is found out by the destruction.
TEST_F(InstanceManagerDeathTest, ChecksThatStatesOwnObjects) {
    const auto destroyEmptyState = [this] {
        store.insert(3, StatePtr(nullptr, nullptr));
        destroy();
    };
    EXPECT_DEATH(destroyEmptyState(), assertionFailed("item", "InstanceManager::destroy"));
}

// A node that no slot points to is found out even where the numbers agree.
TEST_F(InstanceManagerDeathTest, ChecksThatNodesHaveSlots) {
    const auto destroyWithStraySlot = [this] {
        put(3, "state");
        Peer::setSlot(store, 3, &stray);
        destroy();
    };
    EXPECT_DEATH(destroyWithStraySlot(), assertionFailed("index != m_items.end()", "InstanceManager::destroy"));
}

// A second state in a slot is found out while the store is watched, too.
TEST_F(InstanceManagerDeathTest, ChecksForFreeSlotsWhileWatched) {
    put(3, "first");
    store.watch();
    EXPECT_DEATH(put(3, "second"), assertionFailed("m_items[typeID] == nullptr", "InstanceManager::insertBeyond"));
    store.endWatch();
}

// A slot that is left when all nodes are gone is found out at the end.
TEST_F(InstanceManagerDeathTest, ChecksThatNoSlotIsLeft) {
    put(3, "state");
    const auto leaveStraySlot = [this] {
        store.destroy([this](std::uint64_t, StatePtr&&) { Peer::setSlot(store, 4, &stray); });
    };
    EXPECT_DEATH(leaveStraySlot(), assertionFailed("numNonNullItems() == 0", "InstanceManager::destroy"));
}

// A store that dies is checked like one that is destroyed, even if it has no states.
TEST_F(InstanceManagerDeathTest, ChecksAStoreThatDies) {
    const auto dieWithStraySlot = [this] {
        InstanceManager dying;
        dying.find(0);
        Peer::setSlot(dying, 0, &stray);
    };
    EXPECT_DEATH(dieWithStraySlot(), assertionFailed("m_list.size() == numNonNullItems()", "InstanceManager::destroy"));
}

// ---------------------------------------------------------------------------------------------------------------------

template <class Scope>
using Impl = std::shared_ptr<ContextImpl<Scope>>;

static_assert(static_cast<int>(State::running) == 0 && static_cast<int>(State::shutdown) == 1 &&
              static_cast<int>(State::destroyed) == 2 && sizeof(State) == 4);

/// Contexts without handles: one of each scope, destroyed in order.
class ContextImplTest : public testing::Test {
protected:
    ~ContextImplTest() override {
        workspace->destroy();
        zarn->destroy();
        process->destroy();
    }

    template <class Scope>
    ContextImpl<Scope>& context() {
        if constexpr (std::is_same_v<Scope, Process>)
            return *process;
        else if constexpr (std::is_same_v<Scope, Zarn>)
            return *zarn;
        else
            return *workspace;
    }

    template <class Scope>
    void put(const Impl<Scope>& into, std::uint64_t id, const std::string& name, std::function<void()> atDeath = {}) {
        into->insert(id, typeid(Widget), log.state(name, std::move(atDeath)));
    }

    LifetimeLog log;
    foundation::tests::ThrowingErrorHandler handler;
    const Impl<Process> process = std::make_shared<ContextImpl<Process>>();
    const Impl<Zarn> zarn = process->createChild();
    const Impl<Workspace> workspace = zarn->createChild();
};

template <class Scope>
class EachContextImplTest : public ContextImplTest {
protected:
    void destroyAll() {
        workspace->destroy();
        zarn->destroy();
        process->destroy();
    }
};
TYPED_TEST_SUITE(EachContextImplTest, foundation::tests::AllScopes, foundation::tests::ScopeNames);

// A destroyed context can't be activated, and its count stays.
TYPED_TEST(EachContextImplTest, DestroyedOneIsNotActivated) {
    auto& context = this->template context<TypeParam>();
    this->destroyAll();
    EXPECT_THAT(reportOf([&] { context.incRef(); }), isReport("Attempting to activate a destroyed context",
                                                              foundation::tests::contextMember<TypeParam>("incRef")));
    EXPECT_FALSE(context.isActive());
}

// A context that was shut down can; the count goes up and down.
TYPED_TEST(EachContextImplTest, ShutDownOneIsActivated) {
    auto& context = this->template context<TypeParam>();
    context.shutdown();
    context.incRef();
    EXPECT_TRUE(context.isActive());
    context.decRef();
    EXPECT_FALSE(context.isActive());
}

// The states: running, shut down, destroyed, never back.
TYPED_TEST(EachContextImplTest, IsShutDownThenDestroyed) {
    auto& context = this->template context<TypeParam>();
    EXPECT_FALSE(context.isShutdown());
    context.shutdown();
    EXPECT_TRUE(context.isShutdown());
    EXPECT_FALSE(context.isDestroyed());
    this->destroyAll();
    EXPECT_TRUE(context.isDestroyed());
    context.shutdown();
    EXPECT_TRUE(context.isDestroyed());
    EXPECT_TRUE(context.isShutdown());
}

// States may be put into a destroyed context; they die with it.
TYPED_TEST(EachContextImplTest, DestroyedOneTakesStates) {
    {
        const Impl<Process> ownProcess = std::make_shared<ContextImpl<Process>>();
        const Impl<Zarn> ownZarn = ownProcess->createChild();
        const Impl<Workspace> ownWorkspace = ownZarn->createChild();
        ownWorkspace->destroy();
        ownZarn->destroy();
        ownProcess->destroy();
        if constexpr (std::is_same_v<TypeParam, Process>) this->put(ownProcess, 0, "state");
        if constexpr (std::is_same_v<TypeParam, Zarn>) this->put(ownZarn, 0, "state");
        if constexpr (std::is_same_v<TypeParam, Workspace>) this->put(ownWorkspace, 0, "state");
        EXPECT_THAT(this->log.deaths(), IsEmpty());
    }
    EXPECT_THAT(this->log.deaths(), ElementsAre("state"));
}

// An activation too many given back, its check ignored, is given back all the same: the count passes below 0.
TYPED_TEST(EachContextImplTest, IgnoredDecRefGoesOn) {
    const IgnoredAssertions ignoredAssertions;
    auto& context = this->template context<TypeParam>();
    context.decRef();
    EXPECT_TRUE(context.isActive());
}

// Trace records name the context by its address as an output stream prints pointers.
TYPED_TEST(EachContextImplTest, TraceNamesTheAddress) {
    const foundation::tests::ScopedMask mask(2 | 32);
    foundation::tests::RecordingSink sink;
    auto& context = this->template context<TypeParam>();
    context.erase(0, typeid(Widget));
    std::ostringstream address;
    address.imbue(std::locale::classic());
    address << static_cast<void*>(&context);
    const auto records = sink.take();
    ASSERT_THAT(records, testing::SizeIs(2));
    EXPECT_EQ(records[0].message,
              records[1].message + "  typeID=0 getName(type)=foundation::tests::Widget this=" + address.str());
}

// A Process context has as many activations as were asked for.
TEST_F(ContextImplTest, ProcessCountsItsActivations) {
    process->incRef();
    process->incRef();
    process->decRef();
    EXPECT_TRUE(process->isActive());
    process->decRef();
    EXPECT_FALSE(process->isActive());
}

// A Process context that is destroyed has given its activations back: another one to give back changes nothing.
TEST_F(ContextImplTest, DestroyedProcessHasNoActivations) {
    EXPECT_EQ(process->enterActivation(), nullptr);
    workspace->destroy();
    zarn->destroy();
    process->destroy();
    process->decRef();
    EXPECT_FALSE(process->isActive());
}

// A destroyed Process context is refused before it has the process's slot.
TEST_F(ContextImplTest, DestroyedProcessDoesNotTakeTheSlot) {
    workspace->destroy();
    zarn->destroy();
    process->destroy();
    EXPECT_THAT(reportOf([&] { process->enterActivation(); }).message, "Attempting to activate a destroyed context");
    EXPECT_EQ(activeProcessContext.load(), nullptr);
}

// The second activation of another scope's context is reported, and counted all the same.
TEST_F(ContextImplTest, SecondActivationIsReportedAndCounted) {
    const char* const message =
        "Non-concurrent context activated by more than one thread. Only contexts with 'Process' scope can be activated "
        "by multiple threads.";
    zarn->incRef();
    EXPECT_THAT(reportOf([&] { zarn->incRef(); }), isReport(message, foundation::tests::contextMember<Zarn>("incRef")));
    workspace->incRef();
    EXPECT_THAT(reportOf([&] { workspace->incRef(); }),
                isReport(message, foundation::tests::contextMember<Workspace>("incRef")));
    zarn->decRef();
    workspace->decRef();
    EXPECT_TRUE(zarn->isActive());
    EXPECT_TRUE(workspace->isActive());
    zarn->decRef();
    workspace->decRef();
    EXPECT_FALSE(zarn->isActive());
    EXPECT_FALSE(workspace->isActive());
}

// A context that another thread has destroyed leaves this thread's slot when this thread lets go of it.
TEST_F(ContextImplTest, LeavesTheSlotOfTheThreadThatLetsGoOfIt) {
    Impl<Zarn> dying = process->createChild();
    exchangeCurrent<Zarn>(dying);
    onOtherThread([&dying] { dying->destroy(); });
    EXPECT_EQ(currentContext<Zarn>, dying.get());
    dying.reset();
    EXPECT_EQ(currentContext<Zarn>, nullptr);
}

// What dies has left its parent: a deleter finds none.
TEST_F(ContextImplTest, DeletersFindNoParent) {
    Impl<Zarn> found = zarn;
    put(workspace, 0, "state", [&] { found = workspace->parent(); });
    workspace->destroy();
    EXPECT_EQ(found, nullptr);
}

// A context that dies without having been destroyed does the same in the same order.
TEST_F(ContextImplTest, DyingContextIsDestroyed) {
    using testing::HasSubstr;
    auto dying = std::make_shared<ContextImpl<Zarn>>(process);
    put(dying, 0, "state");
    std::vector<std::string> entries;
    {
        const foundation::tests::ScopedMask mask(32);
        foundation::tests::RecordingSink sink;
        dying.reset();
        for (const auto& record : sink.take())
            if (record.severity == 32u) entries.push_back(record.message);
    }
    EXPECT_THAT(entries, ElementsAre(HasSubstr("~ContextImpl"), HasSubstr("::releaseParentNoLock"),
                                     HasSubstr("InstanceManager::erase")));
}

// Neither does what dies without having been destroyed; the parent outlives the deaths, and may end with them.
TEST_F(ContextImplTest, DyingContextHasLeftItsParent) {
    auto parent = std::make_shared<ContextImpl<Process>>();
    auto dying = std::make_shared<ContextImpl<Zarn>>(std::exchange(parent, nullptr));
    Impl<Process> found = process;
    put(dying, 0, "state", [&found, context = dying.get()] { found = context->parent(); });
    std::vector<std::string> records;
    {
        const foundation::tests::ScopedMask mask(32);
        foundation::tests::RecordingSink sink;
        dying.reset();
        for (const auto& record : sink.take())
            records.push_back(std::to_string(record.indentation) + record.message);
    }
    EXPECT_EQ(found, nullptr);
    ASSERT_THAT(records, testing::SizeIs(10));
    EXPECT_THAT(records.front(), testing::ContainsRegex("^0.*~ContextImpl\\(\\).*Zarn"));
    EXPECT_THAT(records[5], testing::ContainsRegex("^1.*~ContextImpl\\(\\).*Process"));
    EXPECT_THAT(records[8], testing::ContainsRegex("^1.*~ContextImpl\\(\\).*Process"));
    EXPECT_EQ(records.back(), records.front());
}

// Destroying the child breaks the circle of parent and child.
TEST_F(ContextImplTest, DestroyedChildLetsGoOfItsParent) {
    EXPECT_EQ(zarn->parent(), process);
    EXPECT_EQ(workspace->parent(), zarn);
    workspace->destroy();
    EXPECT_EQ(workspace->parent(), nullptr);
    zarn->createChild()->destroy();
    zarn->destroy();
    EXPECT_EQ(zarn->parent(), nullptr);
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// Only the child given is removed, wherever it stands.
TEST_F(ContextImplTest, RemovesOneChild) {
    const Impl<Zarn> second = process->createChild();
    const Impl<Zarn> third = process->createChild();
    process->removeChild(second.get());
    workspace->destroy();
    EXPECT_THAT(reportOf([&] { process->destroy(); }).message,
                "Cannot destroy context unless existing 2 child contexts are destroyed first.");
    process->removeChild(second.get());
    third->destroy();
    second->destroy();
}

// A child without states is not awaited by a destruction, nor by a context that goes with its last child.
TEST_F(ContextImplTest, ChildWithoutStatesIsNotAwaited) {
    workspace->destroy();
    process->removeChild(zarn.get());
    EXPECT_TRUE(process->destroy());

    const Impl<Process> parent = std::make_shared<ContextImpl<Process>>();
    const Impl<Zarn> first = parent->createChild();
    const Impl<Zarn> last = parent->createChild();
    parent->goWithLastChild();
    parent->removeChild(first.get());
    EXPECT_FALSE(parent->isDestroyed());
    last->destroy();
    EXPECT_TRUE(parent->isDestroyed());
}

// The mutex is free while a deleter runs, whatever runs it.
TEST_F(ContextImplTest, ProcessIsUnlockedWhileDeletersRun) {
    const Watchdog watchdog("Using a Process context while deleters run");
    const auto useContext = [this] {
        onOtherThread([this] { EXPECT_EQ(process->find(99), nullptr); });
        EXPECT_EQ(process->erase(99, typeid(Widget)), 0u);
        EXPECT_NE(process->find(0), nullptr);
    };
    put(process, 0, "oldest");
    put(process, 1, "destroyed", useContext);
    put(process, 2, "erased", useContext);
    put(process, 3, "erased everywhere", useContext);
    EXPECT_EQ(process->erase(2, typeid(Widget)), 1u);
    EXPECT_EQ(process->eraseAll<Process>(3, typeid(Widget)), 1u);
    workspace->destroy();
    zarn->destroy();
    process->destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("erased", "erased everywhere", "destroyed", "oldest"));
}

// Whoever destroys a context while that is being done gets told that it isn't done.
TEST_F(ContextImplTest, DestructionInProgressIsLeftAlone) {
    std::optional<bool> isDone;
    workspace->destroy();
    put(zarn, 0, "older");
    put(zarn, 1, "newer", [&] { isDone = zarn->destroy(); });
    EXPECT_TRUE(zarn->destroy());
    EXPECT_EQ(isDone, false);
    EXPECT_TRUE(zarn->destroy());
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "older"));
}

// A Process context that goes without having been destroyed leaves nothing dangling, and takes its states along.
TEST_F(ContextImplTest, ReleasedProcessLeavesTheActiveSlot) {
    Impl<Process> released = std::make_shared<ContextImpl<Process>>();
    put(released, 0, "state");
    released->incRef();
    activeProcessContext = released.get();
    released.reset();
    EXPECT_EQ(activeProcessContext.load(), nullptr);
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

// The slots of the test's thread, which are empty before and after each test.
class SlotTest : public ContextImplTest {
protected:
    ~SlotTest() override {
        EXPECT_EQ(currentContext<Zarn>, nullptr);
        EXPECT_EQ(currentContext<Workspace>, nullptr);
    }
};

// The new context is current and counted, the old one is returned and no longer counted.
TEST_F(SlotTest, Exchanges) {
    const Impl<Zarn> other = process->createChild();
    EXPECT_EQ(exchangeCurrent<Zarn>(zarn), nullptr);
    EXPECT_EQ(currentContext<Zarn>, zarn.get());
    EXPECT_EQ(exchangeCurrent<Zarn>(other), zarn);
    EXPECT_EQ(getCurrent<Zarn>(), other);
    EXPECT_FALSE(zarn->isActive());
    EXPECT_TRUE(other->isActive());
    EXPECT_EQ(exchangeCurrent<Zarn>(nullptr), other);
    EXPECT_EQ(getCurrent<Zarn>(), nullptr);
    EXPECT_FALSE(other->isActive());
    other->destroy();
}

// What is current already stays, with one activation.
TEST_F(SlotTest, ExchangeForTheSameChangesNothing) {
    exchangeCurrent<Zarn>(zarn);
    EXPECT_EQ(exchangeCurrent<Zarn>(zarn), zarn);
    exchangeCurrent<Zarn>(nullptr);
    EXPECT_FALSE(zarn->isActive());
    EXPECT_EQ(exchangeCurrent<Zarn>(nullptr), nullptr);
}

// A destroyed context is not installed; the old one goes all the same.
TEST_F(SlotTest, DestroyedContextIsNotInstalled) {
    exchangeCurrent<Zarn>(zarn);
    const Impl<Zarn> destroyed = process->createChild();
    destroyed->destroy();
    EXPECT_EQ(exchangeCurrent<Zarn>(destroyed), zarn);
    EXPECT_EQ(currentContext<Zarn>, nullptr);
    EXPECT_FALSE(destroyed->isActive());
    EXPECT_FALSE(zarn->isActive());
}

// Where the new context is refused the old one stays current.
TEST_F(SlotTest, RefusedContextIsNotInstalled) {
    const Impl<Zarn> refused = process->createChild();
    refused->incRef();
    exchangeCurrent<Zarn>(zarn);
    EXPECT_THROW(exchangeCurrent<Zarn>(refused), Reported);
    EXPECT_EQ(currentContext<Zarn>, zarn.get());
    exchangeCurrent<Zarn>(nullptr);
    refused->destroy();
}

// Releasing concerns the context given and the calling thread only.
TEST_F(SlotTest, ReleasesWhatIsCurrent) {
    exchangeCurrent<Zarn>(zarn);
    const Impl<Zarn> other = process->createChild();
    releaseIfCurrent(other.get());
    onOtherThread([this] { releaseIfCurrent(zarn.get()); });
    EXPECT_EQ(currentContext<Zarn>, zarn.get());
    EXPECT_TRUE(zarn->isActive());
    releaseIfCurrent(zarn.get());
    EXPECT_EQ(currentContext<Zarn>, nullptr);
    EXPECT_FALSE(zarn->isActive());
    other->destroy();
}

// A current context that no owner holds any longer can't be shared: whoever wants to, a deleter here, is told so. Then
// the context leaves its slot.
TEST_F(SlotTest, ExpiringContextIsNotShared) {
    Impl<Zarn> expiring = std::make_shared<ContextImpl<Zarn>>(process);
    put(expiring, 0, "state", [] {
        EXPECT_THROW(getCurrent<Zarn>(), std::bad_weak_ptr);
        EXPECT_THROW(foundation::tests::ContextActivator(), std::bad_weak_ptr);
        EXPECT_THROW(foundation::tests::ContextActivator(foundation::tests::NullContext<Workspace>()),
                     std::bad_weak_ptr);
    });
    expiring->incRef();
    currentContext<Zarn> = expiring.get();
    expiring.reset();
    EXPECT_EQ(currentContext<Zarn>, nullptr);
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

// Where it is the Workspace context, the Zarn step of an activation stays made.
TEST_F(SlotTest, ZarnStepStaysMadeWhereTheWorkspaceExpires) {
    foundation::tests::Context<Process> publicProcess;
    foundation::tests::Context<Zarn> publicZarn(publicProcess);
    Impl<Workspace> expiring = std::make_shared<ContextImpl<Workspace>>(zarn);
    put(expiring, 0, "state", [&] {
        EXPECT_THROW(foundation::tests::ContextActivator activator(publicZarn), std::bad_weak_ptr);
        EXPECT_TRUE(publicZarn.isActive());
        EXPECT_TRUE(foundation::tests::Detail<Zarn>::isRequiredContextActive());
    });
    expiring->incRef();
    currentContext<Workspace> = expiring.get();
    expiring.reset();
    publicZarn.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

// Each invariant of contexts is checked where it matters.
class ContextImplDeathTest : public ContextImplTest {};

// Activations are given back by those who have one.
TEST_F(ContextImplDeathTest, ChecksThatActivationsGivenBackWereThere) {
    EXPECT_DEATH(process->decRef(), assertionFailed("previous > 0", "ContextImpl<.*>::decRef"));
    EXPECT_DEATH(zarn->decRef(), assertionFailed("previous > 0", "ContextImpl<.*>::decRef"));
    EXPECT_DEATH(workspace->decRef(), assertionFailed("previous > 0", "ContextImpl<.*>::decRef"));
}

// Zarn and Workspace contexts are made with their parents.
TEST_F(ContextImplDeathTest, ChecksThatChildrenHaveParents) {
    const auto parentFailed = assertionFailed("m_parent", "ContextImpl<.*>::ContextImpl");
    EXPECT_DEATH(std::make_shared<ContextImpl<Zarn>>(nullptr), parentFailed);
    EXPECT_DEATH(std::make_shared<ContextImpl<Workspace>>(nullptr), parentFailed);
}

// A parent is asked to remove a child, not nothing.
TEST_F(ContextImplDeathTest, ChecksThatARemovedChildIsOne) {
    const auto childFailed = assertionFailed("child", "ContextImpl<.*>::removeChild");
    EXPECT_DEATH(process->removeChild(nullptr), childFailed);
    EXPECT_DEATH(zarn->removeChild(nullptr), childFailed);
}

// An empty state, which nobody may insert, is found out by who erases it from all contexts.
TEST_F(ContextImplDeathTest, ChecksThatErasedStatesOwnObjects) {
    const auto stateFailed = assertionFailed("state", "ContextImpl<.*>::eraseAll");
    const auto eraseEmptyState = [this]<class Scope>(ContextImpl<Scope>& context) {
        context.insert(3, typeid(Widget), StatePtr(nullptr, nullptr));
        process->eraseAll<Scope>(3, typeid(Widget));
    };
    EXPECT_DEATH(eraseEmptyState(*process), stateFailed);
    EXPECT_DEATH(eraseEmptyState(*zarn), stateFailed);
    EXPECT_DEATH(eraseEmptyState(*workspace), stateFailed);
}

// Ignored, these checks have no effect: a context without a parent works, and no child is removed.
TEST_F(ContextImplTest, IgnoredChecksHaveNoEffect) {
    const IgnoredAssertions ignoredAssertions;
    const auto orphan = std::make_shared<ContextImpl<Zarn>>(nullptr);
    put(orphan, 0, "state");
    orphan->destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
    process->removeChild(nullptr);
    EXPECT_EQ(zarn->parent(), process);
}

// ---------------------------------------------------------------------------------------------------------------------
// Private members, reached as explicit instantiations may.

using foundation::tests::Context;
using foundation::tests::ContextActivator;

template <class Key, typename Key::Member member>
struct Expose {
    friend typename Key::Member exposed(Key) { return member; }
};

template <class Scope>
struct ReleaseParent;
template <>
struct ReleaseParent<Zarn> {
    using Member = void (ContextImpl<Zarn>::*)();
    friend Member exposed(ReleaseParent);
};
template struct Expose<ReleaseParent<Zarn>, &ContextImpl<Zarn>::releaseParentNoLock>;

// A context leaves its parent once.
TEST_F(ContextImplDeathTest, ChecksThatADestroyedOneIsNotDetachedAgain) {
    workspace->destroy();
    zarn->destroy();
    EXPECT_DEATH((zarn.get()->*exposed(ReleaseParent<Zarn>()))(),
                 assertionFailed("m_state != State::destroyed", "ContextImpl<.*>::releaseParentNoLock"));
}

struct ProcessMutex {
    using Member = std::mutex ContextImpl<Process>::*;
    friend Member exposed(ProcessMutex);
};
template struct Expose<ProcessMutex, &ContextImpl<Process>::m_mutex>;

bool isLocked(std::mutex& mutex) {
    bool isFree = false;
    onOtherThread([&] {
        isFree = mutex.try_lock();
        if (isFree) mutex.unlock();
    });
    return !isFree;
}
bool isLocked(ContextImpl<Process>& process) { return isLocked(process.*exposed(ProcessMutex())); }

// A child that nobody shares but the list dies once the parent is unlocked.
TEST_F(ContextImplTest, RemovedChildDiesUnlocked) {
    Impl<Zarn> shared = process->createChild();
    put(shared, 0, "state", [this] { EXPECT_FALSE(isLocked(*process)); });
    ContextImpl<Zarn>* const child = shared.get();
    shared.reset();
    process->removeChild(child);
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

/// Sees every record of the process when it is asked for, and when it is written.
class RecordObserver : public boost::log::sinks::sink {
public:
    RecordObserver() : boost::log::sinks::sink(false) {}

    std::function<void()> whenAsked = [] {};
    std::function<void(const std::string&)> whenWritten = [](const std::string&) {};

private:
    bool will_consume(const boost::log::attribute_value_set&) override {
        whenAsked();
        return true;
    }
    void consume(const boost::log::record_view& record) override {
        whenWritten(boost::log::extract_or_default<std::string>("Message", record, std::string()));
    }
    void flush() override {}
};

class LockedTraceTest : public ContextImplTest {
protected:
    ~LockedTraceTest() override { boost::log::core::get()->remove_sink(observer); }
    LockedTraceTest() { boost::log::core::get()->add_sink(observer); }

    const foundation::tests::ScopedMask mask{16 | 32};
    const boost::shared_ptr<RecordObserver> observer = boost::make_shared<RecordObserver>();
    std::mutex& logger = detail::libraryLogger.mutex();
};

// The logger is locked while a record is opened, and no longer while it is written.
TEST_F(LockedTraceTest, RecordsAreOpenedUnderTheLoggersLock) {
    std::vector<bool> isLoggerLocked;
    observer->whenAsked = [&] { isLoggerLocked.push_back(isLocked(logger)); };
    observer->whenWritten = [&](const std::string&) { isLoggerLocked.push_back(isLocked(logger)); };
    process->erase(0, typeid(Widget));
    EXPECT_THAT(isLoggerLocked, ElementsAre(true, false, true, false));
}

// With the core's logging disabled nobody waits for the logger.
TEST_F(LockedTraceTest, LoggerIsLeftAloneWithLoggingDisabled) {
    const Watchdog watchdog("tracing with the logger locked", std::chrono::seconds(20));
    boost::log::core::get()->set_logging_enabled(false);
    {
        const std::lock_guard lock(logger);
        onOtherThread([this] { process->erase(0, typeid(Widget)); });
    }
    boost::log::core::get()->set_logging_enabled(true);
}

// Sinks may take their time: the Process context is not locked while the operations on it and its children are traced.
TEST_F(LockedTraceTest, ProcessIsUnlockedWhileOperationsAreTraced) {
    std::size_t records = 0;
    observer->whenWritten = [&](const std::string& message) {
        ++records;
        EXPECT_FALSE(isLocked(*process)) << message;
    };
    const Impl<Zarn> child = process->createChild();
    put(child, 0, "child");
    put(process, 0, "erased");
    process->findOrInsert(1, typeid(Widget), log.state("erased everywhere"));
    process->erase(0, typeid(Widget));
    process->eraseAll<Process>(1, typeid(Widget));
    process->eraseAll<Zarn>(0, typeid(Widget));
    child->destroy();
    process->shutdown();
    EXPECT_THROW(process->createChild(), Reported);
    EXPECT_EQ(records, 30u);
}

struct IsActiveProcess {
    using Member = bool (*)(const Context<Process>&);
    friend Member exposed(IsActiveProcess);
};
struct IsActiveZarn {
    using Member = bool (*)(const Context<Zarn>&);
    friend Member exposed(IsActiveZarn);
};
struct IsActiveWorkspace {
    using Member = bool (*)(const Context<Workspace>&);
    friend Member exposed(IsActiveWorkspace);
};
template struct Expose<IsActiveProcess, &ContextActivator::isActive<Process>>;
template struct Expose<IsActiveZarn, &ContextActivator::isActive<Zarn>>;
template struct Expose<IsActiveWorkspace, &ContextActivator::isActive<Workspace>>;

class IsActiveTest : public testing::Test {
protected:
    static bool isActive(const Context<Process>& context) { return exposed(IsActiveProcess())(context); }
    static bool isActive(const Context<Zarn>& context) { return exposed(IsActiveZarn())(context); }
    static bool isActive(const Context<Workspace>& context) { return exposed(IsActiveWorkspace())(context); }
};

// Whether a context is the one that its scope's operations work on, on the calling thread.
TEST_F(IsActiveTest, IsTrueForWhatIsCurrent) {
    Context<Process> process;
    Context<Process> otherProcess(false);
    Context<Zarn> zarn(process);
    Context<Zarn> otherZarn(process);
    Context<Workspace> workspace(zarn);
    EXPECT_TRUE(isActive(process));
    EXPECT_FALSE(isActive(otherProcess));
    EXPECT_FALSE(isActive(zarn));
    EXPECT_FALSE(isActive(workspace));
    const ContextActivator activator(workspace);
    EXPECT_TRUE(isActive(zarn));
    EXPECT_FALSE(isActive(otherZarn));
    EXPECT_TRUE(isActive(workspace));
    onOtherThread([&] {
        EXPECT_TRUE(isActive(process));
        EXPECT_FALSE(isActive(zarn));
        EXPECT_FALSE(isActive(workspace));
    });
}

// An empty handle is never active, not even where nothing is current either.
TEST_F(IsActiveTest, IsFalseForEmptyHandles) {
    Context<Process> process(false);
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    const Context<Process> movedProcess(std::move(process));
    const Context<Zarn> movedZarn(std::move(zarn));
    const Context<Workspace> movedWorkspace(std::move(workspace));
    EXPECT_FALSE(isActive(process));
    EXPECT_FALSE(isActive(zarn));
    EXPECT_FALSE(isActive(workspace));
}

// ---------------------------------------------------------------------------------------------------------------------

using foundation::tav::management::DeletionRecord;
using foundation::tav::management::recordedTeardown;
using foundation::tests::TeardownRecording;

template <class Scope>
class RecordedContextImplTest : public EachContextImplTest<Scope> {
protected:
    const TeardownRecording recording;
};
TYPED_TEST_SUITE(RecordedContextImplTest, foundation::tests::AllScopes, foundation::tests::ScopeNames);

// A store is watched while its context's states die, and no longer: also if it grew meanwhile.
TYPED_TEST(RecordedContextImplTest, StoresAreWatchedWhileStatesDie) {
    auto& context = this->template context<TypeParam>();
    const auto stores = Inspection::stores(*this->process);
    const auto own =
        std::find_if(stores.begin(), stores.end(), [&](const auto& store) { return store.context == &context; });
    ASSERT_NE(own, stores.end());
    EXPECT_EQ(*own->scope, typeid(TypeParam));
    const InstanceManager& states = *own->states;
    context.insert(0, typeid(Widget), this->log.state("state", [&] {
        EXPECT_EQ(InstanceManagerPeer::directSlots(states), 0u);
        EXPECT_EQ(context.find(5000), nullptr);
        EXPECT_EQ(InstanceManagerPeer::directSlots(states), 0u);
    }));
    EXPECT_EQ(InstanceManagerPeer::directSlots(states), 1024u);
    this->destroyAll();
    EXPECT_THAT(this->log.deaths(), ElementsAre("state"));
    EXPECT_EQ(InstanceManagerPeer::directSlots(states), 6024u);
}

// Nor is it watched where nothing is recorded.
TYPED_TEST(EachContextImplTest, StoresAreNotWatchedWithoutRecording) {
    auto& context = this->template context<TypeParam>();
    const auto stores = Inspection::stores(*this->process);
    const auto own =
        std::find_if(stores.begin(), stores.end(), [&](const auto& store) { return store.context == &context; });
    ASSERT_NE(own, stores.end());
    context.insert(0, typeid(Widget),
                   this->log.state("state", [&] { EXPECT_EQ(InstanceManagerPeer::directSlots(*own->states), 1024u); }));
    this->destroyAll();
    EXPECT_THAT(this->log.deaths(), ElementsAre("state"));
}

/// What is deleted by the hands of a test.
class TeardownRecordTest : public testing::Test {
protected:
    static std::vector<std::size_t> lateUses() {
        std::vector<std::size_t> numbers;
        for (const DeletionRecord& deletion : recordedTeardown().deletions)
            numbers.push_back(deletion.lateUses.size());
        return numbers;
    }

    const TeardownRecording recording;
    const int context = 0;
    const int store = 0;
    const StatePtr state{this, [](void*) {}};
};

// A context that is freed without having been destroyed deletes its states in its own name.
TEST_F(TeardownRecordTest, HasContextsThatAreFreed) {
    LifetimeLog log;
    auto freed = std::make_shared<ContextImpl<Process>>();
    const void* const identity = freed.get();
    ContextImpl<Process>& dying = *freed;
    freed->insert(0, typeid(Widget), log.state("older", [&dying] { EXPECT_EQ(dying.find(1), nullptr); }));
    freed->insert(1, typeid(Widget), log.state("newer"));
    freed.reset();
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "older"));
    const std::vector<DeletionRecord> deletions = recordedTeardown().deletions;
    ASSERT_EQ(deletions.size(), 2u);
    for (const DeletionRecord& deletion : deletions) {
        EXPECT_EQ(*deletion.scope, typeid(Process));
        EXPECT_EQ(deletion.context, identity);
    }
    EXPECT_THAT(lateUses(), ElementsAre(0u, 1u));
}

// What one destruction has deleted is forgotten with it: another one may be of a context at the same address.
TEST_F(TeardownRecordTest, ForgetsDestructions) {
    {
        const detail::RecordedDestruction first(typeid(Zarn), &context, &store);
        EXPECT_TRUE(first.isRecorded());
        const detail::RecordedDeletion deletion(&typeid(Zarn), &context, 1, state);
        detail::recordLateUse(&store, 1, false);
    }
    {
        const detail::RecordedDeletion deletion(&typeid(Zarn), &context, 2, state);
        detail::recordLateUse(&store, 1, false);
        detail::recordLateUse(&store, 2, true);
    }
    {
        const detail::RecordedDestruction second(typeid(Zarn), &context, &store);
        const detail::RecordedDeletion deletion(&typeid(Zarn), &context, 3, state);
        detail::recordLateUse(&store, 1, false);
        detail::recordLateUse(&store, 2, true);
    }
    EXPECT_THAT(lateUses(), ElementsAre(1u, 0u, 0u));
}

// Destructions at the same time are told apart, by the store that is asked and the context that deletes.
TEST_F(TeardownRecordTest, TellsDestructionsApart) {
    const int otherContext = 0;
    const int otherStore = 0;
    const detail::RecordedDestruction first(typeid(Zarn), &context, &store);
    const detail::RecordedDestruction second(typeid(Process), &otherContext, &otherStore);
    const detail::RecordedDeletion deletion(&typeid(Zarn), &context, 1, state);
    const detail::RecordedDeletion within(&typeid(Process), &otherContext, 2, state);
    detail::recordLateUse(&otherStore, 1, false);
    detail::recordLateUse(&store, 2, false);
    EXPECT_THAT(lateUses(), ElementsAre(0u, 0u));
    detail::recordLateUse(&otherStore, 2, false);
    detail::recordLateUse(&store, 1, false);
    EXPECT_THAT(lateUses(), ElementsAre(0u, 2u));
}

// A destruction that begins while nothing is recorded is none, whatever is switched on before its end.
TEST_F(TeardownRecordTest, IsDecidedAtTheBeginning) {
    foundation::tav::management::stopRecordingTeardown();
    const detail::RecordedDestruction destruction(typeid(Zarn), &context, &store);
    EXPECT_FALSE(destruction.isRecorded());
    foundation::tav::management::recordTeardown(std::chrono::hours(1));
    EXPECT_FALSE(destruction.isRecorded());
    const detail::RecordedDeletion deletion(&typeid(Zarn), &context, 1, state);
    detail::recordLateUse(&store, 1, false);
    EXPECT_THAT(lateUses(), ElementsAre(0u));
}

// A deleter that lies in no module has none.
TEST_F(TeardownRecordTest, KnowsDeletersOfNoModule) {
    StatePtr strange(this, reinterpret_cast<foundation::tav::StateDeleter>(static_cast<void*>(this)));
    {
        const detail::RecordedDeletion deletion(nullptr, nullptr, 1, strange);
        static_cast<void>(strange.release());
    }
    const DeletionRecord deletion = recordedTeardown().deletions.at(0);
    EXPECT_EQ(deletion.module, "");
    EXPECT_EQ(deletion.address, this);
}

}  // namespace
