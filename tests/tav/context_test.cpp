#include <foundation/tav/context.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "../support/locale.h"
#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

template <class Scope>
constexpr bool isMoveConstructibleOnly =
    std::is_nothrow_move_constructible_v<Context<Scope>> && !std::is_copy_constructible_v<Context<Scope>> &&
    !std::is_copy_assignable_v<Context<Scope>> && !std::is_move_assignable_v<Context<Scope>>;
static_assert(isMoveConstructibleOnly<Process> && isMoveConstructibleOnly<Zarn> && isMoveConstructibleOnly<Workspace>);

static_assert(std::is_default_constructible_v<Context<Process>>);
static_assert(!std::is_default_constructible_v<Context<Zarn>> && !std::is_default_constructible_v<Context<Workspace>>);
static_assert(std::is_constructible_v<Context<Process>, bool> && !std::is_convertible_v<bool, Context<Process>>);
static_assert(!std::is_constructible_v<Context<Zarn>, bool> && !std::is_constructible_v<Context<Workspace>, bool>);

template <class Child, class Parent>
constexpr bool isChildOf = std::is_constructible_v<Context<Child>, Context<Parent>&>;
static_assert(isChildOf<Zarn, Process> && isChildOf<Workspace, Zarn>);
static_assert(!isChildOf<Process, Process> && !isChildOf<Process, Zarn> && !isChildOf<Process, Workspace>);
static_assert(!isChildOf<Zarn, Zarn> && !isChildOf<Zarn, Workspace>);
static_assert(!isChildOf<Workspace, Process> && !isChildOf<Workspace, Workspace>);
static_assert(!std::is_convertible_v<Context<Process>&, Context<Zarn>>);
static_assert(!std::is_convertible_v<Context<Zarn>&, Context<Workspace>>);

template <class Scope>
concept CanActivate = requires(Context<Scope>& context) {
    context.activate();
};
template <class Scope>
concept CanDeactivate = requires(Context<Scope>& context) {
    context.deactivate();
};
static_assert(CanActivate<Process> && !CanActivate<Zarn> && !CanActivate<Workspace>);
static_assert(CanDeactivate<Process> && !CanDeactivate<Zarn> && !CanDeactivate<Workspace>);

constexpr const char* anotherIsActive = "Another process context is currently active";
constexpr const char* parentIsShutDown = "Attempting to create a child of a shutdown context.";
constexpr const char* contextIsShutDown = "Attempting to activate a shutdown process context";

const std::string activateFunction = memberOf<Process>("foundation::tav::management::Context", "activate");
const std::string deactivateFunction = memberOf<Process>("foundation::tav::management::Context", "deactivate");

std::string hasChildren(int number) {
    return "Cannot destroy context unless existing " + std::to_string(number) + " child contexts are destroyed first.";
}

class ContextTest : public TavTest {};

// A default-constructed Process context is active at once; its children are not active before an activator says so.
TEST_F(ContextTest, StartsRunning) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    EXPECT_TRUE(process.isActive());
    EXPECT_FALSE(zarn.isActive());
    EXPECT_FALSE(workspace.isActive());
    EXPECT_FALSE(process.isShutdown());
    EXPECT_FALSE(zarn.isShutdown());
    EXPECT_FALSE(workspace.isShutdown());
}

// Whoever asks for it gets a Process context that is not active.
TEST_F(ContextTest, MayStartInactive) {
    const Context<Process> process(false);
    EXPECT_FALSE(process.isActive());
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
}

// The handle that takes a context over has it, active or not.
TEST_F(ContextTest, IsMoved) {
    Context<Process> process;
    put<Process>(0, "state");
    Context<Process> moved(std::move(process));
    EXPECT_TRUE(moved.isActive());
    EXPECT_TRUE(has<Process>(0));
    moved.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

// Activating a context again changes nothing: one deactivation is enough.
TEST_F(ContextTest, ActivatingTwiceCountsOnce) {
    Context<Process> process;
    process.activate();
    process.deactivate();
    EXPECT_FALSE(process.isActive());
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
}

// Deactivating where nothing is active is no misuse.
TEST_F(ContextTest, DeactivatingInactiveOneDoesNothing) {
    Context<Process> process(false);
    process.deactivate();
    EXPECT_FALSE(process.isActive());
}

// A deactivated context can be activated again, and still has its states.
TEST_F(ContextTest, IsActivatedAgain) {
    Context<Process> process;
    put<Process>(3, "state");
    process.deactivate();
    process.activate();
    EXPECT_TRUE(process.isActive());
    EXPECT_TRUE(has<Process>(3));
}

// The second context is active although it was reported, and the first one has lost its activation.
TEST_F(ContextTest, ActivatingASecondOneReportsAndTakesOver) {
    Context<Process> first;
    Context<Process> second(false);
    EXPECT_THAT(reportOf([&] { second.activate(); }), isReport(anotherIsActive, activateFunction));
    EXPECT_FALSE(first.isActive());
    EXPECT_TRUE(second.isActive());
    second.deactivate();
    EXPECT_FALSE(second.isActive());
}

// Deactivating through the wrong handle deactivates the active context, then reports.
TEST_F(ContextTest, DeactivatingThroughTheWrongHandleReports) {
    Context<Process> active;
    Context<Process> wrong(false);
    EXPECT_THAT(reportOf([&] { wrong.deactivate(); }), isReport(anotherIsActive, deactivateFunction));
    EXPECT_FALSE(active.isActive());
    EXPECT_FALSE(wrong.isActive());
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
}

// A constructor left by the handler's exception takes its context with it: nothing dangles, and a new one works.
TEST_F(ContextTest, RefusedConstructionLeavesNothingActive) {
    Context<Process> first;
    EXPECT_THAT(reportOf([] { Context<Process> second; }), isReport(anotherIsActive, activateFunction));
    EXPECT_FALSE(first.isActive());
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
    Context<Process> third;
    put<Process>(0, "state");
    EXPECT_TRUE(third.isActive());
}

// A context that was shut down or destroyed stays inactive.
TEST_F(ContextTest, ShutDownOneIsNotActivated) {
    Context<Process> shutDown(false);
    shutDown.shutdown();
    EXPECT_THAT(reportOf([&] { shutDown.activate(); }), isReport(contextIsShutDown, activateFunction));
    Context<Process> destroyed;
    destroyed.destroy();
    EXPECT_THAT(reportOf([&] { destroyed.activate(); }), isReport(contextIsShutDown, activateFunction));
    EXPECT_FALSE(shutDown.isActive());
    EXPECT_FALSE(destroyed.isActive());
}

// An empty handle counts as shut down.
TEST_F(ContextTest, EmptyOneIsNotActivated) {
    Context<Process> process;
    const Context<Process> moved(std::move(process));
    EXPECT_THAT(reportOf([&] { process.activate(); }), isReport(contextIsShutDown, activateFunction));
    EXPECT_TRUE(moved.isActive());
}

// Shutting down twice, or after the destruction, changes nothing.
TEST_F(ContextTest, ShutdownIsFinal) {
    Context<Process> process;
    process.shutdown();
    process.shutdown();
    EXPECT_TRUE(process.isShutdown());
    process.destroy();
    process.shutdown();
    EXPECT_TRUE(process.isShutdown());
}

// Destroying empties the context and leaves its activation; a second time nothing happens.
TEST_F(ContextTest, IsDestroyedOnce) {
    Context<Process> process;
    put<Process>(0, "state");
    process.destroy();
    EXPECT_TRUE(process.isShutdown());
    EXPECT_FALSE(process.isActive());
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
    process.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

// States die in the reverse of their insertion; one that was erased and inserted again counts as newest.
TEST_F(ContextTest, StatesDieNewestFirst) {
    Context<Process> process;
    put<Process>(0, "a");
    put<Process>(1, "b");
    put<Process>(2, "c");
    Detail<Process>::erase(1, typeid(Widget));
    put<Process>(1, "b again");
    process.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("b", "b again", "c", "a"));
}

// A Process context has any number of children, in contrast to a Zarn context.
TEST_F(ContextTest, ProcessHasManyChildren) {
    Context<Process> process;
    std::vector<Context<Zarn>> zarns;
    for (int i = 0; i < 100; ++i)
        zarns.emplace_back(process);
    EXPECT_THAT(reportOf([&] { process.destroy(); }),
                isReport(hasChildren(100), contextMember<Process>("releaseParentNoLock")));
    zarns.clear();
    process.destroy();
    EXPECT_THAT(handler.reports(), SizeIs(1));
}

// The second Workspace context is refused and leaves no trace; once the first is destroyed there is room again.
TEST_F(ContextTest, ZarnHasOneChild) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> first(zarn);
    EXPECT_THAT(reportOf([&] { Context<Workspace> second(zarn); }),
                isReport("Attempting to create more than the '1' child contexts allowed for "
                         "foundation::tav::scope::Zarn-type contexts.",
                         contextMember<Zarn>("createChild")));
    EXPECT_THAT(reportOf([&] { zarn.destroy(); }),
                isReport(hasChildren(1), contextMember<Zarn>("releaseParentNoLock")));
    first.destroy();
    Context<Workspace> third(zarn);
    EXPECT_FALSE(third.isShutdown());
}

// A parent that is shut down, destroyed or empty gets no children and is destroyed without any.
TEST_F(ContextTest, ShutDownParentGetsNoChildren) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    zarn.shutdown();
    process.shutdown();
    const auto createZarn = [&] { Context<Zarn> child(process); };
    const auto createWorkspace = [&] { Context<Workspace> child(zarn); };
    EXPECT_THAT(reportOf(createWorkspace), isReport(parentIsShutDown, contextMember<Zarn>("createChild")));
    EXPECT_THAT(reportOf(createZarn), isReport(parentIsShutDown, contextMember<Process>("createChild")));
    zarn.destroy();
    process.destroy();
    EXPECT_THAT(reportOf(createWorkspace), isReport(parentIsShutDown, contextMember<Zarn>("createChild")));
    EXPECT_THAT(reportOf(createZarn), isReport(parentIsShutDown, contextMember<Process>("createChild")));
}

// An empty parent is reported as one that is shut down.
TEST_F(ContextTest, EmptyParentGetsNoChildren) {
    Context<Process> process;
    Context<Process> movedProcess(std::move(process));
    Context<Zarn> zarn(movedProcess);
    const Context<Zarn> movedZarn(std::move(zarn));
    EXPECT_THAT(reportOf([&] { Context<Zarn> child(process); }), isReport(parentIsShutDown, testing::Not(IsEmpty())));
    EXPECT_THAT(reportOf([&] { Context<Workspace> child(zarn); }), isReport(parentIsShutDown, testing::Not(IsEmpty())));
}

// Shutting a parent down leaves its children, its activation and its states alone.
TEST_F(ContextsTest, ShutdownKeepsEverything) {
    put<Process>(0, "process");
    put<Zarn>(0, "zarn");
    zarn.shutdown();
    process.shutdown();
    EXPECT_TRUE(process.isShutdown());
    EXPECT_TRUE(zarn.isShutdown());
    EXPECT_FALSE(workspace.isShutdown());
    EXPECT_TRUE(process.isActive());
    EXPECT_TRUE(zarn.isActive());
    EXPECT_TRUE(has<Process>(0));
    EXPECT_TRUE(has<Zarn>(0));
    EXPECT_THAT(log.deaths(), IsEmpty());
}

// The number of children is reported, and everything stays as it was: also for a context that is shut down already.
TEST_F(ContextsTest, ParentWithChildrenIsNotDestroyed) {
    Context<Zarn> otherZarn(process);
    put<Process>(0, "process");
    put<Zarn>(0, "zarn");
    EXPECT_THAT(reportOf([&] { zarn.destroy(); }),
                isReport(hasChildren(1), contextMember<Zarn>("releaseParentNoLock")));
    EXPECT_THAT(reportOf([&] { process.destroy(); }),
                isReport(hasChildren(2), contextMember<Process>("releaseParentNoLock")));
    EXPECT_FALSE(zarn.isShutdown());
    EXPECT_FALSE(process.isShutdown());
    EXPECT_TRUE(zarn.isActive());
    EXPECT_TRUE(process.isActive());
    EXPECT_TRUE(has<Process>(0));
    EXPECT_TRUE(has<Zarn>(0));
    process.shutdown();
    EXPECT_THAT(reportOf([&] { process.destroy(); }),
                isReport(hasChildren(2), contextMember<Process>("releaseParentNoLock")));
    EXPECT_TRUE(process.isActive());
    EXPECT_THAT(log.deaths(), IsEmpty());
}

// Numbers in messages are plain decimal whatever the global locale does to digits.
TEST_F(ContextTest, MessagesIgnoreTheGlobalLocale) {
    const DigitGroupingLocale locale;
    Context<Process> process;
    std::vector<Context<Zarn>> zarns;
    for (int i = 0; i < 12; ++i)
        zarns.emplace_back(process);
    EXPECT_EQ(reportOf([&] { process.destroy(); }).message,
              "Cannot destroy context unless existing 12 child contexts are destroyed first.");
}

// A report under the lock of a Process context gives the lock back: another thread may use the context afterwards.
TEST_F(ContextsTest, ReportsGiveTheLockBack) {
    const Watchdog watchdog("Using a Process context after reports");
    put<Process>(0, "state");
    EXPECT_THROW(put<Process>(0, "refused"), Reported);
    EXPECT_THROW(process.destroy(), Reported);
    process.shutdown();
    EXPECT_THROW(Context<Zarn> child(process), Reported);
    onOtherThread([&] { EXPECT_TRUE(has<Process>(0)); });
}

// Destroying a context that is current on the calling thread leaves the thread without one.
TEST_F(ContextsTest, DestroyedOneIsNoLongerCurrent) {
    workspace.destroy();
    EXPECT_FALSE(workspace.isActive());
    EXPECT_FALSE(Detail<Workspace>::isRequiredContextActive());
    EXPECT_TRUE(Detail<Zarn>::isRequiredContextActive());
    zarn.destroy();
    EXPECT_FALSE(zarn.isActive());
    EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
}

// A context that another thread has current is destroyed all the same, and counts as active until that thread lets go.
TEST_F(ContextTest, IsDestroyedWhileCurrentElsewhere) {
    const IgnoredAssertions ignoredAssertions;
    Context<Process> process;
    Context<Zarn> zarn(process);
    {
        ContextActivator activator(zarn);
        put<Zarn>(0, "state");
        onOtherThread([&] { zarn.destroy(); });
        EXPECT_TRUE(zarn.isShutdown());
        EXPECT_TRUE(zarn.isActive());
        EXPECT_THAT(log.deaths(), ElementsAre("state"));
    }
    EXPECT_FALSE(zarn.isActive());
}

// A destroyed context takes states as long as it is current; they die with its last share.
TEST_F(ContextTest, DestroyedOneTakesStates) {
    const IgnoredAssertions ignoredAssertions;
    Context<Process> process;
    std::optional<Context<Zarn>> zarn(process);
    {
        ContextActivator activator(*zarn);
        onOtherThread([&] { zarn.reset(); });
        put<Zarn>(0, "inserted");
        StatePtr offered = log.state("found or inserted");
        Detail<Zarn>::findOrInsert(1, typeid(Widget), std::move(offered));
        EXPECT_EQ(offered, nullptr);
        EXPECT_TRUE(has<Zarn>(0));
        EXPECT_THAT(log.deaths(), IsEmpty());
    }
    EXPECT_THAT(log.deaths(), ElementsAre("found or inserted", "inserted"));
}

// Without the strict switch a context that was shut down takes states.
TEST_F(ContextsTest, ShutDownOneTakesStates) {
    workspace.shutdown();
    zarn.shutdown();
    process.shutdown();
    put<Process>(0, "process");
    put<Zarn>(0, "zarn");
    Detail<Workspace>::findOrInsert(0, typeid(Widget), log.state("workspace"));
    EXPECT_TRUE(has<Process>(0));
    EXPECT_TRUE(has<Zarn>(0));
    EXPECT_TRUE(has<Workspace>(0));
}

template <class Scope>
class EmptyContextTest : public ContextsTest {};
TYPED_TEST_SUITE(EmptyContextTest, AllScopes, ScopeNames);

// A handle that was moved from is shut down, not active, and does nothing.
TYPED_TEST(EmptyContextTest, DoesNothing) {
    auto& source = this->template context<TypeParam>();
    this->template put<TypeParam>(0, "state");
    {
        const Context<TypeParam> moved(std::move(source));
        EXPECT_TRUE(source.isShutdown());
        EXPECT_FALSE(source.isActive());
        source.shutdown();
        if constexpr (std::is_same_v<TypeParam, Process>) source.deactivate();
        source.destroy();
        EXPECT_FALSE(moved.isShutdown());
        EXPECT_TRUE(moved.isActive());
        EXPECT_TRUE(this->template has<TypeParam>(0));
        this->activator.deactivate();
        if constexpr (!std::is_same_v<TypeParam, Workspace>) this->workspace.destroy();
        if constexpr (std::is_same_v<TypeParam, Process>) this->zarn.destroy();
    }
    EXPECT_THAT(this->log.deaths(), ElementsAre("state"));
}

// The three handles of a process, to be freed in any order.
struct Handles {
    void free(int which) {
        if (which == 0) process.reset();
        if (which == 1) zarn.reset();
        if (which == 2) workspace.reset();
    }

    std::optional<Context<Process>> process{std::in_place};
    std::optional<Context<Zarn>> zarn{*process};
    std::optional<Context<Workspace>> workspace{*zarn};
};

class HandleOrderTest : public TavTest, public testing::WithParamInterface<std::array<int, 3>> {
protected:
    void fill() {
        ContextActivator activator(*handles.workspace);
        put<Process>(0, "process");
        put<Workspace>(0, "workspace");
        put<Zarn>(0, "older zarn");
        put<Zarn>(1, "newer zarn");
    }

    void freeAll() {
        for (const int which : GetParam())
            handles.free(which);
    }

    // Each context whose handle goes while it has children is reported.
    std::size_t expectedReports() const {
        const auto at = [](int which) { return std::ranges::find(GetParam(), which); };
        return std::size_t{at(0) < at(1) || at(0) < at(2)} + std::size_t{at(1) < at(2)};
    }

    Handles handles;
};

// States of children die before those of parents, whatever order the handles are freed in; none is left over.
TEST_P(HandleOrderTest, ChildrenDieBeforeParents) {
    fill();
    freeAll();
    EXPECT_THAT(log.deaths(), ElementsAre("workspace", "newer zarn", "older zarn", "process"));
    EXPECT_EQ(handler.reports().size(), expectedReports());
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
    Context<Process> next;
    EXPECT_TRUE(next.isActive());
}

// The same while the contexts are current on the thread, and an activator shares them.
TEST_P(HandleOrderTest, ChildrenDieBeforeParentsWhileCurrent) {
    fill();
    ContextActivator activator(*handles.workspace);
    freeAll();
    EXPECT_THAT(log.deaths(), ElementsAre("workspace", "newer zarn", "older zarn", "process"));
    EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
    EXPECT_FALSE(Detail<Workspace>::isRequiredContextActive());
}

// The same while a Workspace context is being destroyed: a deleter of its states frees all handles.
TEST_P(HandleOrderTest, ChildrenDieBeforeParentsWhenADeleterFreesTheHandles) {
    fill();
    {
        ContextActivator activator(*handles.workspace);
        put<Workspace>(1, "newer workspace", [this] { freeAll(); });
    }
    handles.workspace->destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("newer workspace", "workspace", "newer zarn", "older zarn", "process"));
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
}

// A parent that is destroyed while its last child is dying waits for it, refuses new children, and goes with it.
TEST_F(ContextTest, GoesWithItsLastChild) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    Detail<Process>::insert(0, typeid(Widget), log.state("process"));
    {
        ContextActivator activator(zarn);
        put<Zarn>(0, "older zarn", [&] { EXPECT_TRUE(has<Process>(0)); });
        put<Zarn>(1, "newer zarn", [&] {
            process.destroy();
            EXPECT_TRUE(process.isShutdown());
            EXPECT_TRUE(process.isActive());
            const auto makeChild = [&] { Context<Zarn> late(process); };
            EXPECT_THAT(reportOf(makeChild), isReport("Attempting to create a child of a shutdown context.",
                                                      contextMember<Process>("createChild")));
        });
    }
    zarn.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("newer zarn", "older zarn", "process"));
    EXPECT_FALSE(process.isActive());
}

INSTANTIATE_TEST_SUITE_P(Orders, HandleOrderTest,
                         testing::Values(std::array{0, 1, 2}, std::array{0, 2, 1}, std::array{1, 0, 2},
                                         std::array{1, 2, 0}, std::array{2, 0, 1}, std::array{2, 1, 0}));

// What a destructor can't do is reported and goes no further.
TEST_F(ContextTest, DestructorKeepsReportsToItself) {
    std::optional<Context<Process>> process(std::in_place);
    Context<Zarn> zarn(*process);
    EXPECT_NO_THROW(process.reset());
    EXPECT_THAT(handler.reports(),
                ElementsAre(isReport(hasChildren(1), contextMember<Process>("releaseParentNoLock"))));
}

// Two threads may destroy one context: each state dies once, newest first, and no assertion fails by the race.
TEST_F(ContextTest, IsDestroyedByTwoThreadsAtOnce) {
    const Watchdog watchdog("Destroying one context on two threads");
    for (int round = 0; round < 200; ++round) {
        LifetimeLog roundLog;
        Context<Process> process;
        for (std::uint64_t id = 0; id < 3; ++id)
            Detail<Process>::insert(id, typeid(Widget), roundLog.state(std::to_string(id)));
        std::barrier start(2);
        const auto destroy = [&] {
            start.arrive_and_wait();
            process.destroy();
        };
        std::thread other(destroy);
        destroy();
        other.join();
        EXPECT_THAT(roundLog.deaths(), ElementsAre("2", "1", "0"));
        EXPECT_FALSE(process.isActive());
    }
}

// Children of one Process context come and go on several threads at once.
TEST_F(ContextTest, ChildrenAreMadeOnSeveralThreads) {
    const Watchdog watchdog("Making children on several threads");
    Context<Process> process;
    std::barrier start(4);
    const auto work = [&] {
        start.arrive_and_wait();
        for (int round = 0; round < 100; ++round) {
            Context<Zarn> zarn(process);
            Context<Workspace> workspace(zarn);
            ContextActivator activator(workspace);
            put<Workspace>(0, "workspace");
            put<Zarn>(0, "zarn");
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(log.deaths(), SizeIs(800));
    process.destroy();
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// Activating and deactivating one context on several threads ends with what the last one did.
TEST_F(ContextTest, IsActivatedOnSeveralThreads) {
    const Watchdog watchdog("Activating one context on several threads");
    Context<Process> process(false);
    std::barrier start(2);
    const auto work = [&] {
        start.arrive_and_wait();
        for (int round = 0; round < 500; ++round) {
            process.activate();
            process.deactivate();
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_FALSE(process.isActive());
    process.activate();
    EXPECT_TRUE(process.isActive());
}

class ContextDeathTest : public TavTest {};

// Destroying a context that another thread has current fails an assertion, which ends the process.
TEST_F(ContextDeathTest, IsNotDestroyedWhileCurrentElsewhere) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    ContextActivator activator(zarn);
    EXPECT_DEATH(onOtherThread([&] { zarn.destroy(); }), testing::HasSubstr("!isActive()"));
}

}  // namespace
}  // namespace foundation::tests
