#include <foundation/tav/teardown.h>

#include <foundation/tav/inspect.h>
#include <foundation/tav/unload.h>
#include <algorithm>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/sink.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <latch>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "../support/locale.h"
#include "../support/recording_sink.h"
#include "../support/teardown_recording.h"
#include "contexts.h"

namespace foundation::tests {
namespace {

using tav::management::DeletionRecord;
using tav::management::eraseStatesDeletedBy;
using tav::management::inspectContexts;
using tav::management::LateUseRecord;
using tav::management::overdueDeletions;
using tav::management::recordedTeardown;
using tav::management::recordTeardown;
using tav::management::stopRecordingTeardown;
using tav::management::TeardownRecord;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr unsigned information = 16;
constexpr unsigned entries = 32;
constexpr unsigned exits = 64;
constexpr std::chrono::hours never(1);  // no deletion of a test takes so long

std::string nameOf(const std::type_info* scope) {
    if (!scope) return "none";
    if (*scope == typeid(Process)) return "Process";
    return *scope == typeid(Zarn) ? "Zarn" : "Workspace";
}

/// Behind as many points as deleters were running: "..Zarn 1, finds Zarn 2, inserts Zarn 3".
std::string summaryOf(const DeletionRecord& deletion) {
    std::string summary = std::string(deletion.depth, '.') + nameOf(deletion.scope) + ' ';
    summary += std::to_string(deletion.typeID);
    for (const LateUseRecord& use : deletion.lateUses)
        summary += (use.isInserted ? ", inserts " : ", finds ") + nameOf(use.scope) + ' ' + std::to_string(use.typeID);
    return summary;
}

std::vector<std::string> summaries() {
    std::vector<std::string> summaries;
    for (const DeletionRecord& deletion : recordedTeardown().deletions)
        summaries.push_back(summaryOf(deletion));
    return summaries;
}

/// Until a duration that began before the call is no longer zero.
void waitForClock() {
    const Clock::time_point start = Clock::now();
    while (Clock::now() == start) {
    }
}

template <class Scope>
bool isThere(std::uint64_t id) {
    return Detail<Scope>::find(id, typeid(Widget)) != nullptr;
}

template <class Scope>
const void* addressOf(std::uint64_t id) {
    return Detail<Scope>::find(id, typeid(Widget))->get();
}

template <class Scope>
bool erase(std::uint64_t id) {
    return Detail<Scope>::erase(id, typeid(Widget));
}

/// Records from the beginning. Contexts are known by their addresses, which the snapshot of all contexts tells.
class TeardownTest : public ContextsTest {
protected:
    template <class Scope>
    static const void* identity() {
        for (const auto& context : inspectContexts())
            if (*context.scope == typeid(Scope) && context.isCurrent) return context.address;
        return nullptr;
    }

    // Of the one that was made last.
    static const void* identityOfLast() { return inspectContexts().back().address; }

    const TeardownRecording recording;
};

/// The context of the scope has no children.
template <class Scope>
class EachTeardownTest : public TeardownTest {
protected:
    static constexpr std::uint64_t older = 0;
    static constexpr std::uint64_t dying = 1;
    static constexpr std::uint64_t newer = 2;
    static constexpr std::uint64_t absent = 7;
    static constexpr std::uint64_t beyond = 5000;  // the table has to grow for it

    EachTeardownTest() {
        if constexpr (!std::is_same_v<Scope, Workspace>) workspace.destroy();
        if constexpr (std::is_same_v<Scope, Process>) zarn.destroy();
    }

    Context<Scope>& own() { return this->template context<Scope>(); }

    // Three states; what is given happens at the death of the second.
    void fill(std::function<void()> atDeath) {
        put<Scope>(older, "older");
        put<Scope>(dying, "dying", std::move(atDeath));
        put<Scope>(newer, "newer");
    }

    /// Of a deletion of the scope; `lateUses` as the summary has them.
    static std::string entry(std::uint64_t id, const std::string& lateUses = "") {
        return name() + ' ' + std::to_string(id) + lateUses;
    }
    static std::string finds(std::uint64_t id) { return ", finds " + entry(id); }
    static std::string inserts(std::uint64_t id) { return ", inserts " + entry(id); }

    static std::string name() { return nameOf(&typeid(Scope)); }

    // The one deletion that there is, of a state of id 1, is recorded whole.
    static void expectWhole(const void* context, const void* address, Clock::time_point before) {
        const Clock::time_point after = Clock::now();
        const TeardownRecord teardown = recordedTeardown();
        ASSERT_THAT(teardown.deletions, SizeIs(1));
        const DeletionRecord& deletion = teardown.deletions.front();
        EXPECT_EQ(summaryOf(deletion), entry(dying));
        EXPECT_EQ(deletion.context, context);
        EXPECT_EQ(deletion.address, address);
        EXPECT_EQ(deletion.module, program_invocation_name);
        EXPECT_EQ(deletion.thread, std::this_thread::get_id());
        EXPECT_GE(deletion.begin, before);
        EXPECT_GT(deletion.duration, nanoseconds(0));
        EXPECT_LE(deletion.begin + deletion.duration, after);
        EXPECT_FALSE(deletion.isRunning);
        EXPECT_LE(teardown.start, before);
        EXPECT_EQ(teardown.limit, never);
        EXPECT_EQ(teardown.lost, 0u);
    }

    const Watchdog watchdog{"Recording a teardown"};
};
TYPED_TEST_SUITE(EachTeardownTest, AllScopes, ScopeNames);

// ---------------------------------------------------------------------------------------------------------------------
// What is recorded

// Before the first recording there is nothing, and that has no start.
TEST(TeardownDeathTest, NothingIsRecordedAtFirst) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process in which no other test has been
    const auto isNothing = [] {
        Context<Process> process;
        Detail<Process>::insert(0, typeid(Widget),
                                StatePtr(new Widget, [](void* w) { delete static_cast<Widget*>(w); }));
        process.destroy();
        const TeardownRecord teardown = recordedTeardown();
        return teardown.start == Clock::time_point() && teardown.limit == nanoseconds(0) &&
               teardown.deletions.empty() && teardown.lost == 0 && overdueDeletions().deletions.empty();
    };
    EXPECT_EXIT(std::exit(isNothing() ? 0 : 1), testing::ExitedWithCode(0), "");
    GTEST_FLAG_SET(death_test_style, "fast");
}

// What is deleted before the start or after the stop is not recorded; what was recorded stays, until the next start.
TYPED_TEST(EachTeardownTest, RecordsFromStartToStop) {
    stopRecordingTeardown();
    this->template put<TypeParam>(1, "before");
    erase<TypeParam>(1);
    EXPECT_THAT(summaries(), IsEmpty());
    recordTeardown(never);
    this->template put<TypeParam>(2, "recorded");
    erase<TypeParam>(2);
    stopRecordingTeardown();
    this->fill([] { EXPECT_FALSE(isThere<TypeParam>(2)); });
    erase<TypeParam>(0);
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2)));
    const Clock::time_point before = Clock::now();
    recordTeardown(nanoseconds(5));
    const TeardownRecord teardown = recordedTeardown();
    EXPECT_THAT(teardown.deletions, IsEmpty());
    EXPECT_EQ(teardown.limit, nanoseconds(5));
    EXPECT_GE(teardown.start, before);
    EXPECT_LE(teardown.start, Clock::now());
}

// Less than no time is none.
TEST_F(TeardownTest, HasNoNegativeLimit) {
    recordTeardown(nanoseconds(-1500));
    EXPECT_EQ(recordedTeardown().limit, nanoseconds(0));
}

// Everything is recorded of a state that is erased.
TYPED_TEST(EachTeardownTest, RecordsErasure) {
    this->template put<TypeParam>(1, "state", waitForClock);
    const void* const context = this->template identity<TypeParam>();
    const void* const address = addressOf<TypeParam>(1);
    const Clock::time_point before = Clock::now();
    EXPECT_TRUE(erase<TypeParam>(1));
    this->expectWhole(context, address, before);
}

// The same of one that is erased in all contexts, but for the context.
TYPED_TEST(EachTeardownTest, RecordsErasureEverywhere) {
    this->template put<TypeParam>(1, "state", waitForClock);
    const void* const address = addressOf<TypeParam>(1);
    const Clock::time_point before = Clock::now();
    EXPECT_EQ(Detail<TypeParam>::eraseAll(1, typeid(Widget)), 1u);
    this->expectWhole(nullptr, address, before);
}

// The same of one that dies with its context.
TYPED_TEST(EachTeardownTest, RecordsDestruction) {
    this->template put<TypeParam>(1, "state", waitForClock);
    const void* const context = this->template identity<TypeParam>();
    const void* const address = addressOf<TypeParam>(1);
    const Clock::time_point before = Clock::now();
    this->own().destroy();
    this->expectWhole(context, address, before);
}

// The same of one that dies with its context's handle.
TYPED_TEST(EachTeardownTest, RecordsTheEndOfAHandle) {
    this->template put<TypeParam>(1, "state", waitForClock);
    const void* const context = this->template identity<TypeParam>();
    const void* const address = addressOf<TypeParam>(1);
    std::optional<Context<TypeParam>> handle(std::move(this->own()));
    const Clock::time_point before = Clock::now();
    handle.reset();
    this->expectWhole(context, address, before);
}

void deleteWidget(void* widget) {
    waitForClock();
    delete static_cast<Widget*>(widget);
}

// The same of one that has to go before its deleter's module.
TYPED_TEST(EachTeardownTest, RecordsWhatGoesWithItsModule) {
    Detail<TypeParam>::insert(1, typeid(Widget), StatePtr(new Widget, &deleteWidget));
    const void* const context = this->template identity<TypeParam>();
    const void* const address = addressOf<TypeParam>(1);
    const auto* const deleter = reinterpret_cast<const char*>(&deleteWidget);
    const Clock::time_point before = Clock::now();
    EXPECT_EQ(eraseStatesDeletedBy(deleter, deleter + 1), 1u);
    this->expectWhole(context, address, before);
}

// A state that was stored in a context after its destruction belongs to none any more.
TEST_F(TeardownTest, RecordsStatesOfDestroyedContexts) {
    const IgnoredAssertions ignoredAssertions;
    std::optional<Context<Zarn>> destroyed(process);
    const void* address = nullptr;
    {
        ContextActivator elsewhere(*destroyed);
        onOtherThread([&] { destroyed.reset(); });
        put<Zarn>(7, "first");
        put<Zarn>(8, "second");
        address = addressOf<Zarn>(7);
    }
    EXPECT_THAT(log.deaths(), ElementsAre("second", "first"));
    EXPECT_THAT(summaries(), ElementsAre("none 8", "none 7"));
    const DeletionRecord deletion = recordedTeardown().deletions.at(1);
    EXPECT_EQ(deletion.context, nullptr);
    EXPECT_EQ(deletion.address, address);
    EXPECT_EQ(deletion.module, program_invocation_name);
}

// A state that was refused stays with who offered it: its death is no deletion of a stored state.
TYPED_TEST(EachTeardownTest, LeavesRefusedStatesOut) {
    this->template put<TypeParam>(1, "stored");
    {
        StatePtr refused = this->log.state("refused");
        EXPECT_THROW(Detail<TypeParam>::insert(1, typeid(Widget), std::move(refused)), Reported);
        StatePtr unneeded = this->log.state("unneeded");
        Detail<TypeParam>::findOrInsert(1, typeid(Widget), std::move(unneeded));
    }
    EXPECT_THAT(this->log.deaths(), ElementsAre("unneeded", "refused"));
    EXPECT_THAT(summaries(), IsEmpty());
}

// Where a deleter offered it, what its own deleter looks for counts as that deleter's.
TEST_F(TeardownTest, LeavesRefusedStatesToWhoOffersThem) {
    put<Zarn>(0, "stored");
    put<Zarn>(1, "dying", [this] {
        StatePtr unneeded = log.state("unneeded", [] { isThere<Zarn>(2); });
        Detail<Zarn>::findOrInsert(0, typeid(Widget), std::move(unneeded));
    });
    put<Zarn>(2, "newer");
    workspace.destroy();
    zarn.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "dying", "unneeded", "stored"));
    EXPECT_THAT(summaries(), ElementsAre("Zarn 2", "Zarn 1, finds Zarn 2", "Zarn 0"));
}

// ---------------------------------------------------------------------------------------------------------------------
// Order and depth

// Deletions stand in the order in which they begin: newest first, and children before parents.
TEST_F(TeardownTest, KeepsTheOrder) {
    put<Process>(1, "p1");
    put<Zarn>(1, "z1");
    put<Workspace>(2, "w2");
    put<Process>(2, "p2");
    put<Workspace>(1, "w1");
    const void* const contexts[] = {identity<Process>(), identity<Zarn>(), identity<Workspace>()};
    workspace.destroy();
    zarn.destroy();
    process.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("w1", "w2", "z1", "p2", "p1"));
    EXPECT_THAT(summaries(), ElementsAre("Workspace 1", "Workspace 2", "Zarn 1", "Process 2", "Process 1"));
    const std::vector<DeletionRecord> deletions = recordedTeardown().deletions;
    for (const DeletionRecord& deletion : deletions) {
        const std::size_t level = *deletion.scope == typeid(Process) ? 0 : *deletion.scope == typeid(Zarn) ? 1 : 2;
        EXPECT_EQ(deletion.context, contexts[level]);
    }
    EXPECT_TRUE(std::is_sorted(deletions.begin(), deletions.end(),
                               [](const auto& a, const auto& b) { return a.begin < b.begin; }));
}

// A deletion by a deleter comes after the one that it is part of, and one level below; the next is on the level before.
TYPED_TEST(EachTeardownTest, CountsDeletersWithin) {
    this->template put<TypeParam>(4, "innermost");
    this->template put<TypeParam>(3, "inner", [] { erase<TypeParam>(4); });
    this->template put<TypeParam>(5, "inner too");
    this->fill([] {
        erase<TypeParam>(3);
        erase<TypeParam>(5);
    });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1), "." + this->entry(3), ".." + this->entry(4),
                                         "." + this->entry(5), this->entry(0)));
    const std::vector<DeletionRecord> deletions = recordedTeardown().deletions;
    EXPECT_GE(deletions.at(1).duration, deletions.at(2).duration);
    EXPECT_GE(deletions.at(2).duration, deletions.at(3).duration);
}

// A deleter that destroys another context: its states die a level below, under that context's identity.
TEST_F(TeardownTest, CountsContextsDestroyedWithin) {
    std::optional<Context<Zarn>> other(process);
    const void* const identityOfOther = identityOfLast();
    {
        const ContextActivator elsewhere(*other);
        put<Zarn>(0, "other 0");
        put<Zarn>(1, "other 1");
    }
    put<Workspace>(0, "outer", [&other] { other.reset(); });
    workspace.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("outer", "other 1", "other 0"));
    EXPECT_THAT(summaries(), ElementsAre("Workspace 0", ".Zarn 1", ".Zarn 0"));
    EXPECT_EQ(recordedTeardown().deletions.at(1).context, identityOfOther);
    EXPECT_EQ(recordedTeardown().deletions.at(2).context, identityOfOther);
}

// Deleters of other threads don't count, though they run meanwhile.
TEST_F(TeardownTest, CountsThreadsApart) {
    put<Process>(1, "other");
    std::thread::id otherThread;
    put<Process>(0, "outer", [&otherThread] {
        onOtherThread([&otherThread] {
            otherThread = std::this_thread::get_id();
            erase<Process>(1);
        });
    });
    erase<Process>(0);
    EXPECT_THAT(summaries(), ElementsAre("Process 0", "Process 1"));
    EXPECT_EQ(recordedTeardown().deletions.at(0).thread, std::this_thread::get_id());
    EXPECT_EQ(recordedTeardown().deletions.at(1).thread, otherThread);
}

// ---------------------------------------------------------------------------------------------------------------------
// Late uses

/// Operations that look for a state, of which there is none.
template <class Scope>
void lookInEachWay(std::uint64_t first) {
    EXPECT_FALSE(isThere<Scope>(first));
    EXPECT_THROW(Detail<Scope>::findOrFail(first + 1, typeid(Widget)), Reported);
    EXPECT_THROW(Detail<Scope>::findOrThrow(first + 2, typeid(Widget)), std::exception);
    EXPECT_FALSE(erase<Scope>(first + 3));
}

// Whichever operation a deleter asks for a state that has been deleted, it is a late find.
TYPED_TEST(EachTeardownTest, NotesLateFinds) {
    this->fill([] { lookInEachWay<TypeParam>(10); });
    for (const std::uint64_t id : {10u, 11u, 12u, 13u})
        this->template put<TypeParam>(id, "state");
    const void* const context = this->template identity<TypeParam>();
    this->own().destroy();
    const std::vector<DeletionRecord> deletions = recordedTeardown().deletions;
    ASSERT_THAT(deletions, SizeIs(7));
    EXPECT_EQ(summaryOf(deletions.at(5)),
              this->entry(1, this->finds(10) + this->finds(11) + this->finds(12) + this->finds(13)));
    for (const LateUseRecord& use : deletions.at(5).lateUses)
        EXPECT_EQ(use.context, context);
    EXPECT_EQ(summaryOf(deletions.at(6)), this->entry(0));
}

// The state that a deleter deletes is gone too.
TYPED_TEST(EachTeardownTest, NotesThatADeleterLooksForItsOwnState) {
    this->fill([] { EXPECT_FALSE(isThere<TypeParam>(1)); });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->finds(1)), this->entry(0)));
}

// A state that a deleter makes anew is a late insertion; it dies in its turn.
TYPED_TEST(EachTeardownTest, NotesLateInsertions) {
    this->fill([this] {
        this->template put<TypeParam>(2, "inserted");
        Detail<TypeParam>::findOrInsert(1, typeid(Widget), this->log.state("found or inserted"));
    });
    const void* const context = this->template identity<TypeParam>();
    this->own().destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "found or inserted", "inserted", "older"));
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->inserts(2) + this->inserts(1)),
                                         this->entry(1), this->entry(2), this->entry(0)));
    const DeletionRecord deletion = recordedTeardown().deletions.at(1);
    for (const LateUseRecord& use : deletion.lateUses)
        EXPECT_EQ(use.context, context);
}

// However often a deleter asks for a type, that is one late use, an insertion if any was; the first decides the order.
TYPED_TEST(EachTeardownTest, NotesEachTypeOnce) {
    this->template put<TypeParam>(3, "state");
    this->fill([this] {
        EXPECT_FALSE(isThere<TypeParam>(2));
        EXPECT_FALSE(isThere<TypeParam>(1));
        EXPECT_FALSE(isThere<TypeParam>(2));
        this->template put<TypeParam>(2, "inserted");
        EXPECT_TRUE(isThere<TypeParam>(2));
        EXPECT_FALSE(isThere<TypeParam>(1));
    });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->inserts(2) + this->finds(1)),
                                         this->entry(2), this->entry(0), this->entry(3)));
}

// The uses of each deletion are its own.
TYPED_TEST(EachTeardownTest, NotesTheUsesOfEachDeletion) {
    this->template put<TypeParam>(4, "last", [] { EXPECT_FALSE(isThere<TypeParam>(2)); });
    this->fill([] { EXPECT_FALSE(isThere<TypeParam>(2)); });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->finds(2)), this->entry(0),
                                         this->entry(4, this->finds(2))));
}

// What a deleter asks for after a deletion within is its own again, and when it has ended nothing is within it.
TYPED_TEST(EachTeardownTest, NotesUsesAfterADeletionWithin) {
    this->template put<TypeParam>(4, "last");
    this->template put<TypeParam>(3, "within");
    this->fill([] {
        erase<TypeParam>(3);
        EXPECT_FALSE(isThere<TypeParam>(2));
    });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->finds(2)), "." + this->entry(3),
                                         this->entry(0), this->entry(4)));
}

// A deleter within another one has its own uses, those of states that it and the other one delete among them.
TYPED_TEST(EachTeardownTest, NotesUsesOfDeletionsWithin) {
    this->template put<TypeParam>(3, "within", [] {
        EXPECT_FALSE(isThere<TypeParam>(1));
        EXPECT_FALSE(isThere<TypeParam>(3));
    });
    this->fill([] { erase<TypeParam>(3); });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1),
                                         "." + this->entry(3, this->finds(1) + this->finds(3)), this->entry(0)));
}

// Nobody is late who asks for a state that is there, or for one that wasn't there when the destruction began.
TYPED_TEST(EachTeardownTest, NotesNothingElse) {
    this->template put<TypeParam>(3, "erased before");
    erase<TypeParam>(3);
    this->fill([this] {
        EXPECT_TRUE(isThere<TypeParam>(0));
        EXPECT_FALSE(isThere<TypeParam>(3));
        lookInEachWay<TypeParam>(7);
        lookInEachWay<TypeParam>(5000);
        this->template put<TypeParam>(20, "new");
        EXPECT_TRUE(isThere<TypeParam>(20));
    });
    this->own().destroy();
    EXPECT_THAT(summaries(),
                ElementsAre(this->entry(3), this->entry(2), this->entry(1), this->entry(20), this->entry(0)));
}

// A state that was made anew is there for the deleters that follow, until it dies itself.
TYPED_TEST(EachTeardownTest, FindsWhatWasMadeAnew) {
    this->template put<TypeParam>(3, "late", [] { EXPECT_FALSE(isThere<TypeParam>(2)); });
    this->fill([this] {
        this->template put<TypeParam>(2, "anew");
        this->template put<TypeParam>(4, "in time", [] { EXPECT_TRUE(isThere<TypeParam>(2)); });
    });
    this->own().destroy();
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->inserts(2)), this->entry(4),
                                         this->entry(2), this->entry(0), this->entry(3, this->finds(2))));
}

// Where no context is being destroyed nobody is late.
TYPED_TEST(EachTeardownTest, NotesNothingWhereNothingIsDestroyed) {
    this->fill([] { lookInEachWay<TypeParam>(1); });
    this->template put<TypeParam>(3, "state", [] { lookInEachWay<TypeParam>(3); });
    erase<TypeParam>(3);
    erase<TypeParam>(2);
    Detail<TypeParam>::eraseAll(1, typeid(Widget));
    EXPECT_THAT(summaries(), ElementsAre(this->entry(3), this->entry(2), this->entry(1)));
}

// eraseAll reaches the Process context while its states die, and no others in their destruction.
TYPED_TEST(EachTeardownTest, NotesWhatEraseAllLooksFor) {
    this->fill([] { EXPECT_EQ(Detail<TypeParam>::eraseAll(2, typeid(Widget)), 0u); });
    this->own().destroy();
    const std::string uses = std::is_same_v<TypeParam, Process> ? this->finds(2) : "";
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, uses), this->entry(0)));
}

// What a deleter has erased since the destruction began is gone like what the destruction itself deletes.
TYPED_TEST(EachTeardownTest, NotesUsesOfWhatIsErasedMeanwhile) {
    this->template put<TypeParam>(3, "erased");
    this->fill([] {
        erase<TypeParam>(3);
        EXPECT_FALSE(isThere<TypeParam>(3));
    });
    this->own().destroy();
    EXPECT_THAT(summaries(),
                ElementsAre(this->entry(2), this->entry(1, this->finds(3)), "." + this->entry(3), this->entry(0)));
}

// A deleter that asks another context is late only where that one's states are dying as well.
TEST_F(TeardownTest, NotesWhichContextIsAsked) {
    Context<Zarn> other(process);
    const void* const identityOfOther = identityOfLast();
    put<Process>(1, "process");
    {
        const ContextActivator elsewhere(other);
        put<Zarn>(1, "asked from within", [this] {
            workspace.destroy();
            EXPECT_FALSE(isThere<Process>(2));
        });
        put<Zarn>(2, "gone");
    }
    put<Process>(2, "erased");
    erase<Process>(2);
    put<Workspace>(1, "asks", [&] {
        EXPECT_FALSE(isThere<Workspace>(2));
        EXPECT_FALSE(isThere<Zarn>(2));
        const ContextActivator elsewhere(other);
        EXPECT_FALSE(isThere<Zarn>(2));
        EXPECT_FALSE(isThere<Zarn>(9));
        EXPECT_TRUE(isThere<Process>(1));
    });
    put<Workspace>(2, "gone too");
    other.destroy();
    EXPECT_THAT(summaries(), ElementsAre("Process 2", "Zarn 2", "Zarn 1", ".Workspace 2",
                                         ".Workspace 1, finds Workspace 2, finds Zarn 2"));
    EXPECT_EQ(recordedTeardown().deletions.at(4).lateUses.at(1).context, identityOfOther);
}

// Threads that use a Process context while its states die are no deleters, and find it as it is.
TEST_F(TeardownTest, LeavesOtherThreadsAlone) {
    const Watchdog watchdog("using a Process context in its destruction");
    put<Process>(0, "older");
    put<Process>(1, "dying", [this] {
        onOtherThread([this] {
            EXPECT_TRUE(isThere<Process>(0));
            lookInEachWay<Process>(1);
            lookInEachWay<Process>(7000);
            put<Process>(2, "made anew");
            EXPECT_TRUE(isThere<Process>(2));
            put<Process>(9000, "erased");
            EXPECT_TRUE(erase<Process>(9000));
        });
        EXPECT_FALSE(isThere<Process>(1));
    });
    put<Process>(2, "newer");
    workspace.destroy();
    zarn.destroy();
    process.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "dying", "erased", "made anew", "older"));
    EXPECT_THAT(summaries(),
                ElementsAre("Process 2", "Process 1, finds Process 1", "Process 9000", "Process 2", "Process 0"));
}

// A deleter on another thread is late like any other, whichever thread destroys the context.
TEST_F(TeardownTest, NotesUsesOfDeletersOfOtherThreads) {
    const Watchdog watchdog("a deleter of another thread");
    put<Process>(0, "older", [] { EXPECT_FALSE(isThere<Process>(2)); });
    put<Process>(1, "dying", [] { onOtherThread([] { erase<Process>(0); }); });
    put<Process>(2, "newer");
    workspace.destroy();
    zarn.destroy();
    process.destroy();
    EXPECT_THAT(summaries(), ElementsAre("Process 2", "Process 1", "Process 0, finds Process 2"));
}

// The table grows during a recorded destruction as it does otherwise, and late uses are noted before and after.
TYPED_TEST(EachTeardownTest, GrowsTheTableMeanwhile) {
    this->fill([this] {
        EXPECT_FALSE(isThere<TypeParam>(5000));
        EXPECT_FALSE(isThere<TypeParam>(2));
        this->template put<TypeParam>(9000, "inserted");
        Detail<TypeParam>::findOrInsert(20000, typeid(Widget), this->log.state("found or inserted"));
        this->template put<TypeParam>(30000, "erased");
        EXPECT_TRUE(isThere<TypeParam>(9000));
        EXPECT_TRUE(isThere<TypeParam>(20000));
        EXPECT_TRUE(erase<TypeParam>(30000));
        EXPECT_TRUE(isThere<TypeParam>(0));
        EXPECT_FALSE(isThere<TypeParam>(1));
        EXPECT_EQ(reportOf([] { Detail<TypeParam>::insert(9000, typeid(Widget), StatePtr(nullptr, nullptr)); }).message,
                  "State of type 'foundation::tests::Widget' already inserted. Consider using 'findOrInsert' to safely "
                  "retrieve the existing state or insert one if absent.");
    });
    this->own().destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "erased", "found or inserted", "inserted", "older"));
    EXPECT_THAT(summaries(),
                ElementsAre(this->entry(2), this->entry(1, this->finds(2) + this->finds(1)), "." + this->entry(30000),
                            this->entry(20000), this->entry(9000), this->entry(0)));
}

// A destruction that a deleter asks for is left to the one in progress, recorded or not.
TYPED_TEST(EachTeardownTest, IsNotRepeatedFromDeleters) {
    this->fill([this] { this->own().destroy(); });
    this->own().destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "older"));
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1), this->entry(0)));
}

// ---------------------------------------------------------------------------------------------------------------------
// Switched meanwhile

// A deletion that is running when the recording is stopped is recorded to its end, with its late uses; none is after
// it.
TYPED_TEST(EachTeardownTest, IsStoppedByADeleter) {
    this->template put<TypeParam>(3, "within");
    this->fill([] {
        stopRecordingTeardown();
        EXPECT_FALSE(isThere<TypeParam>(2));
        erase<TypeParam>(3);
    });
    this->own().destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "within", "older"));
    EXPECT_THAT(summaries(), ElementsAre(this->entry(2), this->entry(1, this->finds(2))));
    EXPECT_FALSE(recordedTeardown().deletions.at(1).isRunning);
}

// A new recording has nothing of the deletions and destructions that are in progress when it begins, but what follows.
TYPED_TEST(EachTeardownTest, IsStartedAgainByADeleter) {
    this->template put<TypeParam>(3, "within", [] { EXPECT_FALSE(isThere<TypeParam>(2)); });
    this->fill([] {
        EXPECT_FALSE(isThere<TypeParam>(2));
        recordTeardown(never);
        EXPECT_THAT(summaries(), IsEmpty());
        EXPECT_FALSE(isThere<TypeParam>(2));
        erase<TypeParam>(3);
    });
    this->own().destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "within", "older"));
    EXPECT_THAT(summaries(), ElementsAre("." + this->entry(3), this->entry(0)));
    for (const DeletionRecord& deletion : recordedTeardown().deletions)
        EXPECT_FALSE(deletion.isRunning);
}

// Where a deleter starts the first one, its own deletion is none of the recorded, nor one that others are within.
TYPED_TEST(EachTeardownTest, IsStartedByADeleter) {
    stopRecordingTeardown();
    this->template put<TypeParam>(3, "within", [] { EXPECT_FALSE(isThere<TypeParam>(2)); });
    this->fill([] {
        recordTeardown(never);
        EXPECT_FALSE(isThere<TypeParam>(2));
        erase<TypeParam>(3);
    });
    this->own().destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "within", "older"));
    EXPECT_THAT(summaries(), ElementsAre(this->entry(3), this->entry(0)));
}

// ---------------------------------------------------------------------------------------------------------------------
// While deleters run

/// A deleter on another thread that doesn't return until it is told to.
class HangingDeletion {
public:
    explicit HangingDeletion(LifetimeLog& log) {
        Detail<Process>::insert(1, typeid(Widget), log.state("hanging", [this] {
            m_begin.count_down();
            m_end.wait();
        }));
        m_thread = std::thread([] { erase<Process>(1); });
        m_begin.wait();
        waitForClock();
    }
    ~HangingDeletion() {
        if (m_thread.joinable()) end();
    }
    HangingDeletion(const HangingDeletion&) = delete;
    HangingDeletion& operator=(const HangingDeletion&) = delete;

    std::thread::id thread() const { return m_thread.get_id(); }

    void end() {
        m_end.count_down();
        m_thread.join();
    }

private:
    std::latch m_begin{1};
    std::latch m_end{1};
    std::thread m_thread;
};

// A deletion that hangs is overdue as soon as it has taken longer than the limit, with the time that it has taken so
// far; when it has ended it is no more, whatever it took.
TEST_F(TeardownTest, TellsWhatIsOverdue) {
    const Watchdog watchdog("a deleter that hangs");
    recordTeardown(nanoseconds(1));
    put<Process>(0, "over", waitForClock);
    const void* const context = identity<Process>();
    erase<Process>(0);
    HangingDeletion hanging(log);
    const std::thread::id thread = hanging.thread();

    const TeardownRecord first = overdueDeletions();
    ASSERT_THAT(first.deletions, SizeIs(1));
    EXPECT_EQ(summaryOf(first.deletions.front()), "Process 1");
    EXPECT_EQ(first.deletions.front().context, context);
    EXPECT_EQ(first.deletions.front().thread, thread);
    EXPECT_TRUE(first.deletions.front().isRunning);
    EXPECT_GT(first.deletions.front().duration, nanoseconds(0));
    EXPECT_EQ(first.limit, nanoseconds(1));
    EXPECT_GE(first.deletions.front().begin, first.start);
    waitForClock();
    const TeardownRecord second = overdueDeletions();
    ASSERT_THAT(second.deletions, SizeIs(1));
    EXPECT_GT(second.deletions.front().duration, first.deletions.front().duration);
    EXPECT_EQ(second.deletions.front().begin, first.deletions.front().begin);
    EXPECT_THAT(summaries(), ElementsAre("Process 0", "Process 1"));
    EXPECT_GE(recordedTeardown().deletions.at(1).duration, second.deletions.front().duration);

    hanging.end();
    EXPECT_THAT(overdueDeletions().deletions, IsEmpty());
    const DeletionRecord ended = recordedTeardown().deletions.at(1);
    EXPECT_FALSE(ended.isRunning);
    EXPECT_GT(ended.duration, second.deletions.front().duration);
    EXPECT_EQ(ended.duration, recordedTeardown().deletions.at(1).duration);
}

// A deletion that runs within the limit is recorded as running, and not overdue.
TEST_F(TeardownTest, LeavesTimeToDeleters) {
    const Watchdog watchdog("a deleter that hangs");
    const HangingDeletion hanging(log);
    EXPECT_THAT(overdueDeletions().deletions, IsEmpty());
    EXPECT_EQ(overdueDeletions().limit, never);
    EXPECT_THAT(summaries(), ElementsAre("Process 1"));
    EXPECT_TRUE(recordedTeardown().deletions.at(0).isRunning);
}

// A deletion that hangs while a new recording begins leaves that alone when it ends.
TEST_F(TeardownTest, ForgetsWhatHangs) {
    const Watchdog watchdog("a deleter that hangs");
    put<Process>(5, "next");
    HangingDeletion hanging(log);
    recordTeardown(nanoseconds(0));
    EXPECT_THAT(overdueDeletions().deletions, IsEmpty());
    erase<Process>(5);
    const nanoseconds duration = recordedTeardown().deletions.at(0).duration;
    hanging.end();
    EXPECT_THAT(summaries(), ElementsAre("Process 5"));
    EXPECT_EQ(recordedTeardown().deletions.at(0).duration, duration);
}

// A deleter sees its own deletion, and those that it is within, running.
TEST_F(TeardownTest, IsSeenByDeleters) {
    recordTeardown(nanoseconds(0));
    std::vector<bool> running;
    std::size_t overdue = 0;
    put<Process>(0, "within", [&] {
        waitForClock();
        for (const DeletionRecord& deletion : recordedTeardown().deletions)
            running.push_back(deletion.isRunning);
        overdue = overdueDeletions().deletions.size();
    });
    put<Process>(1, "outer", [] { erase<Process>(0); });
    put<Process>(2, "over");
    erase<Process>(2);
    erase<Process>(1);
    EXPECT_THAT(running, ElementsAre(false, true, true));
    EXPECT_EQ(overdue, 2u);
}

// What handlers see is kept for the test.
std::vector<std::string> seenByHandler;

// An error handler may look while it is called with the Process context locked, from a deleter too.
TEST_F(TeardownTest, IsSeenByErrorHandlers) {
    const Watchdog watchdog("looking from an error handler");
    seenByHandler.clear();
    const ScopedErrorHandler looking(+[](const tav::ErrorInfo& info) {
        seenByHandler = summaries();
        EXPECT_THAT(overdueDeletions().deletions, IsEmpty());
        throw Reported(info);
    });
    const auto insertAgain = [this] { EXPECT_THROW(put<Process>(0, "refused"), Reported); };
    put<Process>(0, "older");
    put<Process>(1, "dying", insertAgain);
    insertAgain();
    EXPECT_THAT(seenByHandler, IsEmpty());
    workspace.destroy();
    zarn.destroy();
    process.destroy();
    EXPECT_THAT(seenByHandler, ElementsAre("Process 1"));
}

// ---------------------------------------------------------------------------------------------------------------------
// The trace

/// Looks at what is recorded whenever there is a record of the trace.
class LookingSink : public boost::log::sinks::sink {
public:
    LookingSink() : boost::log::sinks::sink(false) {}
    bool will_consume(const boost::log::attribute_value_set&) override { return true; }
    void consume(const boost::log::record_view&) override {
        seen.push_back(summaries());
        EXPECT_THAT(overdueDeletions().deletions, IsEmpty());
    }
    void flush() override {}

    std::vector<std::vector<std::string>> seen;
};

// A sink may look at each record, and sees what the record is about.
TEST_F(TeardownTest, IsSeenBySinks) {
    const Watchdog watchdog("looking from a sink");
    put<Zarn>(1, "dying", [] { EXPECT_FALSE(isThere<Zarn>(2)); });
    put<Zarn>(2, "newer");
    workspace.destroy();
    const auto sink = boost::make_shared<LookingSink>();
    boost::log::core::get()->add_sink(sink);
    {
        const ScopedMask mask(information);
        zarn.destroy();
    }
    boost::log::core::get()->remove_sink(sink);
    EXPECT_THAT(sink->seen, ElementsAre(ElementsAre("Zarn 2", "Zarn 1, finds Zarn 2")));
}

std::string text(const void* address) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << address;
    return stream.str();
}

std::string microsecondsOf(nanoseconds duration) {
    return std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(duration).count());
}

/// What the trace writes of deletions, indented: scope records with their severity alone, plain ones whole.
class TraceOfTeardownTest : public TeardownTest {
protected:
    template <class Operation>
    std::vector<std::string> messagesOf(unsigned mask, Operation&& operation) {
        const ScopedMask scopedMask(mask);
        sink.take();
        operation();
        std::vector<std::string> messages;
        for (const Record& record : sink.take()) {
            if (record.message.starts_with("push context") || record.message.starts_with("pop context")) continue;
            if (record.severity == information)
                messages.push_back(std::string(record.indentation, ' ') + record.message);
            else if (record.message.find("InstanceManager::erase(") != std::string::npos)
                messages.push_back(std::string(record.indentation, ' ') + std::to_string(record.severity));
        }
        return messages;
    }

    // What a slow deletion of the recording writes.
    static std::string slowness(std::size_t index) {
        const TeardownRecord teardown = recordedTeardown();
        const DeletionRecord deletion = teardown.deletions.at(index);
        return "slow deletion  scope=" + (deletion.scope ? "foundation::tav::scope::" + nameOf(deletion.scope) : "") +
               "  id=" + std::to_string(deletion.typeID) + "  context=" + text(deletion.context) +
               "  microseconds=" + microsecondsOf(deletion.duration) + "  limit=" + microsecondsOf(teardown.limit);
    }

    RecordingSink sink;
};

// A late use is written when the deletion has ended that it belongs to, behind the records of its scope.
TEST_F(TraceOfTeardownTest, WritesLateUses) {
    put<Workspace>(1, "dying", [this] {
        EXPECT_FALSE(isThere<Workspace>(2));
        put<Workspace>(1234, "inserted");
    });
    put<Workspace>(2, "newer");
    put<Workspace>(1234, "newest");
    const std::string context = text(identity<Workspace>());
    const DigitGroupingLocale locale;
    const auto messages = messagesOf(entries | information, [this] { workspace.destroy(); });
    EXPECT_THAT(messages, ElementsAre(" 32", " 64", " 32", " 64", " 32", " 64",
                                      " late find  scope=foundation::tav::scope::Workspace  id=2  context=" + context +
                                          "  by  scope=foundation::tav::scope::Workspace  id=1",
                                      " late insert  scope=foundation::tav::scope::Workspace  id=1234  context=" +
                                          context + "  by  scope=foundation::tav::scope::Workspace  id=1",
                                      " 32", " 64"));
}

// So is a deletion that took too long, after its late uses. What is within another one comes before that.
TEST_F(TraceOfTeardownTest, WritesSlowDeletions) {
    recordTeardown(nanoseconds(0));
    put<Workspace>(0, "within", waitForClock);
    put<Workspace>(1, "dying", [] {
        EXPECT_FALSE(isThere<Workspace>(1));
        erase<Workspace>(0);
    });
    const std::string context = text(identity<Workspace>());
    const auto messages = messagesOf(entries | information, [this] { workspace.destroy(); });
    EXPECT_THAT(messages, ElementsAre(" 32", "   32", "   64", "   " + slowness(1), " 64",
                                      " late find  scope=foundation::tav::scope::Workspace  id=1  context=" + context +
                                          "  by  scope=foundation::tav::scope::Workspace  id=1",
                                      " " + slowness(0)));
}

// A slow deletion has all that is known of it, whatever way the state died.
TEST_F(TraceOfTeardownTest, WritesAllSlowDeletions) {
    const IgnoredAssertions ignoredAssertions;
    recordTeardown(nanoseconds(0));
    std::optional<Context<Zarn>> destroyed(process);
    put<Zarn>(1234, "erased", waitForClock);
    put<Zarn>(1, "erased everywhere", waitForClock);
    put<Process>(2, "process", waitForClock);
    const auto messages = messagesOf(information, [&] {
        const DigitGroupingLocale locale;
        erase<Zarn>(1234);
        Detail<Zarn>::eraseAll(1, typeid(Widget));
        erase<Process>(2);
        const ContextActivator elsewhere(*destroyed);
        onOtherThread([&] { destroyed.reset(); });
        put<Zarn>(3, "after its context", waitForClock);
    });
    EXPECT_THAT(messages, ElementsAre(slowness(0), slowness(1), slowness(2), slowness(3)));
    EXPECT_THAT(messages.at(1),
                testing::StartsWith("slow deletion  scope=foundation::tav::scope::Zarn  id=1  context=0  "));
    EXPECT_THAT(messages.at(3), testing::StartsWith("slow deletion  scope=  id=3  context=0  microseconds="));
}

// The limit is written in whole microseconds.
TEST_F(TraceOfTeardownTest, WritesTheLimit) {
    recordTeardown(nanoseconds(2500));
    put<Process>(1, "state", [] {
        const Clock::time_point start = Clock::now();
        while (Clock::now() - start <= nanoseconds(2500)) {
        }
    });
    const auto messages = messagesOf(information, [] { erase<Process>(1); });
    EXPECT_THAT(messages, ElementsAre(slowness(0)));
    EXPECT_THAT(messages.at(0), testing::EndsWith("  limit=2"));
}

// Nothing of that is written unless the mask has the severity, or where there is nothing to say.
TEST_F(TraceOfTeardownTest, WritesNothingElse) {
    recordTeardown(nanoseconds(0));
    const auto die = [this] {
        put<Process>(1, "state", waitForClock);
        erase<Process>(1);
    };
    EXPECT_THAT(messagesOf(0x7fff & ~(information | entries | exits), die), IsEmpty());
    EXPECT_THAT(messagesOf(0, die), IsEmpty());
    recordTeardown(never);
    EXPECT_THAT(messagesOf(information, die), IsEmpty());
    recordTeardown(nanoseconds(0));
    stopRecordingTeardown();
    EXPECT_THAT(messagesOf(information, die), IsEmpty());
}

// Sinks that throw do no harm.
TEST_F(TraceOfTeardownTest, LosesRecordsUnnoticed) {
    recordTeardown(nanoseconds(0));
    put<Zarn>(1, "dying", [] { EXPECT_FALSE(isThere<Zarn>(1)); });
    workspace.destroy();
    for (const SinkFailure failure : {SinkFailure::whenAsked, SinkFailure::whenWritten}) {
        put<Process>(1, "state", waitForClock);
        sink.fail(failure);
        EXPECT_THAT(messagesOf(information, [] { erase<Process>(1); }), IsEmpty());
    }
    EXPECT_EQ(sink.failures(), 2u);
    EXPECT_THAT(messagesOf(information, [this] { zarn.destroy(); }), IsEmpty());
    EXPECT_EQ(sink.failures(), 4u);
    EXPECT_THAT(summaries(), ElementsAre("Process 1", "Process 1", "Zarn 1, finds Zarn 1"));
    EXPECT_EQ(recordedTeardown().lost, 0u);
}

// ---------------------------------------------------------------------------------------------------------------------

// An exception that escapes a deleter ends the process, recorded or not.
TEST(TeardownDeathTest, EscapingExceptionEndsTheProcess) {
    const auto erase = [] {
        const TeardownRecording recording;
        Context<Process> process;
        Detail<Process>::insert(0, typeid(Widget),
                                StatePtr(&process, [](void*) { throw std::runtime_error("A deleter failed."); }));
        Detail<Process>::erase(0, typeid(Widget));
    };
    EXPECT_DEATH(erase(), "terminate called after throwing an instance of 'std::runtime_error'");
}

}  // namespace
}  // namespace foundation::tests
