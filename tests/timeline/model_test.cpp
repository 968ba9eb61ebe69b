#include "model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include "timeline_support.h"

namespace timeline::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Keeps what is told, a line each, with times in microseconds from the first record on.
class Log : public Observer {
public:
    void traceBegan(Time time) override { m_begin = time; }
    void operationEnded(const Operation& operation) override {
        constexpr std::array endings{"", ", thrown", ", exit missing", ", unfinished"};
        operations.push_back(std::to_string(operation.thread) + std::string(operation.depth * std::size_t{2} + 1, ' ') +
                             operation.signature->name + of(operation.context) + span(operation.begin, operation.end) +
                             endings[static_cast<std::size_t>(operation.ending)]);
    }
    void contextBegan(const Context& context) override { m_names.add(context); }
    void contextEnded(const Context& context) override {
        constexpr std::array endings{"freed", "end missing", "alive"};
        constexpr std::array sources{"", ", recorded", ", only one alive"};
        std::string text = m_names.get(context.id) + span(context.begin, context.end) + ", ";
        text += endings[static_cast<std::size_t>(context.ending)];
        if (!context.isBeginKnown) text += ", unseen";
        if (context.destroyEnd) text += ", destroyed" + span(*context.destroyBegin, *context.destroyEnd);
        if (context.parent != 0) text += ", parent" + of(context.parent);
        contexts.push_back(text + sources[static_cast<std::size_t>(context.parentSource)]);
    }
    void stateEnded(const State& state) override {
        constexpr std::array endings{"deleted", "being deleted", "end missing", "alive"};
        std::string text = std::string(state.type) + of(state.context) + span(state.begin, state.end) + ", ";
        text += endings[static_cast<std::size_t>(state.ending)];
        if (!state.isBeginKnown) text += ", unseen";
        states.push_back(text);
    }
    void currentChanged(Thread thread, Scope scope, ContextId context, Time time) override {
        currents.push_back(std::to_string(thread) + ' ' + std::string(scopeName(scope)) + ':' + of(context) + " at " +
                           std::to_string(time - m_begin));
    }
    void marked(const Mark& mark) override {
        const std::string state = mark.state == 0 ? "" : ", state " + std::to_string(mark.state);
        marks.push_back("line " + std::to_string(mark.line) + state + ": " + std::string(mark.text));
    }

    std::vector<std::string> operations;
    std::vector<std::string> contexts;
    std::vector<std::string> states;
    std::vector<std::string> currents;
    std::vector<std::string> marks;

private:
    std::string span(Time begin, Time end) const {
        return " " + std::to_string(begin - m_begin) + "-" + std::to_string(end - m_begin);
    }
    std::string of(ContextId id) const { return id == 0 ? "" : " " + m_names.get(id); }

    Time m_begin = 0;
    ContextNames m_names;
};

struct Told : Log {
    explicit Told(const Trace& trace)
        : report(observe(trace.text(), {this})), problems(problemLines(report.problems)) {}
    Report report;
    std::vector<std::string> problems;
};

constexpr const char* process = "Process";
constexpr const char* zarn = "Zarn";
constexpr const char* workspace = "Workspace";

// Operations nest, each with its context and its duration, per thread.
TEST(Model, NestsOperations) {
    Trace trace;
    trace.create(process, "0xa0").destroy(process, "0xa0");
    const Told told(trace);
    EXPECT_THAT(told.operations,
                ElementsAre("1 Process created Process 1 0-1", "1   Process leaves its parent Process 1 3-4",
                            "1 Process destroy Process 1 2-5"));
    EXPECT_THAT(told.problems, IsEmpty());
}

// A context lives from its constructor to its destructor, and is destroyed in between.
TEST(Model, FollowsTheLifeOfAContext) {
    Trace trace;
    trace.create(process, "0xa0")
        .create(zarn, "0xb0")
        .destroy(zarn, "0xb0")
        .free(zarn, "0xb0")
        .destroy(process, "0xa0");
    trace.free(process, "0xa0");
    const Told told(trace);
    EXPECT_THAT(told.contexts, ElementsAre("Zarn 1 2-9, freed, destroyed 4-7, parent Process 1, only one alive",
                                           "Process 1 0-15, freed, destroyed 10-13"));
}

// A destructor that finds the context undestroyed destroys it.
TEST(Model, SeesDestructionByTheDestructor) {
    Trace trace;
    trace.create(process, "0xa0").enter(gcc::destruct(process), "this=0xa0").call(gcc::release(process), "this=0xa0");
    trace.leave(gcc::destruct(process));
    EXPECT_THAT(Told(trace).contexts, ElementsAre("Process 1 0-5, freed, destroyed 2-5"));
}

// A second destroy, and one that waits for children, leave no parent and destroy nothing.
TEST(Model, SeesThatDestroyDidNothing) {
    Trace trace;
    trace.create(process, "0xa0").call(gcc::destroy(process), "this=0xa0");
    const Told told(trace);
    EXPECT_THAT(told.contexts, ElementsAre("Process 1 0-3, alive"));
    EXPECT_EQ(told.report.counts.contextsDestroyed[1], 0u);
}

// A destruction that an exception ends before the parent is left has not happened.
TEST(Model, SeesThatDestroyWasThrownOutOf) {
    Trace trace;
    trace.create(process, "0xa0").enter(gcc::destroy(process), "this=0xa0").enter(gcc::release(process), "this=0xa0");
    trace.leave(gcc::release(process), " [throw]").leave(gcc::destroy(process), " [throw]");
    const Told told(trace);
    EXPECT_THAT(told.contexts, ElementsAre("Process 1 0-5, alive"));
    EXPECT_THAT(told.operations,
                ElementsAre("1 Process created Process 1 0-1", "1   Process leaves its parent Process 1 3-4, thrown",
                            "1 Process destroy Process 1 2-5, thrown"));
    EXPECT_THAT(told.marks, ElementsAre("line 5: Process leaves its parent was left by an exception",
                                        "line 6: Process destroy was left by an exception"));
    EXPECT_EQ(told.report.counts.thrown, 2u);
}

// Contexts at the address of a freed one are other contexts.
TEST(Model, TellsContextsAtOneAddressApart) {
    Trace trace;
    trace.create(process, "0xa0").free(process, "0xa0").create(process, "0xa0");
    EXPECT_THAT(Told(trace).contexts, ElementsAre("Process 1 0-3, freed", "Process 2 4-5, alive"));
}

// Without the end of the one before, that has ended by then.
TEST(Model, EndsAContextWhoseEndIsMissing) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "Log").create(process, "0xa0");
    const Told told(trace);
    EXPECT_THAT(told.contexts, ElementsAre("Process 1 0-4, end missing", "Process 2 4-5, alive"));
    EXPECT_THAT(told.states, ElementsAre("Log Process 1 3-4, end missing"));
    EXPECT_THAT(told.problems,
                ElementsAre("contexts whose end is missing, shown until another one was created at their "
                            "address: 1 (line 5)"));
}

// Contexts that the trace only mentions were there before it.
TEST(Model, KnowsContextsFromBeforeTheTrace) {
    Trace trace;
    trace.add(16, "getNextID  scope=foundation::tav::scope::Zarn  id=0  type=Log");
    trace.add(16, "push context  zarn=0xb0  workspace=0xc0");
    trace.destroy(zarn, "0xb0", {"0"});
    const Told told(trace);
    EXPECT_THAT(told.contexts, ElementsAre("Workspace 1 0-7, alive, unseen, parent Zarn 1, recorded",
                                           "Zarn 1 0-7, alive, unseen, destroyed 2-7"));
    EXPECT_THAT(told.states, ElementsAre("Log Zarn 1 0-6, deleted, unseen"));
    EXPECT_EQ(told.report.counts.contextsUnseen[2], 1u);
    EXPECT_EQ(told.report.counts.statesUnseen, 1u);
}

// A type that was seen with its id has its name wherever the id stands alone.
TEST(Model, LearnsTypesFromInsertions) {
    Trace trace;
    trace.create(zarn, "0xb0").create(zarn, "0xb1").create(process, "0xa0").insert(zarn, "0xb0", "0", "Log");
    trace.call(gcc::eraseAll(workspace), "typeID=1 getName(type)=Text this=0xa0");
    trace.destroy(zarn, "0xb1", {"0"}).destroy(workspace, "0xc0", {"1"});
    EXPECT_THAT(Told(trace).states, ElementsAre("Log Zarn 2 2-14, deleted, unseen",
                                                "Text Workspace 1 0-20, deleted, unseen", "Log Zarn 1 7-21, alive"));
}

// An activation names the parent of a Workspace context; without it, several could be it.
TEST(Model, LearnsParentsFromActivations) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").create(zarn, "0xb1").create(workspace, "0xc0");
    trace.create(workspace, "0xc1").add(16, "push context  zarn=0xb1  workspace=0xc1");
    EXPECT_THAT(Told(trace).contexts,
                ElementsAre("Workspace 2 8-10, alive, parent Zarn 2, recorded", "Workspace 1 6-10, alive",
                            "Zarn 2 4-10, alive, parent Process 1, only one alive",
                            "Zarn 1 2-10, alive, parent Process 1, only one alive", "Process 1 0-10, alive"));
}

// States live from their insertion to the end of their deleter.
TEST(Model, FollowsTheLifeOfStates) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "Log").insert(process, "0xa0", "1", "Text");
    trace.destroy(process, "0xa0", {"1", "0"}).free(process, "0xa0");
    const Told told(trace);
    EXPECT_THAT(told.states, ElementsAre("Text Process 1 5-10, deleted", "Log Process 1 3-12, deleted"));
    EXPECT_EQ(told.report.counts.statesInserted, 2u);
    EXPECT_EQ(told.report.counts.statesDeleted, 2u);
    EXPECT_EQ(told.report.counts.statesAlive, 0u);
}

// findOrInsert inserts where there is nothing; an insertion that was thrown out of has not happened.
TEST(Model, SeesWhatWasInserted) {
    const std::string details = "typeID=0 getName(type)=Log this=0xa0";
    Trace trace;
    trace.create(process, "0xa0").enter(gcc::insert(process), details).leave(gcc::insert(process), " [throw]");
    trace.call(gcc::findOrInsert(process), details).call(gcc::findOrInsert(process), details);
    const Told told(trace);
    EXPECT_THAT(told.states, ElementsAre("Log Process 1 5-7, alive"));
    EXPECT_EQ(told.report.counts.statesInserted, 1u);
    EXPECT_EQ(told.report.counts.statesAlive, 1u);
}

// A state that a second insertion finds gone was taken out by another thread, which has yet to tell.
TEST(Model, EndsAStateThatWasReplaced) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "Log").insert(process, "0xa0", "0", "Log");
    EXPECT_THAT(Told(trace).states, ElementsAre("Log Process 1 3-5, end missing", "Log Process 1 5-5, alive"));
}

// A deletion within erase is one of that context, even if others have such a state.
TEST(Model, AttributesErasedStates) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").create(zarn, "0xb1");
    trace.insert(zarn, "0xb0", "0", "Log").insert(zarn, "0xb1", "0", "Log");
    trace.enter(gcc::erase(zarn), "typeID=0 getName(type)=Log this=0xb1").deleteState("0").leave(gcc::erase(zarn));
    EXPECT_THAT(Told(trace).states, ElementsAre("Log Zarn 2 9-12, deleted", "Log Zarn 1 7-13, alive"));
}

// eraseAll deletes in the order of the contexts' creation, those of its scope only.
TEST(Model, AttributesStatesOfEraseAll) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "Other").create(zarn, "0xb0").create(zarn, "0xb1");
    trace.insert(zarn, "0xb1", "0", "Log").insert(zarn, "0xb0", "0", "Log");
    trace.enter(gcc::eraseAll(zarn), "typeID=0 getName(type)=Log this=0xa0").deleteState("0").deleteState("0");
    trace.leave(gcc::eraseAll(zarn));
    EXPECT_THAT(Told(trace).states,
                ElementsAre("Log Zarn 1 11-14, deleted", "Log Zarn 2 9-16, deleted", "Other Process 1 3-17, alive"));
}

// States that a context's destructor has left die behind its exit.
TEST(Model, AttributesStatesThatDieLast) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").destroy(zarn, "0xb0").insert(zarn, "0xb0", "0", "Late");
    trace.insert(process, "0xa0", "0", "Log").free(zarn, "0xb0").deleteState("0");
    const Told told(trace);
    EXPECT_THAT(told.states, ElementsAre("Late Zarn 1 9-15, deleted", "Log Process 1 11-15, alive"));
    EXPECT_THAT(told.problems, IsEmpty());
}

// Outside of every operation the only one of the type is meant; if there are several, the trace doesn't tell.
TEST(Model, LeavesOwnersOpenThatCouldBeSeveral) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").insert(process, "0xa0", "0", "A").insert(zarn, "0xb0", "0", "B");
    trace.insert(zarn, "0xb0", "1", "C").deleteState("1").deleteState("0");
    const Told told(trace);
    EXPECT_THAT(told.states, ElementsAre("C Zarn 1 9-11, deleted", " 12-13, deleted, unseen", "B Zarn 1 7-13, alive",
                                         "A Process 1 5-13, alive"));
    EXPECT_THAT(told.problems, ElementsAre("deleted states whose context the trace doesn't tell: 1 (line 13)"));
    EXPECT_EQ(told.report.counts.statesUnseen, 0u);
}

// What a deleter does is not what deletes.
TEST(Model, AttributesNestedDeletions) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").insert(process, "0xa0", "0", "A").insert(zarn, "0xb0", "0", "B");
    trace.enter(gcc::destroy(zarn), "this=0xb0").call(gcc::release(zarn), "this=0xb0");
    trace.enter(gcc::deleteState, "typeID=0").enter(gcc::erase(process), "typeID=0 getName(type)=A this=0xa0");
    trace.deleteState("0").leave(gcc::erase(process)).leave(gcc::deleteState).leave(gcc::destroy(zarn));
    EXPECT_THAT(Told(trace).states, ElementsAre("A Process 1 5-14, deleted", "B Zarn 1 7-16, deleted"));
}

// Activations make contexts current and restore others, per thread.
TEST(Model, FollowsWhatIsCurrent) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").create(workspace, "0xc0");
    trace.add(16, "push context  zarn=0xb0  workspace=0").add(16, "push context  zarn=0xb0  workspace=0xc0");
    trace.on(2).add(16, "push context  zarn=0  workspace=0");
    trace.on(1).add(16, "pop context  zarn=0xb0  workspace=0xc0  restoring  zarn=0xb0  workspace=0");
    trace.add(16, "pop context  zarn=0xb0  workspace=0  restoring  zarn=0  workspace=0");
    const Told told(trace);
    EXPECT_THAT(told.currents, ElementsAre("1 Zarn: Zarn 1 at 6", "1 Workspace: Workspace 1 at 7", "1 Workspace: at 9",
                                           "1 Zarn: at 10"));
    EXPECT_EQ(told.report.counts.activations, 3u);
    EXPECT_EQ(told.report.counts.deactivations, 2u);
}

// A destroyed context is current no longer, and can't be restored.
TEST(Model, DestroyedContextsAreNotCurrent) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").add(16, "push context  zarn=0xb0  workspace=0");
    trace.add(16, "push context  zarn=0  workspace=0").destroy(zarn, "0xb0");
    trace.add(16, "pop context  zarn=0  workspace=0  restoring  zarn=0xb0  workspace=0").create(zarn, "0xb1");
    trace.add(16, "push context  zarn=0xb1  workspace=0").destroy(zarn, "0xb1");
    EXPECT_THAT(Told(trace).currents,
                ElementsAre("1 Zarn: Zarn 1 at 4", "1 Zarn: at 5", "1 Zarn: Zarn 2 at 13", "1 Zarn: at 17"));
}

// Where a trace ends within operations, they are not left, and what they delete is being deleted.
TEST(Model, EndsWhatIsUnfinished) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "Log");
    trace.enter(gcc::destroy(process), "this=0xa0").call(gcc::release(process), "this=0xa0");
    trace.enter(gcc::deleteState, "typeID=0");
    const Told told(trace);
    EXPECT_THAT(told.operations, ElementsAre("1 Process created Process 1 0-1", "1 Process insert Process 1 2-3",
                                             "1   Process leaves its parent Process 1 5-6",
                                             "1   state deleted Process 1 7-7, unfinished",
                                             "1 Process destroy Process 1 4-7, unfinished"));
    EXPECT_THAT(told.states, ElementsAre("Log Process 1 3-7, being deleted"));
    EXPECT_THAT(told.contexts, ElementsAre("Process 1 0-7, alive"));
    EXPECT_EQ(told.report.counts.unfinished, 2u);
    EXPECT_EQ(told.report.counts.contextsAlive[1], 1u);
    EXPECT_THAT(told.problems, IsEmpty());
}

// A lost exit is noticed at the next record that is indented no deeper.
TEST(Model, EndsOperationsWhoseExitIsMissing) {
    const std::string base = Trace::time(0).substr(0, 20);
    const auto line = [&](int time, unsigned severity, const std::string& text) {
        return Trace::time(time) + " 1 [foundation::tav] " + std::to_string(severity) + ' ' + text + '\n';
    };
    Trace trace;
    trace.raw(line(0, 32, gcc::destroy(process) + "  this=0xa0") + line(1, 32, "  " + gcc::release(process)) +
              line(2, 16, "push context  zarn=0  workspace=0") + line(3, 64, gcc::destroy(process)) +
              line(4, 32, gcc::destroy(process) + "  this=0xa0") + line(5, 64, gcc::insert(process)));
    const Told told(trace);
    EXPECT_THAT(told.operations, ElementsAre("1   Process leaves its parent 1-2, exit missing",
                                             "1 Process destroy Process 1 0-2, exit missing",
                                             "1 Process destroy Process 1 4-5, exit missing"));
    EXPECT_THAT(
        told.problems,
        ElementsAre("operations whose exit is missing, shown until the next record that shows they had ended: 3 "
                    "(lines 3, 3, 6)",
                    "exits of operations whose entry is missing: 2 (lines 4, 6)"));
}

// Operations of other threads are no reason to end this thread's.
TEST(Model, KeepsThreadsApart) {
    Trace trace;
    trace.raw(Trace::time(0) + " 1 [foundation::tav] 32 void a()\n" + Trace::time(1) +
              " 2 [foundation::tav] 32 void b()\n" + Trace::time(2) + " 1 [foundation::tav] 64 void a()\n" +
              Trace::time(3) + " 2 [foundation::tav] 64 void b()\n");
    const Told told(trace);
    EXPECT_THAT(told.operations, ElementsAre("1 void a() 0-2", "2 void b() 1-3"));
    EXPECT_THAT(told.problems, IsEmpty());
    EXPECT_EQ(told.report.counts.threads, 2u);
}

// Without the details there are operations, and nothing is made up about contexts and states.
TEST(Model, InventsNothingWithoutDetails) {
    Trace trace;
    trace.call(gcc::create(process), "").call(gcc::insert(process), "").call(gcc::deleteState, "");
    const Told told(trace);
    EXPECT_THAT(told.operations, ElementsAre("1 Process created 0-1", "1 Process insert 2-3", "1 state deleted 4-5"));
    EXPECT_THAT(told.contexts, IsEmpty());
    EXPECT_THAT(told.states, IsEmpty());
    EXPECT_THAT(told.problems, IsEmpty());
    EXPECT_THAT(gaps(told.report),
                ElementsAre("No operation bears its values (severity 2 of the mask): contexts and states are missing.",
                            "No activation is on record (severity 16 of the mask)."));
}

// Errors and caught exceptions are marks, with their line; records of other channels are counted.
TEST(Model, MarksErrorsAndExceptions) {
    Trace trace;
    trace.add(512, "m_function=f  m_file=a.cpp  m_line=7  m_message=Oh.").add(512, "Exception caught: what\\nnested");
    trace.raw(Trace::time(3) + " 1 [app] 512 its own\n");
    const Told told(trace);
    EXPECT_THAT(told.marks, ElementsAre("line 1: Oh. (f, m_file=a.cpp  m_line=7)", "line 2: what\\nnested"));
    EXPECT_EQ(told.report.counts.errors, 1u);
    EXPECT_EQ(told.report.counts.caughtExceptions, 1u);
    EXPECT_EQ(told.report.counts.otherChannels, 1u);
    EXPECT_EQ(told.report.counts.records, 3u);
}

// What a deleter did too late, and that it took long, are marks of the state that it has deleted, with the names of
// types and contexts.
TEST(Model, MarksWhatWasNoticedInADeletion) {
    Trace trace;
    trace.create(process, "0xa0").create(zarn, "0xb0").insert(zarn, "0xb0", "0", "Cache");
    trace.add(16, "getNextID  scope=foundation::tav::scope::Zarn  id=1  type=Log");
    trace.enter(gcc::destroy(zarn), "this=0xb0").call(gcc::release(zarn), "this=0xb0");
    trace.deleteState("1").deleteState("0");
    trace.add(16, "late find" + of(zarn, "1", "0xb0") + "  by" + of(zarn, "0"));
    trace.add(16, "late insert" + of(zarn, "1", "0xb0") + "  by" + of(zarn, "0"));
    trace.add(16, "slow deletion" + of(zarn, "0", "0xb0") + "  microseconds=1503190  limit=1000");
    trace.leave(gcc::destroy(zarn));
    const Told told(trace);
    EXPECT_THAT(told.marks,
                ElementsAre("line 15, state 1: the deleter of Cache of Zarn 1 looked for Log in Zarn 1, where it had "
                            "already been deleted",
                            "line 16, state 1: the deleter of Cache of Zarn 1 created Log anew in Zarn 1, where it had "
                            "already been deleted",
                            "line 17, state 1: Cache of Zarn 1 took 1.50 s; the limit is 1 ms"));
    EXPECT_EQ(told.report.counts.lateUses, 2u);
    EXPECT_EQ(told.report.counts.slowDeletions, 1u);
    EXPECT_THAT(told.problems, IsEmpty());
}

// The deletions around and within another one are told apart, each by its own exit.
TEST(Model, MarksNestedDeletions) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "A").insert(process, "0xa0", "1", "B");
    trace.enter(gcc::erase(process), "typeID=0 getName(type)=A this=0xa0").enter(gcc::deleteState, "typeID=0");
    trace.enter(gcc::erase(process), "typeID=1 getName(type)=B this=0xa0").deleteState("1");
    trace.add(16, "slow deletion" + of(process, "1", "0xa0") + "  microseconds=7  limit=5");
    trace.leave(gcc::erase(process)).leave(gcc::deleteState);
    trace.add(16, "slow deletion" + of(process, "0", "0xa0") + "  microseconds=9  limit=5");
    trace.leave(gcc::erase(process));
    EXPECT_THAT(Told(trace).marks, ElementsAre("line 12, state 2: B of Process 1 took 7 µs; the limit is 5 µs",
                                               "line 15, state 1: A of Process 1 took 9 µs; the limit is 5 µs"));
}

// A deletion whose exit was lost has ended by the time of what is said of it.
TEST(Model, MarksADeletionWhoseExitIsMissing) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "A");
    trace.raw(Trace::time(4) + " 1 [foundation::tav] 32 " + gcc::deleteState + "  typeID=0\n" + Trace::time(5) +
              " 1 [foundation::tav] 16 slow deletion" + of(process, "0", "0") + "  microseconds=7  limit=5\n");
    const Told told(trace);
    EXPECT_THAT(told.marks, ElementsAre("line 6, state 1: A of Process 1 took 7 µs; the limit is 5 µs"));
    EXPECT_THAT(told.states, ElementsAre("A Process 1 3-5, deleted"));
}

// Of a state that dies when its context is freed, the library doesn't know the scope: the trace may show it.
TEST(Model, MarksStatesWithoutScope) {
    Trace trace;
    trace.create(zarn, "0xb0").destroy(zarn, "0xb0").insert(zarn, "0xb0", "0", "Late").free(zarn, "0xb0");
    trace.deleteState("0").add(16, "slow deletion  scope=  id=0  context=0  microseconds=7  limit=5");
    trace.add(16, "slow deletion  scope=  id=1  context=0  microseconds=7  limit=5");
    EXPECT_THAT(Told(trace).marks,
                ElementsAre("line 13, state 1: Late of Zarn 1 took 7 µs; the limit is 5 µs",
                            "line 14: a state of type id 1 of a freed context took 7 µs; the limit is 5 µs"));
}

// A state whose context the trace doesn't tell has its marks as well.
TEST(Model, MarksStatesOfUnknownContexts) {
    Trace trace;
    trace.deleteState("0").add(16, "slow deletion" + of(zarn, "0", "0") + "  microseconds=7  limit=5");
    EXPECT_THAT(Told(trace).marks,
                ElementsAre("line 3, state 1: a state of type id 0 of a Zarn context took 7 µs; the limit is 5 µs"));
}

// A mark is no other state's: not one of another type or scope, nor one that was deleted before another operation.
TEST(Model, MarksNoOtherState) {
    Trace trace;
    trace.create(process, "0xa0").insert(process, "0xa0", "0", "A").insert(process, "0xa0", "1", "B");
    trace.enter(gcc::destroy(process), "this=0xa0").deleteState("1");
    trace.add(16, "slow deletion" + of(process, "0", "0") + "  microseconds=7  limit=5");
    trace.deleteState("0").call(gcc::release(process), "this=0xa0");
    trace.add(16, "slow deletion" + of(process, "0", "0") + "  microseconds=7  limit=5");
    trace.leave(gcc::destroy(process)).insert(process, "0xa0", "2", "C").deleteState("2");
    trace.add(16, "slow deletion" + of(zarn, "2", "0") + "  microseconds=7  limit=5");
    EXPECT_THAT(Told(trace).marks,
                ElementsAre("line 10: A of a Process context took 7 µs; the limit is 5 µs",
                            "line 15: A of a Process context took 7 µs; the limit is 5 µs",
                            "line 21: a state of type id 2 of a Zarn context took 7 µs; the limit is 5 µs"));
}

// The last states of a context die when it is freed: it has its name still, which is no other context's, and none
// begins at its address.
TEST(Model, NamesFreedContextsInMarks) {
    Trace trace;
    trace.create(zarn, "0xb0").destroy(zarn, "0xb0").insert(zarn, "0xb0", "0", "Late").free(zarn, "0xb0");
    trace.deleteState("0");
    trace.add(16, "late find" + of(zarn, "1", "0xb0") + "  by" + of(zarn, "0"));
    trace.add(16, "slow deletion" + of(zarn, "0", "0xb0") + "  microseconds=7  limit=5");
    trace.add(16, "slow deletion" + of(zarn, "1", "0xb1") + "  microseconds=7  limit=5");
    trace.add(16, "slow deletion" + of(process, "1", "0xb0") + "  microseconds=7  limit=5");
    const Told told(trace);
    EXPECT_THAT(
        told.marks,
        ElementsAre("line 13, state 1: the deleter of Late of Zarn 1 looked for a state of type id 1 in Zarn 1, "
                    "where it had already been deleted",
                    "line 14, state 1: Late of Zarn 1 took 7 µs; the limit is 5 µs",
                    "line 15: a state of type id 1 of the Zarn context at 0xb1 took 7 µs; the limit is 5 µs",
                    "line 16: a state of type id 1 of the Process context at 0xb0 took 7 µs; the limit is 5 µs"));
    EXPECT_THAT(told.contexts, ElementsAre("Zarn 1 0-9, freed, destroyed 2-5"));
}

// Without the operations, a teardown's records stand alone: contexts that nothing else has shown have their address.
TEST(Model, MarksWithoutOperations) {
    Trace trace;
    trace.add(16, "push context  zarn=0xb0  workspace=0");
    trace.add(16, "late find" + of(zarn, "3", "0xb0") + "  by" + of(workspace, "7"));
    trace.add(16, "late insert" + of(process, "3", "0xa0") + "  by" + of(workspace, "7"));
    trace.add(16, "slow deletion" + of(workspace, "7", "0xb0") + "  microseconds=7000  limit=5000");
    trace.add(16, "slow deletion" + of(workspace, "7", "0") + "  microseconds=7000  limit=5000");
    const Told told(trace);
    EXPECT_THAT(
        told.marks,
        ElementsAre(
            "line 2: the deleter of a state of type id 7 of a Workspace context looked for a state of type id 3 "
            "in Zarn 1, where it had already been deleted",
            "line 3: the deleter of a state of type id 7 of a Workspace context created a state of type id 3 "
            "anew in the Process context at 0xa0, where it had already been deleted",
            "line 4: a state of type id 7 of the Workspace context at 0xb0 took 7 ms; the limit is 5 ms",
            "line 5: a state of type id 7 of a Workspace context took 7 ms; the limit is 5 ms"));
    EXPECT_THAT(told.contexts, ElementsAre("Zarn 1 0-4, alive, unseen"));
    EXPECT_THAT(told.problems, IsEmpty());
}

// The records of a teardown show that their severity is in the mask.
TEST(Model, MissesNoActivationsBesideATeardown) {
    Trace trace;
    trace.create(zarn, "0xb0").add(16, "late find" + of(zarn, "3", "0xb0") + "  by" + of(zarn, "7"));
    EXPECT_THAT(gaps(Told(trace).report), IsEmpty());
}

}  // namespace

}  // namespace timeline::tests
