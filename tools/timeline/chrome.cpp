#include "chrome.h"

#include <array>
#include <utility>
#include "text.h"

namespace timeline {

namespace {

constexpr int operationsProcess = 1;
constexpr int currentProcess = 2;
constexpr int livesProcess = 3;

using Arguments = std::vector<std::pair<std::string_view, std::string>>;

// `,"args":{...}` with those that aren't empty.
std::string argumentsText(const Arguments& arguments) {
    std::string text;
    for (const auto& [name, value] : arguments) {
        if (value.empty()) continue;
        text += text.empty() ? ",\"args\":{" : ",";
        text += jsonString(name) + ':' + jsonString(value);
    }
    return text.empty() ? text : text + '}';
}

std::string named(std::string_view name, std::string_view category, const Arguments& arguments) {
    return ",\"name\":" + jsonString(name) + ",\"cat\":\"" + std::string(category) + '"' + argumentsText(arguments);
}

std::string life(std::string_view category, std::uint32_t id, std::string_view name, const Arguments& arguments) {
    return ",\"id\":\"" + std::string(category) + ' ' + std::to_string(id) + '"' + named(name, category, arguments);
}

std::string_view endingText(Operation::Ending ending) {
    switch (ending) {
        case Operation::Ending::thrown:
            return "by an exception";
        case Operation::Ending::exitMissing:
            return "exit missing in the trace";
        case Operation::Ending::unfinished:
            return "not left at the end of the trace";
        case Operation::Ending::exit:
            break;
    }
    return "";
}

std::string_view endingText(Context::Ending ending) {
    switch (ending) {
        case Context::Ending::endMissing:
            return "end missing in the trace";
        case Context::Ending::alive:
            return "alive at the end of the trace";
        case Context::Ending::freed:
            break;
    }
    return "";
}

std::string_view endingText(State::Ending ending) {
    switch (ending) {
        case State::Ending::beingDeleted:
            return "being deleted at the end of the trace";
        case State::Ending::endMissing:
            return "end missing in the trace";
        case State::Ending::alive:
            return "alive at the end of the trace";
        case State::Ending::deleted:
            break;
    }
    return "";
}

std::string_view stateName(const State& state) { return state.type.empty() ? "state" : state.type; }

std::string_view markName(Mark::Kind kind) {
    switch (kind) {
        case Mark::Kind::error:
            return "error";
        case Mark::Kind::caughtException:
            return "exception caught";
        case Mark::Kind::lateUse:
            return "late use";
        case Mark::Kind::slowDeletion:
            return "slow deletion";
        case Mark::Kind::thrown:
            break;
    }
    return "exception";
}

std::string beforeTrace(bool isBeginKnown) { return isBeginKnown ? "" : "before the trace"; }

}  // namespace

ChromeWriter::ChromeWriter(std::ostream& out) : m_out(out) {
    m_out << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
    writeName("process_name", {operationsProcess, 0}, "operations");
    writeName("process_name", {currentProcess, 0}, "current contexts");
    writeName("process_name", {livesProcess, 0}, "contexts and states");
}

ChromeWriter::Track ChromeWriter::currentTrack(Thread thread, Scope scope) {
    return {currentProcess, std::uint64_t{thread} * 2 - (scope == Scope::zarn ? 1 : 0)};
}

void ChromeWriter::threadAppeared(Thread thread) {
    const std::string name = "thread " + std::to_string(thread);
    writeName("thread_name", {operationsProcess, thread}, name);
    for (const Scope scope : {Scope::zarn, Scope::workspace}) {
        writeName("thread_name", currentTrack(thread, scope), name + ": " + std::string(scopeName(scope)));
    }
}

void ChromeWriter::operationBegan(const Operation& operation) {
    const Arguments arguments{{"context", m_names.get(operation.context)}, {"type", std::string(operation.type)}};
    write('B', {operationsProcess, operation.thread}, operation.begin,
          named(operation.signature->name, "operation", arguments));
}

void ChromeWriter::operationEnded(const Operation& operation) {
    write('E', {operationsProcess, operation.thread}, operation.end,
          argumentsText({{"left", std::string(endingText(operation.ending))}}));
}

void ChromeWriter::contextBegan(const Context& context) {
    m_names.add(context);
    write('b', {livesProcess, 0}, context.begin,
          life("context", context.id, scopeName(context.scope),
               {{"context", m_names.get(context.id)},
                {"address", addressText(context.address)},
                {"created", beforeTrace(context.isBeginKnown)}}));
}

void ChromeWriter::contextEnded(const Context& context) {
    const bool isDestroyed = context.destroyBegin && context.destroyEnd;
    const std::string took = isDestroyed ? duration(*context.destroyEnd - *context.destroyBegin) : "";
    write('e', {livesProcess, 0}, context.end,
          life("context", context.id, scopeName(context.scope),
               {{"parent", m_names.get(context.parent)},
                {"destroyed in", took},
                {"ended", std::string(endingText(context.ending))}}));
}

void ChromeWriter::stateBegan(const State& state) {
    write('b', {livesProcess, 0}, state.begin,
          life("state", state.id, stateName(state), {{"context", m_names.get(state.context)}}));
}

// One that was there before the trace is told only now.
void ChromeWriter::stateEnded(const State& state) {
    if (!state.isBeginKnown) stateBegan(state);
    const std::string took = state.deleteBegin ? duration(state.end - *state.deleteBegin) : "";
    write('e', {livesProcess, 0}, state.end,
          life("state", state.id, stateName(state),
               {{"inserted", beforeTrace(state.isBeginKnown)},
                {"deleted in", took},
                {"ended", std::string(endingText(state.ending))}}));
}

void ChromeWriter::currentChanged(Thread thread, Scope scope, ContextId context, Time time) {
    const Track track = currentTrack(thread, scope);
    if (m_openCurrent.erase(track.thread) > 0) write('E', track, time, "");
    if (context == 0) return;
    m_openCurrent.insert(track.thread);
    write('B', track, time, named(m_names.get(context), "current", {}));
}

void ChromeWriter::marked(const Mark& mark) {
    write('i', {operationsProcess, mark.thread}, mark.time,
          ",\"s\":\"t\"" + named(markName(mark.kind), "mark",
                                 {{"text", std::string(mark.text)}, {"line", std::to_string(mark.line)}}));
}

void ChromeWriter::finish(const Report& report) {
    m_out << "\n],\"otherData\":{\"trace\":" << jsonString(report.trace) << ",\"begin\":\""
          << utcTime(report.counts.begin) << '"';
    for (const CountLine& line : countLines(report)) {
        writeNumber(std::string(line.key), line.value);
    }
    std::string missing;
    for (const std::string& gap : gaps(report)) {
        missing += (missing.empty() ? "" : " ") + gap;
    }
    m_out << ",\n\"missing\":" << jsonString(missing);
    report.problems.forEach([this](Problem problem, const Problems::Occurrences& occurrences) {
        const std::string text = std::to_string(occurrences.count) + " (" + lineList(occurrences) + ')';
        m_out << ",\n" << jsonString(problemText(problem)) << ':' << jsonString(text);
    });
    m_out << "}}\n";
}

void ChromeWriter::write(char phase, Track track, Time time, std::string_view more) {
    m_out << (m_isFirst ? "\n" : ",\n");
    m_isFirst = false;
    m_out << "{\"ph\":\"" << phase << "\",\"pid\":" << std::to_string(track.process)
          << ",\"tid\":" << std::to_string(track.thread) << ",\"ts\":" << std::to_string(time - m_begin) << more << '}';
}

void ChromeWriter::writeName(std::string_view what, Track track, std::string_view name) {
    m_out << (m_isFirst ? "\n" : ",\n");
    m_isFirst = false;
    m_out << "{\"ph\":\"M\",\"pid\":" << std::to_string(track.process) << ",\"tid\":" << std::to_string(track.thread)
          << ",\"name\":\"" << what << "\",\"args\":{\"name\":" << jsonString(name) << "}}";
}

void ChromeWriter::writeNumber(const std::string& key, std::uint64_t number) {
    m_out << ",\n\"" << key << "\":" << std::to_string(number);
}

}  // namespace timeline
