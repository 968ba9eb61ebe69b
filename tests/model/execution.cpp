#include "execution.h"

#include "comparison.h"
#include "model.h"
#include "world.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace foundation::tests::model {
namespace {

void addOnce(std::vector<Kind>& kinds, const Kind& kind) {
    if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end()) kinds.push_back(kind);
}

bool isReport(const Event& event) { return event.kind == Event::Kind::report; }

/// What is certain where memory has run out: records of the trace and of deletions are dropped that there is none for.
std::vector<Event> withoutRecords(std::vector<Event> events) {
    std::erase_if(events, [](const Event& event) {
        return event.kind == Event::Kind::record || event.kind == Event::Kind::deletion;
    });
    return events;
}

/// The result of a call whose report or type error can't be composed.
std::string withoutMessage(const std::string& result) {
    const bool hasMessage = result.starts_with("misuse: ") || result.find("TypeError ") != std::string::npos;
    if (!hasMessage) return result;
    return result.ends_with(", kept") ? "bad_alloc, kept" : "bad_alloc";
}

void describe(std::ostream& stream, const std::string& result, const std::vector<Event>& events,
              const std::string& observed) {
    stream << "  result: " << result << '\n';
    for (const Event& event : events)
        if (event.kind != Event::Kind::release) stream << "  " << event << '\n';
    for (std::istringstream lines(observed); !lines.eof();) {
        std::string line;
        std::getline(lines, line);
        if (!line.empty()) stream << "  " << line << '\n';
    }
}

/// A call as the model says that it may end.
struct Outcome {
    Effect effect;
    Model after;
};

/// The ways in which an allocation that fails may leave a call at its beginning.
std::vector<Outcome> abandonments(const Action& action, const Model& before) {
    std::vector<Outcome> outcomes;
    const auto add = [&](bool isMade) {
        outcomes.push_back({{}, before});
        outcomes.back().effect = outcomes.back().after.abandon(action, isMade);
    };
    add(true);
    if (action.offer == Offer::construction) add(false);
    return outcomes;
}

/// Takes what deleters call besides; false if that isn't the same of a state that dies either way.
bool takeOver(const DeathCalls& more, DeathCalls& calls) {
    return std::all_of(more.begin(), more.end(),
                       [&](const auto& call) { return calls.insert(call).first->second == call.second; });
}

/// Few enough for the time that a snapshot takes, and within a program, so that one that shrinks diverges still.
constexpr std::size_t operationsPerInspection = 16;

class Execution {
public:
    Execution(Layer layer, Recording recording, Coverage& coverage)
        : m_coverage(coverage),
          m_world(layer, recording),
          m_model(layer, recording, World::isStrict(), m_world.nextIDs()) {}

    std::optional<std::string> run(const Program& program);

private:
    enum class Origin : std::uint8_t { program, cleanup };

    bool perform(const Operation& operation, Origin origin);
    void follow(const Outcome& whole, const std::vector<Outcome>& abandoned, const World::Seen& seen);
    void inspect();
    bool isAsExpected(const Outcome& outcome, const World::Seen& seen);
    bool isAsExpectedOfFailure(const Outcome& outcome, const World::Seen& seen);
    bool areSameButForReport(const Effect& effect, const World::Seen& seen);
    void cleanUp();
    void performAll(const Kind& kind, std::uint8_t round);
    void cover(const Action& action, Origin origin, const Effect& effect, const World::Seen& seen);
    void diverge(const Outcome& outcome, const World::Seen& seen);

    Coverage& m_coverage;
    World m_world;
    Model m_model;
    Comparison m_comparison;
    std::ostringstream m_calls;
    std::size_t m_count = 0;
    std::optional<std::string> m_divergence;
};

std::optional<std::string> Execution::run(const Program& program) {
    for (const Operation& operation : program) {
        perform(operation, Origin::program);
        if (m_divergence) return m_divergence;
    }
    cleanUp();
    if (!m_divergence && !m_model.isClean())
        m_divergence = m_calls.str() + "Not everything can be cleaned up:\n" + m_model.observe();
    return m_divergence;
}

/// False if the call isn't made, since it can't be or has no defined effect.
bool Execution::perform(const Operation& operation, Origin origin) {
    Model before = m_model;
    const std::optional<Action> action = before.resolve(operation);
    if (!action) return false;
    Outcome whole{{}, before};
    whole.effect = whole.after.perform(*action);
    const Effect& effect = whole.effect;
    if (!effect.isDefined) return false;

    // A refused activation stays counted, which shows much later only: here it must be certain how far the call came.
    const bool isRefusedActivation = action->kind.verb >= Verb::activateNothing &&
                                     action->kind.verb <= Verb::activateSet &&
                                     std::any_of(effect.events.begin(), effect.events.end(), isReport);
    const bool canFail = canAllocationsFail && operation.failingAllocation > 0 && !isRefusedActivation;
    const std::vector<Outcome> abandoned = canFail ? abandonments(*action, before) : std::vector<Outcome>();
    // What deleters do is settled before the call, which must be the same for all ways that it may go, then.
    DeathCalls atDeath = effect.atDeath;
    const bool isSettled = std::all_of(abandoned.begin(), abandoned.end(), [&](const Outcome& outcome) {
        return outcome.effect.isDefined && takeOver(outcome.effect.atDeath, atDeath);
    });
    const unsigned failingAllocation = canFail && isSettled ? operation.failingAllocation : 0;
    m_calls << ++m_count << ". " << *action;
    if (failingAllocation > 0) m_calls << ", allocation " << failingAllocation << " fails";
    if (offersState(action->kind) && operation.atDeath) m_calls << ", at death " << *operation.atDeath;
    m_calls << '\n';

    const World::Seen seen = m_world.perform(*action, failingAllocation, atDeath);
    cover(*action, origin, effect, seen);
    follow(whole, abandoned, seen);
    if (!m_divergence && m_count % operationsPerInspection == 0) inspect();
    return true;
}

/// Goes on with the outcome that has come about.
void Execution::follow(const Outcome& whole, const std::vector<Outcome>& abandoned, const World::Seen& seen) {
    m_model = whole.after;
    if (seen.hasAllocationFailed ? isAsExpectedOfFailure(whole, seen) : isAsExpected(whole, seen)) return;
    const auto outcome = std::find_if(abandoned.begin(), abandoned.end(), [&](const Outcome& other) {
        return seen.hasAllocationFailed && isAsExpectedOfFailure(other, seen);
    });
    if (outcome == abandoned.end())
        diverge(whole, seen);
    else
        m_model = outcome->after;
}

/// Compares the trees of contexts, as one thread after the other sees them.
void Execution::inspect() {
    const int thread = static_cast<int>(m_count / operationsPerInspection % threadCount);
    const std::string expected = m_model.inspect(thread);
    const std::string seen = m_world.inspect(thread);
    if (seen != expected)
        m_divergence = m_calls.str() + "The model has the contexts\n" + expected + "The library has\n" + seen;
}

bool Execution::isAsExpected(const Outcome& outcome, const World::Seen& seen) {
    return seen.result == outcome.effect.result && m_comparison.isSame(outcome.effect.events, seen.events) &&
           m_world.observe(outcome.after.lookups()) == outcome.after.observe();
}

bool Execution::isAsExpectedOfFailure(const Outcome& outcome, const World::Seen& seen) {
    const std::string& result = outcome.effect.result;
    const bool isResult = seen.result == result || seen.result == withoutMessage(result);
    return isResult && areSameButForReport(outcome.effect, seen) &&
           m_world.observe(outcome.after.lookups()) == outcome.after.observe();
}

bool Execution::areSameButForReport(const Effect& effect, const World::Seen& seen) {
    const std::vector<Event> expected = withoutRecords(effect.events);
    const std::vector<Event> happened = withoutRecords(seen.events);
    if (m_comparison.isSame(expected, happened)) return true;
    for (auto report = expected.begin(); report != expected.end(); ++report) {
        if (!isReport(*report)) continue;
        std::vector<Event> lessOne(expected.begin(), report);
        lessOne.insert(lessOne.end(), report + 1, expected.end());
        if (m_comparison.isSame(lessOne, happened)) return true;
    }
    return false;
}

void Execution::performAll(const Kind& kind, std::uint8_t round) {
    const int thread = round / activatorCount % threadCount;
    while (!m_divergence && perform({.call = {.kind = kind, .a = round}, .thread = thread}, Origin::cleanup)) {
    }
}

/// Ends all objects. Activators that ended out of order leave contexts current; others in their place clear the
/// threads' slots until the contexts are gone. What deleters construct meanwhile is for the next round. An activator
/// may have no defined end on one thread before others have ended: each round begins with another one, on each thread.
void Execution::cleanUp() {
    constexpr std::uint8_t mostRounds = 3 * activatorCount * threadCount;
    for (std::uint8_t round = 0; round < mostRounds && !m_divergence && !m_model.isClean(); ++round) {
        performAll({Verb::freeActivator}, round);
        for (int thread = 0; thread < threadCount && !m_divergence; ++thread)
            if (m_model.hasCurrent(thread))
                perform({.call = {.kind = {Verb::activateNothing}}, .thread = thread}, Origin::cleanup);
        performAll({Verb::freeSet}, round);
        for (const Scope scope : {Scope::workspace, Scope::zarn, Scope::process})
            performAll({Verb::free, scope}, round);
        performAll({Verb::freeActivator}, round);
    }
}

void Execution::cover(const Action& action, Origin origin, const Effect& effect, const World::Seen& seen) {
    for (const Kind& kind : effect.nested)
        addOnce(m_coverage.nestedKinds, kind);
    for (const Event& event : seen.events)
        if (isReport(event))
            m_coverage.reports.insert(event.text.substr(event.text.find(": ") + 2));
        else if (event.kind == Event::Kind::deletion && event.text.find(", ") != std::string::npos)
            ++m_coverage.lateUses;
    if (origin != Origin::program) return;
    ++m_coverage.calls;
    if (seen.hasAllocationFailed) ++m_coverage.failedAllocations;
    addOnce(m_coverage.kinds, action.kind);
}

void Execution::diverge(const Outcome& outcome, const World::Seen& seen) {
    m_calls << "The model says:\n";
    describe(m_calls, outcome.effect.result, outcome.effect.events, outcome.after.observe());
    m_calls << "The library has done:\n";
    describe(m_calls, seen.result, seen.events, m_world.observe(outcome.after.lookups()));
    m_divergence = m_calls.str();
}

}  // namespace

std::optional<std::string> run(const Program& program, Layer layer, Recording recording, Coverage& coverage) {
    return Execution(layer, recording, coverage).run(program);
}

}  // namespace foundation::tests::model
