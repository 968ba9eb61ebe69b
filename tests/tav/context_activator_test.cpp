#include <foundation/tav/context_activator.h>

#include <barrier>
#include <memory>
#include <optional>
#include <type_traits>

#include "../support/current_elsewhere.h"
#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::IsEmpty;

static_assert(std::is_empty_v<NullContext<Zarn>> && std::is_empty_v<NullContext<Workspace>>);
static_assert(!std::is_copy_constructible_v<ContextActivator> && !std::is_move_constructible_v<ContextActivator>);
static_assert(!std::is_copy_assignable_v<ContextActivator> && !std::is_move_assignable_v<ContextActivator>);
static_assert(!std::is_nothrow_destructible_v<ContextActivator>);
static_assert(std::is_default_constructible_v<ContextActivator>);

template <class Argument>
constexpr bool isActivatorOf =
    std::is_constructible_v<ContextActivator, Argument> && !std::is_convertible_v<Argument, ContextActivator>;
static_assert(isActivatorOf<Context<Zarn>&> && isActivatorOf<Context<Workspace>&>);
static_assert(isActivatorOf<NullContext<Zarn>> && isActivatorOf<NullContext<Workspace>> && isActivatorOf<ContextSet>);
static_assert(!std::is_constructible_v<ContextActivator, Context<Process>&>);
static_assert(!std::is_constructible_v<ContextActivator, NullContext<Process>>);
static_assert(!std::is_constructible_v<ContextActivator, const Context<Zarn>&>);
static_assert(!std::is_constructible_v<ContextActivator, Context<Zarn>>);

constexpr const char* notConcurrent =
    "Non-concurrent context activated by more than one thread. Only contexts with 'Process' scope can be activated by "
    "multiple threads.";

// Two Zarn contexts, each with a Workspace context. Each context bears a state by which it is known.
class ContextActivatorTest : public TavTest {
protected:
    struct Branch {
        explicit Branch(Context<Process>& process) : zarn(process), workspace(zarn) {}

        Context<Zarn> zarn;
        Context<Workspace> workspace;
    };

    ContextActivatorTest() {
        mark(a, 0);
        mark(b, 1);
    }

    void mark(Branch& branch, std::uint64_t id) {
        ContextActivator activator(branch.workspace);
        put<Zarn>(id, "zarn");
        put<Workspace>(id, "workspace");
    }

    // The thread's current contexts: the branches that they belong to, '-' for none.
    static std::string current() { return std::string{currentOf<Zarn>(), currentOf<Workspace>()}; }

    template <class Scope>
    static char currentOf() {
        if (!Detail<Scope>::isRequiredContextActive()) return '-';
        return has<Scope>(0) ? 'a' : has<Scope>(1) ? 'b' : '?';
    }

    // Which of the four contexts count as active: Zarn and Workspace of a, then of b.
    std::string active() const {
        std::string result;
        for (const bool isActive :
             {a.zarn.isActive(), a.workspace.isActive(), b.zarn.isActive(), b.workspace.isActive()})
            result += isActive ? '1' : '0';
        return result;
    }

    Context<Process> process;
    Branch a{process};
    Branch b{process};
};

// A thread starts with nothing current.
TEST_F(ContextActivatorTest, NewThreadHasNothingCurrent) {
    ContextActivator activator(a.workspace);
    onOtherThread([] { EXPECT_EQ(current(), "--"); });
    EXPECT_EQ(current(), "aa");
}

// A Zarn context comes without a Workspace context, also where one was current.
TEST_F(ContextActivatorTest, ActivatesZarn) {
    ContextActivator outer(b.workspace);
    {
        ContextActivator activator(a.zarn);
        EXPECT_EQ(current(), "a-");
        EXPECT_EQ(active(), "1000");
        EXPECT_TRUE(activator.isActivated());
    }
    EXPECT_EQ(current(), "bb");
    EXPECT_EQ(active(), "0011");
}

// A Workspace context brings its parent along; both slots are as before when it ends.
TEST_F(ContextActivatorTest, ActivatesWorkspaceAndItsParent) {
    ContextActivator outer(b.zarn);
    {
        ContextActivator activator(a.workspace);
        EXPECT_EQ(current(), "aa");
        EXPECT_EQ(active(), "1100");
        EXPECT_TRUE(activator.isActivated());
    }
    EXPECT_EQ(current(), "b-");
    EXPECT_EQ(active(), "0010");
}

// No Workspace context: the Zarn context stays.
TEST_F(ContextActivatorTest, NullWorkspaceKeepsZarn) {
    ContextActivator outer(a.workspace);
    {
        ContextActivator activator{NullContext<Workspace>()};
        EXPECT_EQ(current(), "a-");
        EXPECT_TRUE(activator.isActivated());
        EXPECT_EQ(activator.getActiveContexts(), ContextActivator(a.zarn).getActiveContexts());
    }
    EXPECT_EQ(current(), "aa");
}

// The same where there is no Zarn context to keep.
TEST_F(ContextActivatorTest, NullWorkspaceWithoutZarnClearsBoth) {
    const ContextActivator activator{NullContext<Workspace>()};
    EXPECT_EQ(current(), "--");
    EXPECT_TRUE(activator.getActiveContexts().isEmpty());
}

// No Zarn context means no Workspace context; the default constructor says the same.
TEST_F(ContextActivatorTest, NullZarnAndDefaultClearBoth) {
    ContextActivator outer(a.workspace);
    {
        ContextActivator activator{NullContext<Zarn>()};
        EXPECT_EQ(current(), "--");
        EXPECT_EQ(active(), "0000");
        EXPECT_TRUE(activator.isActivated());
    }
    {
        ContextActivator activator;
        EXPECT_EQ(current(), "--");
        EXPECT_EQ(active(), "0000");
        EXPECT_TRUE(activator.isActivated());
    }
    EXPECT_EQ(current(), "aa");
}

// a, b, a, and back again: nothing is current or counted in the end.
TEST_F(ContextActivatorTest, Nests) {
    {
        ContextActivator first(a.zarn);
        {
            ContextActivator second(b.zarn);
            {
                ContextActivator third(a.zarn);
                EXPECT_EQ(current(), "a-");
                EXPECT_EQ(active(), "1000");
            }
            EXPECT_EQ(current(), "b-");
            EXPECT_EQ(active(), "0010");
        }
        EXPECT_EQ(current(), "a-");
    }
    EXPECT_EQ(current(), "--");
    EXPECT_EQ(active(), "0000");
}

// Activating what is current already changes nothing, and is restored as it was.
TEST_F(ContextActivatorTest, CurrentContextStays) {
    ContextActivator outer(a.workspace);
    {
        ContextActivator activator(a.workspace);
        EXPECT_EQ(activator.getPreviousContexts(), activator.getActiveContexts());
        EXPECT_EQ(active(), "1100");
    }
    EXPECT_EQ(current(), "aa");
    EXPECT_EQ(active(), "1100");
    outer.deactivate();
    EXPECT_EQ(active(), "0000");
}

// Activators that end out of order leave the thread with what the last one restores.
TEST_F(ContextActivatorTest, EndsOutOfOrder) {
    std::optional<ContextActivator> first(std::in_place, a.workspace);
    std::optional<ContextActivator> second(std::in_place, b.workspace);
    first.reset();
    EXPECT_EQ(current(), "--");
    EXPECT_EQ(active(), "0000");
    second.reset();
    EXPECT_EQ(current(), "aa");
    EXPECT_EQ(active(), "1100");
    ContextActivator last;
    last.deactivate();
    EXPECT_EQ(current(), "aa");
    a.workspace.destroy();
    a.zarn.destroy();
    EXPECT_EQ(current(), "--");
}

// Deactivating restores at once; a second time, and the end, do nothing.
TEST_F(ContextActivatorTest, IsDeactivatedOnce) {
    ContextActivator outer(a.workspace);
    {
        ContextActivator activator(b.workspace);
        activator.deactivate();
        EXPECT_FALSE(activator.isActivated());
        EXPECT_EQ(current(), "aa");
        ContextActivator other(b.zarn);
        activator.deactivate();
        EXPECT_EQ(current(), "b-");
    }
    EXPECT_EQ(current(), "aa");
}

// Asking a deactivated activator for its contexts is misuse.
TEST_F(ContextActivatorTest, DeactivatedOneHasNoContexts) {
    ContextActivator activator(a.zarn);
    activator.deactivate();
    const std::string name = "foundation::tav::management::thisthread::ContextActivator::";
    const char* const message = "Error accessing deactivated ContextActivator";
    EXPECT_THAT(reportOf([&] { activator.getActiveContexts(); }), isReport(message, name + "getActiveContexts"));
    EXPECT_THAT(reportOf([&] { activator.getPreviousContexts(); }), isReport(message, name + "getPreviousContexts"));
    EXPECT_FALSE(activator.isActivated());
    EXPECT_EQ(current(), "--");
}

// The sets that an activator hands out make the same contexts current again.
TEST_F(ContextActivatorTest, SetsAreActivated) {
    ContextActivator outer(a.workspace);
    ContextActivator inner(b.zarn);
    {
        ContextActivator again(inner.getPreviousContexts());
        EXPECT_EQ(current(), "aa");
        EXPECT_EQ(again.getActiveContexts(), outer.getActiveContexts());
        EXPECT_EQ(again.getPreviousContexts(), inner.getActiveContexts());
    }
    EXPECT_EQ(current(), "b-");
    {
        ContextActivator none{ContextSet()};
        EXPECT_EQ(current(), "--");
    }
    EXPECT_EQ(current(), "b-");
}

// A set carries a thread's contexts to another thread, once they are current here no more.
TEST_F(ContextActivatorTest, SetsAreHandedToOtherThreads) {
    ContextActivator activator(a.workspace);
    ContextSet contexts = activator.getActiveContexts();
    activator.deactivate();
    onOtherThread([&] {
        {
            ContextActivator other(std::move(contexts));
            EXPECT_EQ(current(), "aa");
            EXPECT_EQ(active(), "1100");
        }
        EXPECT_EQ(current(), "--");
    });
    EXPECT_EQ(active(), "0000");
}

// Empty handles and sets that were moved from count as no context.
TEST_F(ContextActivatorTest, EmptyHandlesAndSetsClearBoth) {
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    const Context<Zarn> movedZarn(std::move(zarn));
    const Context<Workspace> movedWorkspace(std::move(workspace));
    ContextSet set;
    const ContextSet movedSet(std::move(set));
    ContextActivator outer(a.workspace);
    {
        ContextActivator activator(workspace);
        EXPECT_EQ(current(), "--");
        EXPECT_TRUE(activator.getActiveContexts().isEmpty());
    }
    {
        ContextActivator activator(zarn);
        EXPECT_EQ(current(), "--");
    }
    {
        ContextActivator activator(std::move(set));
        EXPECT_EQ(current(), "--");
        EXPECT_TRUE(activator.getActiveContexts().isEmpty());
    }
    EXPECT_EQ(current(), "aa");
}

// A destroyed context leaves none current, silently, though the activator still names it.
TEST_F(ContextActivatorTest, DestroyedZarnLeavesNone) {
    const ContextSet living = ContextActivator(a.zarn).getActiveContexts();
    a.workspace.destroy();
    a.zarn.destroy();
    ContextActivator outer(b.workspace);
    {
        const ContextActivator activator(a.zarn);
        EXPECT_EQ(current(), "--");
        EXPECT_EQ(activator.getActiveContexts(), living);
        EXPECT_FALSE(a.zarn.isActive());
    }
    EXPECT_EQ(current(), "bb");
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// A destroyed Workspace context has no parent: it clears the Zarn slot as well.
TEST_F(ContextActivatorTest, DestroyedWorkspaceLeavesNone) {
    a.workspace.destroy();
    ContextActivator outer(a.zarn);
    {
        const ContextActivator activator(a.workspace);
        EXPECT_EQ(current(), "--");
        const ContextSet contexts = activator.getActiveContexts();
        EXPECT_TRUE(contexts.isEmpty());
        EXPECT_TRUE(contexts == ContextSet());
        EXPECT_TRUE(contexts != ContextSet());
    }
    EXPECT_EQ(current(), "a-");
}

// In a set whose Workspace context was destroyed since, the Zarn context is still good.
TEST_F(ContextActivatorTest, SetWithDestroyedWorkspaceActivatesZarn) {
    ContextSet contexts = ContextActivator(a.workspace).getActiveContexts();
    a.workspace.destroy();
    const ContextActivator activator(std::move(contexts));
    EXPECT_EQ(current(), "a-");
}

// A context that was shut down can be made current.
TEST_F(ContextActivatorTest, ActivatesShutDownContexts) {
    a.workspace.shutdown();
    a.zarn.shutdown();
    const ContextActivator activator(a.workspace);
    EXPECT_EQ(current(), "aa");
}

// A context destroyed while it is current leaves its slot; what comes back starts from there.
TEST_F(ContextActivatorTest, ContextDestroyedMeanwhileIsNotCurrent) {
    {
        ContextActivator activator(a.workspace);
        a.workspace.destroy();
        EXPECT_EQ(current(), "a-");
        a.zarn.destroy();
        EXPECT_EQ(current(), "--");
    }
    EXPECT_EQ(current(), "--");
    EXPECT_EQ(active(), "0000");
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// A previous context that was destroyed meanwhile is not restored.
TEST_F(ContextActivatorTest, PreviousContextDestroyedMeanwhileIsNotRestored) {
    ContextActivator outer(a.workspace);
    {
        ContextActivator inner(b.workspace);
        a.workspace.destroy();
    }
    EXPECT_EQ(current(), "a-");
    {
        ContextActivator inner(b.workspace);
        a.zarn.destroy();
    }
    EXPECT_EQ(current(), "--");
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// Activators keep contexts alive whose handles are gone.
TEST_F(TavTest, ActivatorSharesItsContexts) {
    Context<Process> process;
    std::optional<Context<Zarn>> zarn(process);
    ContextActivator outer(*zarn);
    {
        ContextActivator inner;
        zarn.reset();
    }
    EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// An activator may live as long as its thread.
TEST_F(ContextActivatorTest, EndsWithItsThread) {
    onOtherThread([this] {
        thread_local std::optional<ContextActivator> activator;
        activator.emplace(a.workspace);
        EXPECT_EQ(current(), "aa");
    });
    EXPECT_EQ(active(), "0000");
}

// Any number of threads may each have contexts of their own.
TEST_F(ContextActivatorTest, EachThreadHasItsOwn) {
    const Watchdog watchdog("Two threads with contexts of their own");
    std::barrier both(2);
    ContextActivator activator(a.workspace);
    std::thread other([&] {
        ContextActivator otherActivator(b.workspace);
        both.arrive_and_wait();
        EXPECT_EQ(current(), "bb");
        both.arrive_and_wait();
    });
    both.arrive_and_wait();
    EXPECT_EQ(current(), "aa");
    EXPECT_EQ(active(), "1111");
    both.arrive_and_wait();
    other.join();
}

// Refused activations stay counted; contexts with one fail an assertion when they are destroyed after the tests.
class RefusedActivationTest : private IgnoredAssertions, public ContextActivatorTest {
protected:
    const Watchdog watchdog{"Activating contexts that another thread has current"};
};

// A second thread is refused, and the context reads as active from then on.
TEST_F(RefusedActivationTest, StaysCounted) {
    {
        CurrentElsewhere elsewhere(a.zarn);
        EXPECT_THAT(reportOf([this] { ContextActivator refused(a.zarn); }),
                    isReport(notConcurrent, contextMember<Zarn>("incRef")));
        EXPECT_EQ(current(), "--");
    }
    EXPECT_EQ(active(), "1000");
}

// What was current before stays current.
TEST_F(RefusedActivationTest, LeavesTheCurrentContexts) {
    CurrentElsewhere elsewhere(a.zarn);
    ContextActivator outer(b.workspace);
    EXPECT_THROW(ContextActivator(a.workspace), Reported);
    EXPECT_EQ(current(), "bb");
    EXPECT_EQ(active(), "1011");
}

// Ending an activator whose previous context went to another thread is refused: the exception leaves the destructor.
TEST_F(RefusedActivationTest, LeavesTheDestructor) {
    ContextActivator outer(a.workspace);
    std::optional<CurrentElsewhere<Workspace>> elsewhere;
    EXPECT_THAT(reportOf([&] {
                    ContextActivator inner;
                    elsewhere.emplace(a.workspace);
                }),
                isReport(notConcurrent, contextMember<Workspace>("incRef")));
    EXPECT_EQ(current(), "--");
    elsewhere.reset();
    EXPECT_EQ(active(), "0100");
}

// The same from deactivate(), after which the activator is deactivated.
TEST_F(RefusedActivationTest, LeavesDeactivate) {
    ContextActivator outer(a.zarn);
    ContextActivator inner;
    CurrentElsewhere elsewhere(a.zarn);
    EXPECT_THAT(reportOf([&] { inner.deactivate(); }), isReport(notConcurrent, contextMember<Zarn>("incRef")));
    EXPECT_FALSE(inner.isActivated());
    EXPECT_EQ(current(), "--");
}

// Where the Workspace step alone is refused, the Zarn step stays made.
TEST_F(RefusedActivationTest, KeepsTheZarnStep) {
    {
        ContextActivator outer(a.workspace);
        ContextActivator inner;
        CurrentElsewhere elsewhere(a.workspace);
        EXPECT_THROW(inner.deactivate(), Reported);
    }
    ASSERT_EQ(active(), "0100") << "A context that counts as active below one that doesn't is what this test needs.";
    EXPECT_THAT(reportOf([this] { ContextActivator halfWay(a.workspace); }),
                isReport(notConcurrent, contextMember<Workspace>("incRef")));
    EXPECT_EQ(current(), "a-");
    EXPECT_EQ(active(), "1100");
}

class RefusedActivationDeathTest : public ContextActivatorTest {};

// Without a handler the second thread's activation ends the process.
TEST_F(RefusedActivationDeathTest, EndsTheProcess) {
    const ScopedErrorHandler none(nullptr);
    ContextActivator activator(a.zarn);
    EXPECT_DEATH(onOtherThread([this] { ContextActivator refused(a.zarn); }),
                 testing::HasSubstr(std::string(notConcurrent) + " This indicates a bug in the code calling TAV."));
}

class DeactivatedActivatorDeathTest : public ContextActivatorTest {};

// Without a handler so does asking a deactivated activator for its contexts.
TEST_F(DeactivatedActivatorDeathTest, EndsTheProcess) {
    const ScopedErrorHandler none(nullptr);
    ContextActivator activator(a.zarn);
    activator.deactivate();
    const auto report = testing::HasSubstr(
        "Error accessing deactivated ContextActivator This indicates a bug in the code calling TAV.");
    EXPECT_DEATH(activator.getActiveContexts(), report);
    EXPECT_DEATH(activator.getPreviousContexts(), report);
}

}  // namespace
}  // namespace foundation::tests
