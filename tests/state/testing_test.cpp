#include <foundation/state/testing.h>

#include <foundation/state/state.h>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <latch>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "../support/assertions.h"
#include "../support/names.h"
#include "../support/watchdog.h"

namespace foundation::tests {

template <class Scope>
struct Left {
    using StateScope = Scope;
    int number = 0;
};

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// Tests use it as they would any fixture.
class HermeticTestItself : public state::HermeticTest {};

// The contexts are there, fresh and active.
TEST_F(HermeticTestItself, GivesContexts) {
    EXPECT_TRUE(process.isActive() && zarn.isActive() && workspace.isActive());
    EXPECT_EQ(state::find<Left<Process>>(), nullptr);
    EXPECT_EQ(state::find<Left<Zarn>>(), nullptr);
    EXPECT_EQ(state::find<Left<Workspace>>(), nullptr);
    state::create<Left<Process>>();
}

// Whichever of these two tests runs later, it finds nothing of the other's.
TEST_F(HermeticTestItself, GivesFreshContexts) {
    EXPECT_EQ(state::find<Left<Process>>(), nullptr);
    state::create<Left<Process>>();
}

/// A fixture as an object, to see what its end says.
class Inner : public state::HermeticTest {
public:
    Inner() = default;
    explicit Inner(Context<Process>& host) : HermeticTest(host) {}
    ~Inner() noexcept override = default;

    using HermeticTest::expectNoStatesLeft;
    using HermeticTest::process;
    using HermeticTest::takeMisuse;
    using HermeticTest::workspace;
    using HermeticTest::zarn;

private:
    void TestBody() override {}
};

/// The failures with which a test ends, for a body that gets the fixture; what fails in the body is not among them.
template <class Body, class... Arguments>
std::vector<std::string> failuresAfter(const Body& body, Arguments&... arguments) {
    std::optional<Inner> inner(std::in_place, arguments...);
    body(*inner);
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        inner.reset();
    }
    std::vector<std::string> messages;
    messages.reserve(static_cast<std::size_t>(results.size()));
    for (int index = 0; index < results.size(); ++index)
        messages.emplace_back(results.GetTestPartResult(index).message());
    return messages;
}

constexpr const char* leftZarnActivation =
    "Failed\nThe test has left an activation on its thread: the Zarn context of the fixture is not the current one any "
    "more.";
constexpr const char* leftWorkspaceActivation =
    "Failed\nThe test has left an activation on its thread: the Workspace context of the fixture is not the current "
    "one "
    "any more.";
constexpr const char* zarnLeft = "Failed\nThe test has left a Zarn context alive.";

// A test that leaves nothing does not fail, whatever it did to the contexts meanwhile.
TEST(HermeticTestEnd, IsQuiet) {
    EXPECT_THAT(failuresAfter([](Inner&) {}), IsEmpty());
    EXPECT_THAT(failuresAfter([](Inner& test) {
                    Context<Zarn> other(test.process);
                    const ContextActivator activator(other);
                    state::create<Left<Zarn>>();
                }),
                IsEmpty());
    EXPECT_THAT(failuresAfter([](Inner& test) { test.workspace.destroy(); }), IsEmpty());
    EXPECT_THAT(failuresAfter([](Inner& test) {
                    test.workspace.destroy();
                    test.zarn.destroy();
                    test.process.destroy();
                }),
                IsEmpty());
    EXPECT_THAT(failuresAfter([](Inner& test) { test.process.deactivate(); }), IsEmpty());
    EXPECT_THAT(failuresAfter([](Inner& test) {
                    test.process.shutdown();
                    test.process.deactivate();
                }),
                IsEmpty());
    EXPECT_THAT(failuresAfter([](Inner&) { state::create<Left<Workspace>>(); }), IsEmpty());
}

// Misuse leaves the failing call, and fails the test even if it is caught there.
TEST(HermeticTestEnd, FailsOnMisuse) {
    EXPECT_THAT(failuresAfter([](Inner&) {
                    EXPECT_THROW(state::findOrFail<Left<Zarn>>(), state::Misuse);
                    const ContextActivator none;
                    std::thread([] { EXPECT_THROW(state::find<Left<Workspace>>(), state::Misuse); }).join();
                }),
                ElementsAre("Failed\nMisuse was reported by foundation::tav::Detail<struct "
                            "foundation::tav::scope::Zarn>::findOrFail: Type "
                            "'foundation::tests::Left<foundation::tav::scope::Zarn>' does not exist in TAV. The caller "
                            "requested pre-existing state of the specified type, but it was never created.",
                            StartsWith("Failed\nMisuse was reported by foundation::tav::Detail<struct "
                                       "foundation::tav::scope::Workspace>::find: Cannot call find(): No active TAV "
                                       "context with scope 'foundation::tav::scope::Workspace'")));
}

// What the test has taken is its own affair.
TEST(HermeticTestEnd, IsQuietAboutMisuseThatWasTaken) {
    EXPECT_THAT(failuresAfter([](Inner& test) {
                    EXPECT_THROW(state::findOrFail<Left<Zarn>>(), state::Misuse);
                    const std::vector<state::Misuse> taken = test.takeMisuse();
                    ASSERT_EQ(taken.size(), 1u);
                    EXPECT_EQ(taken[0].function,
                              "foundation::tav::Detail<struct foundation::tav::scope::Zarn>::findOrFail");
                    EXPECT_THAT(test.takeMisuse(), IsEmpty());
                }),
                IsEmpty());
}

/// Misuses the library when it is deleted.
struct Rude {
    using StateScope = Zarn;
    ~Rude() { EXPECT_THROW(state::findOrFail<Left<Process>>(), state::Misuse); }
};

// Destructors of states that the test has left run before it is over.
TEST(HermeticTestEnd, FailsOnMisuseOfDestructors) {
    EXPECT_THAT(failuresAfter([](Inner&) { state::create<Rude>(); }),
                ElementsAre(StartsWith("Failed\nMisuse was reported by foundation::tav::Detail<struct "
                                       "foundation::tav::scope::Process>::findOrFail: ")));
}

// An activator that outlives the test fails it, whatever it has made current, and wherever that belongs.
TEST(HermeticTestEnd, FailsOnActivations) {
    std::optional<ContextActivator> left;
    EXPECT_THAT(failuresAfter([&left](Inner&) { left.emplace(); }),
                ElementsAre(leftZarnActivation, leftWorkspaceActivation));
    left.reset();
    EXPECT_THAT(failuresAfter([&left](Inner&) { left.emplace(NullContext<Workspace>()); }),
                ElementsAre(leftWorkspaceActivation));
    left.reset();
    Context<Process> elsewhere(false);
    Context<Zarn> foreign(elsewhere);
    EXPECT_THAT(failuresAfter([&](Inner& test) {
                    test.workspace.destroy();
                    test.zarn.destroy();
                    left.emplace(foreign);
                }),
                ElementsAre(leftZarnActivation));
    left.reset();
}

// So do contexts that another thread has not given back.
TEST(HermeticTestEnd, FailsOnActivationsElsewhere) {
    const Watchdog watchdog("A thread that keeps a context current");
    std::latch activated(1);
    std::latch over(1);
    std::jthread worker;
    std::optional<Context<Zarn>> left;
    EXPECT_THAT(failuresAfter([&](Inner& test) {
                    left.emplace(test.process);
                    worker = std::jthread([&] {
                        const ContextActivator activator(*left);
                        activated.count_down();
                        over.wait();
                    });
                    activated.wait();
                }),
                ElementsAre("Failed\nThe test has left a Zarn context current on another thread.", zarnLeft,
                            StartsWith("Failed\nMisuse was reported by ")));
    over.count_down();
    worker.join();
}

using HermeticTestDeathTest = testing::Test;

// If those are the fixture's own, the process ends as it would without the fixture, after the test's failure was shown.
TEST_F(HermeticTestDeathTest, EndsOverItsOwnContextsElsewhere) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto endWithThread = [] {
        std::optional<Inner> inner(std::in_place);
        const ContextActivator none;
        std::latch activated(1);
        std::latch never(1);
        const std::jthread worker([&] {
            const ContextActivator activator(inner->zarn);
            activated.count_down();
            never.wait();
        });
        activated.wait();
        inner.reset();
    };
    EXPECT_DEATH(endWithThread(), "assertion failed: !isActive\\(\\)");
}

// A context whose handle outlives the test fails it, whether it holds states or not.
TEST(HermeticTestEnd, FailsOnContexts) {
    std::optional<Context<Zarn>> left;
    EXPECT_THAT(failuresAfter([&left](Inner& test) { left.emplace(test.process); }),
                ElementsAre(zarnLeft, testing::AllOf(StartsWith("Failed\nMisuse was reported by "),
                                                     testing::EndsWith("Cannot destroy context unless existing 1 child "
                                                                       "contexts are destroyed first."))));
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
    left.reset();
}

// Another Process context that is active fails the test, and is active no longer.
TEST(HermeticTestEnd, FailsOnAnotherProcess) {
    std::optional<Context<Process>> left;
    EXPECT_THAT(failuresAfter([&left](Inner& test) {
                    test.process.deactivate();
                    left.emplace();
                }),
                ElementsAre("Failed\nThe test has left another Process context active."));
    EXPECT_FALSE(left->isActive());
}

// States are named by type and scope, if the test says that there must be none.
TEST(HermeticTestEnd, FailsOnStates) {
    const std::uint64_t id = Detail<Zarn>::getNextID(typeid(int));
    EXPECT_THAT(
        failuresAfter([id](Inner& test) {
            test.expectNoStatesLeft();
            state::create<Left<Process>>();
            state::create<Left<Zarn>>();
            Detail<Zarn>::insert(id, typeid(int),
                                 StatePtr(new int(1), [](void* state) { delete static_cast<int*>(state); }));
            state::create<Left<Workspace>>();
        }),
        ElementsAre("Failed\nThe test has left a state of type "
                    "'foundation::tests::Left<foundation::tav::scope::Process>' in a Process context.",
                    "Failed\nThe test has left a state of type '(id " + std::to_string(id) + ")' in a Zarn context.",
                    "Failed\nThe test has left a state of type 'foundation::tests::Left<foundation::tav::scope::Zarn>' "
                    "in a Zarn context.",
                    "Failed\nThe test has left a state of type "
                    "'foundation::tests::Left<foundation::tav::scope::Workspace>' in a Workspace context."));
    EXPECT_THAT(failuresAfter([](Inner& test) {
                    test.expectNoStatesLeft();
                    state::create<Left<Zarn>>();
                    state::erase<Left<Zarn>>();
                }),
                IsEmpty());
}

/// With a context as a member.
class Derived : public Inner {
public:
    Context<Zarn> member{process};
};

// Members of derived fixtures are gone when the test is looked at.
TEST(HermeticTestEnd, IsQuietAboutMembers) {
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &results);
        const Derived derived;
    }
    EXPECT_EQ(results.size(), 0);
}

constexpr const char* isActiveAlready =
    "A Process context is active that HermeticTest can't restore. Give its handle to the fixture's constructor, or "
    "deactivate it before the test.";

void handleNothing(const tav::ErrorInfo&) {}

// A host has everything back afterwards: its Process context, the thread's contexts, the error handler.
TEST(HermeticTestHost, IsRestored) {
    const tav::ErrorHandler before = tav::setErrorHandler(&handleNothing);
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    const ContextActivator activator(workspace);
    state::create<Left<Process>>(Left<Process>{1});
    state::create<Left<Workspace>>(Left<Workspace>{2});
    EXPECT_THAT(failuresAfter(
                    [&](Inner& test) {
                        EXPECT_TRUE(test.process.isActive());
                        EXPECT_FALSE(process.isActive() || zarn.isActive() || workspace.isActive());
                        EXPECT_EQ(state::find<Left<Process>>(), nullptr);
                        EXPECT_EQ(state::find<Left<Workspace>>(), nullptr);
                    },
                    process),
                IsEmpty());
    EXPECT_TRUE(process.isActive() && zarn.isActive() && workspace.isActive());
    EXPECT_EQ(state::findOrFail<Left<Process>>().number, 1);
    EXPECT_EQ(state::findOrFail<Left<Workspace>>().number, 2);
    EXPECT_EQ(tav::setErrorHandler(before), &handleNothing);
}

// Also after a test that has left things behind.
TEST(HermeticTestHost, IsRestoredAfterFailures) {
    Context<Process> process;
    std::optional<Context<Zarn>> left;
    EXPECT_THAT(failuresAfter([&left](Inner& test) { left.emplace(test.process); }, process).size(), 2u);
    EXPECT_TRUE(process.isActive());
}

// A host that is not active is none: it stays as it is.
TEST(HermeticTestHost, MayBeInactive) {
    Context<Process> process(false);
    EXPECT_THAT(failuresAfter([](Inner&) {}, process), IsEmpty());
    EXPECT_FALSE(process.isActive());
}

// Without the handle the fixture refuses to take a host's activation away.
TEST(HermeticTestHost, MustBeGiven) {
    Context<Process> process;
    try {
        const Inner inner;
        FAIL() << "The host's activation would be lost.";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), isActiveAlready);
    }
    EXPECT_TRUE(process.isActive());
    EXPECT_EQ(tav::getErrorHandler(), nullptr);
}

}  // namespace
}  // namespace foundation::tests
