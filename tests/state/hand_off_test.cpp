#include <foundation/state/hand_off.h>

#include <barrier>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <deque>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include "../support/current_elsewhere.h"
#include "state_types.h"

namespace foundation::tests {
namespace {

using state::bind;
using state::handOff;
using testing::IsEmpty;

/// By which a context is known.
template <class Scope>
struct Mark {
    using StateScope = Scope;
    char name;
};

/// Who has been there.
struct Visits {
    using StateScope = Workspace;
    std::string text;
};

using Nothing = decltype(bind(ContextSet(), [] {}));
static_assert(std::is_nothrow_move_constructible_v<Nothing>);
static_assert(!std::is_copy_constructible_v<Nothing> && !std::is_copy_assignable_v<Nothing>);
static_assert(std::is_move_assignable_v<decltype(bind(ContextSet(), std::declval<void (*)()>()))>);
using TakesInt = decltype(bind(ContextSet(), [](int) {}));
static_assert(std::is_invocable_v<TakesInt, int> && !std::is_invocable_v<TakesInt>);

/// Two projects, `a` and `b`, each with a document.
class HandOffTest : public TavTest {
protected:
    struct Branch {
        Branch(Context<Process>& process, char name) : zarn(process), workspace(zarn) {
            const ContextActivator activator(workspace);
            state::create<Mark<Zarn>>(name);
            state::create<Mark<Workspace>>(name);
        }

        Context<Zarn> zarn;
        Context<Workspace> workspace;
    };

    /// What is current on this thread: the names of Zarn and Workspace context, '-' for none.
    static std::string current() { return {currentOf<Zarn>(), currentOf<Workspace>()}; }

    template <class Scope>
    static char currentOf() {
        return state::isContextActive<Mark<Scope>>() ? state::findOrFail<Mark<Scope>>().name : '-';
    }

    /// Which of the contexts count as active: Zarn and Workspace of `a`, then of `b`.
    std::string active() const {
        std::string result;
        for (const bool isActive :
             {a.zarn.isActive(), a.workspace.isActive(), b.zarn.isActive(), b.workspace.isActive()})
            result += isActive ? '1' : '0';
        return result;
    }

    template <class Scope>
    static ContextSet handedOff(Context<Scope>& context) {
        ContextActivator activator(context);
        return handOff(activator);
    }

    Context<Process> process;
    Branch a{process, 'a'};
    Branch b{process, 'b'};
};

// The set names what was active, and the thread has back what it had before.
TEST_F(HandOffTest, GivesTheSetAndRestores) {
    const ContextActivator outer(b.workspace);
    ContextActivator activator(a.workspace);
    const ContextSet named = activator.getActiveContexts();
    const ContextSet contexts = handOff(activator);
    EXPECT_TRUE(contexts == named);
    EXPECT_FALSE(activator.isActivated());
    EXPECT_EQ(current(), "bb");
    EXPECT_EQ(active(), "0011");
}

// There is nothing to hand off twice.
TEST_F(HandOffTest, IsOncePerActivator) {
    ContextActivator activator(a.zarn);
    handOff(activator);
    EXPECT_THAT(reportOf([&] { handOff(activator); }),
                isReport("Error accessing deactivated ContextActivator",
                         "foundation::tav::management::thisthread::ContextActivator::getActiveContexts"));
    EXPECT_EQ(current(), "--");
}

// A task has its contexts where it runs and while it runs, on a thread that had none.
TEST_F(HandOffTest, RunsInTheContexts) {
    auto task = bind(handedOff(a.workspace), [this] {
        EXPECT_EQ(current(), "aa");
        EXPECT_EQ(active(), "1100");
    });
    EXPECT_EQ(active(), "0000");
    onOtherThread([&task] {
        task();
        EXPECT_EQ(current(), "--");
    });
    EXPECT_EQ(active(), "0000");
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// On a thread with contexts of its own those are back afterwards; none of them shines through.
TEST_F(HandOffTest, RestoresWhatTheThreadHad) {
    const ContextActivator here(b.workspace);
    bind(handedOff(a.zarn), [] { EXPECT_EQ(current(), "a-"); })();
    EXPECT_EQ(current(), "bb");
    EXPECT_EQ(active(), "0011");
    bind(ContextSet(), [] { EXPECT_EQ(current(), "--"); })();
    EXPECT_EQ(current(), "bb");
}

// Contexts that are current on the running thread anyway stay so.
TEST_F(HandOffTest, RunsWhereTheContextsAreCurrent) {
    auto task = bind(handedOff(a.workspace), [] { EXPECT_EQ(current(), "aa"); });
    const ContextActivator here(a.workspace);
    task();
    EXPECT_EQ(current(), "aa");
    EXPECT_EQ(active(), "1100");
}

// Arguments come as they were given, and results as they were returned: values, references, move-only ones.
TEST_F(HandOffTest, PassesArgumentsAndResults) {
    int number = 1;
    int& same = bind(ContextSet(), [](int& argument) -> int& { return argument; })(number);
    EXPECT_EQ(&same, &number);
    auto owning = bind(ContextSet(), [](std::unique_ptr<int> argument) { return argument; });
    EXPECT_EQ(*owning(std::make_unique<int>(2)), 2);
    auto member = bind(handedOff(a.zarn), &Mark<Zarn>::name);
    EXPECT_EQ(member(Mark<Zarn>{'m'}), 'm');
}

/// Tells how it was called.
struct Qualified {
    std::string operator()() & { return "lvalue"; }
    std::string operator()() && { return "rvalue"; }
};

// The callable is called the way it is used: once.
TEST_F(HandOffTest, CallsAnRvalue) {
    Qualified callable;
    EXPECT_EQ(bind(ContextSet(), callable)(), "rvalue");
}

// An exception passes through, and the contexts are restored.
TEST_F(HandOffTest, PassesExceptions) {
    const ContextActivator here(b.zarn);
    auto task = bind(handedOff(a.workspace), [] { throw std::runtime_error("no such page"); });
    EXPECT_THROW(task(), std::runtime_error);
    EXPECT_EQ(current(), "b-");
    EXPECT_EQ(active(), "0010");
}

constexpr const char* ranBefore =
    "Attempting to run a task that was run before, or moved from. A task gives its contexts back when it has run: hand "
    "them off again, and 'bind' a new task for each run.";

// A second run is reported, and calls nothing.
TEST_F(HandOffTest, RunsOnce) {
    int calls = 0;
    auto task = bind(handedOff(a.zarn), [&calls] { ++calls; });
    task();
    EXPECT_THAT(reportOf([&task] { task(); }), isStateReport("hand_off.cpp", ranBefore, "Task::operator()"));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(active(), "0000");
}

// So is a run of what was moved from; what it was moved to runs.
TEST_F(HandOffTest, IsMoved) {
    auto task = bind(handedOff(a.zarn), &HandOffTest::current);
    auto moved = std::move(task);
    EXPECT_THAT(reportOf([&task] { task(); }), isStateReport("hand_off.cpp", ranBefore, "Task::operator()"));
    EXPECT_EQ(moved(), "a-");
    moved = bind(handedOff(b.zarn), &HandOffTest::current);
    EXPECT_EQ(moved(), "b-");
}

using HandOffDeathTest = HandOffTest;

// Without a handler a second run ends the process.
TEST_F(HandOffDeathTest, SecondRunEndsTheProcess) {
    const ScopedErrorHandler none(nullptr);
    auto task = bind(ContextSet(), [] {});
    task();
    EXPECT_DEATH(task(), testing::HasSubstr(std::string(ranBefore) + " This indicates a bug in the code calling TAV."));
}

// A task that is dropped calls nothing and frees what it holds; its contexts can be used, and can go.
TEST_F(HandOffTest, IsDroppedWhereItWasMade) {
    auto held = std::make_shared<int>(0);
    bool isCalled = false;
    {
        const auto task = bind(handedOff(a.workspace), [held, &isCalled] { isCalled = true; });
    }
    EXPECT_FALSE(isCalled);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(current(), "--");
    const ContextActivator again(a.workspace);
    EXPECT_EQ(current(), "aa");
    a.workspace.destroy();
    a.zarn.destroy();
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// The same on another thread, which keeps the contexts that it has.
TEST_F(HandOffTest, IsDroppedOnAnotherThread) {
    auto held = std::make_shared<int>(0);
    auto task = bind(handedOff(a.workspace), [held] { ADD_FAILURE() << "It was not to be called."; });
    onOtherThread([this, &task] {
        const ContextActivator there(b.workspace);
        { const auto dropped = std::move(task); }
        EXPECT_EQ(current(), "bb");
    });
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(active(), "0000");
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// A context that was destroyed while the task waited is none for the callable, silently; its handle may be gone as
// well.
TEST_F(HandOffTest, SeesNoDestroyedContext) {
    auto ofDestroyedWorkspace = bind(handedOff(a.workspace), &HandOffTest::current);
    auto ofDestroyedZarn = bind(handedOff(a.workspace), &HandOffTest::current);
    std::optional<Context<Zarn>> freed(process);
    auto ofFreedZarn = bind(handedOff(*freed), &HandOffTest::current);
    freed.reset();
    const ContextActivator here(b.workspace);
    a.workspace.destroy();
    EXPECT_EQ(ofDestroyedWorkspace(), "a-");
    a.zarn.destroy();
    EXPECT_EQ(ofDestroyedZarn(), "--");
    EXPECT_EQ(ofFreedZarn(), "--");
    EXPECT_EQ(current(), "bb");
    EXPECT_THAT(handler.reports(), IsEmpty());
}

constexpr const char* isElsewhere =
    "Attempting to run a task while its contexts are current on another thread. Deactivate them there first: a context "
    "is current on one thread at a time.";

// Contexts of another thread are refused before anything is changed: the task runs when they are free.
TEST_F(HandOffTest, RefusesContextsOfAnotherThread) {
    const Watchdog watchdog("Running a task whose contexts another thread has current");
    const ContextActivator here(b.workspace);
    auto task = bind(handedOff(a.workspace), &HandOffTest::current);
    {
        const CurrentElsewhere elsewhere(a.workspace);
        EXPECT_THAT(reportOf([&task] { task(); }), isStateReport("hand_off.cpp", isElsewhere, "Task::operator()"));
        EXPECT_EQ(current(), "bb");
        EXPECT_EQ(active(), "1111");
    }
    EXPECT_EQ(active(), "0011");
    EXPECT_EQ(task(), "aa");
}

/// Contexts that an activator was refused of count one activation more for good, and fail an assertion when they are
/// destroyed after the tests.
class RefusedTaskTest : private IgnoredAssertions, public HandOffTest {
protected:
    const Watchdog watchdog{"Running tasks whose contexts another thread has current"};
};

constexpr const char* notConcurrent =
    "Non-concurrent context activated by more than one thread. Only contexts with 'Process' scope can be activated by "
    "multiple threads.";

// The same where the Workspace context alone would be refused: an activator would keep the Zarn context current.
TEST_F(RefusedTaskTest, ChangesNothingHalfWay) {
    ContextSet contexts = handedOff(a.workspace);
    {
        const ContextActivator outer(a.workspace);
        ContextActivator inner;
        const CurrentElsewhere elsewhere(a.workspace);
        EXPECT_THROW(inner.deactivate(), Reported);
    }
    const ContextActivator here(b.workspace);
    ASSERT_EQ(active(), "0111") << "A context that counts as active below one that doesn't is what this test needs.";
    auto task = bind(std::move(contexts), &HandOffTest::current);
    EXPECT_THAT(reportOf([&task] { task(); }), isStateReport("hand_off.cpp", isElsewhere, "Task::operator()"));
    EXPECT_EQ(current(), "bb");
    EXPECT_EQ(active(), "0111");
    a.workspace.destroy();
    EXPECT_EQ(task(), "a-");
}

// Previous contexts that went to another thread meanwhile can't be restored, which is reported as an activator does.
TEST_F(RefusedTaskTest, ReportsWhatItCannotRestore) {
    const ContextActivator here(b.zarn);
    std::optional<CurrentElsewhere<Zarn>> elsewhere;
    auto task = bind(handedOff(a.workspace), [&] { elsewhere.emplace(b.zarn); });
    EXPECT_THAT(reportOf([&task] { task(); }), isReport(notConcurrent, contextMember<Zarn>("incRef")));
    EXPECT_EQ(current(), "--");
}

// Together with an exception of the callable's that ends the process.
TEST_F(HandOffDeathTest, FailingTwiceEndsTheProcess) {
    const ContextActivator here(b.zarn);
    std::optional<CurrentElsewhere<Zarn>> elsewhere;
    auto task = bind(handedOff(a.workspace), [&] {
        elsewhere.emplace(b.zarn);
        throw std::runtime_error("no such page");
    });
    EXPECT_DEATH(task(), "terminate called");
}

// Threads and futures take tasks; a std::jthread's stop token comes as an argument.
TEST_F(HandOffTest, RunsInThreadsAndFutures) {
    std::string seen;
    std::thread(bind(handedOff(a.workspace), [&seen] { seen = current(); })).join();
    EXPECT_EQ(seen, "aa");
    std::jthread(bind(handedOff(b.zarn), [&seen](const std::stop_token& stop) {
        seen = current() + (stop.stop_possible() ? " stoppable" : "");
    })).join();
    EXPECT_EQ(seen, "b- stoppable");
    EXPECT_EQ(std::async(std::launch::async, bind(handedOff(a.zarn), &HandOffTest::current)).get(), "a-");
    std::packaged_task<std::string()> packaged(bind(handedOff(b.workspace), &HandOffTest::current));
    std::future<std::string> result = packaged.get_future();
    std::thread(std::move(packaged)).join();
    EXPECT_EQ(result.get(), "bb");
}

// A queue of tasks takes a context from thread to thread, one after the other.
TEST_F(HandOffTest, RunsFromQueues) {
    {
        const ContextActivator activator(a.workspace);
        state::create<Visits>();
    }
    std::deque<std::packaged_task<void()>> queue;
    for (const char visitor : {'1', '2', '3'})
        queue.emplace_back(bind(handedOff(a.workspace), [visitor] { state::findOrFail<Visits>().text += visitor; }));
    for (; !queue.empty(); queue.pop_front())
        onOtherThread(std::move(queue.front()));
    const ContextActivator activator(a.workspace);
    EXPECT_EQ(state::findOrFail<Visits>().text, "123");
}

// Asio's pool takes tasks, also when it never runs them; contexts of both projects are current at once.
TEST_F(HandOffTest, RunsInAThreadPool) {
    const Watchdog watchdog("Two tasks at once in a thread pool");
    std::barrier both(2);
    std::string seenByA;
    std::string seenByB;
    const auto look = [&both](std::string& seen) {
        both.arrive_and_wait();
        seen = current();
        both.arrive_and_wait();
    };
    boost::asio::thread_pool pool(2);
    boost::asio::post(pool, bind(handedOff(a.workspace), [&] { look(seenByA); }));
    boost::asio::post(pool, bind(handedOff(b.workspace), [&] { look(seenByB); }));
    pool.join();
    EXPECT_EQ(seenByA + seenByB, "aabb");
    EXPECT_EQ(active(), "0000");
    boost::asio::post(pool, bind(handedOff(a.workspace), [] { ADD_FAILURE() << "The pool has ended."; }));
}

}  // namespace
}  // namespace foundation::tests
