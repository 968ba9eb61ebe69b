#include "page.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include "packed.h"
#include "page_parts.h"
#include "text.h"

namespace timeline {

namespace {

template <class Value>
std::uint64_t number(Value value) {
    return static_cast<std::uint64_t>(value);
}

// A time that may be absent: 0, or one more than it is.
std::uint64_t optionalNumber(const std::optional<Time>& time, Time begin) {
    return time ? number(*time - begin) + 1 : 0;
}

void addAddress(PackedNumbers& numbers, Address address) {
    numbers.add(address >> 32);
    numbers.add(address & 0xFFFFFFFFu);
}

std::string tile(const CountLine& line) {
    std::string attributes = " data-count=\"" + std::string(line.key) + '"';
    if (line.value == 0) attributes += " class=\"none\"";
    return "<div" + attributes + "><dd>" + std::to_string(line.value) + "</dd><dt>" + htmlText(line.label) +
           "</dt></div>\n";
}

}  // namespace

std::uint32_t PageWriter::Texts::number(std::string_view text) {
    const auto found = m_numbers.find(text);
    if (found != m_numbers.end()) return found->second;
    const auto added = m_numbers.emplace(std::string(text), static_cast<std::uint32_t>(m_texts.size())).first;
    m_texts.push_back(&added->first);
    return added->second;
}

std::string PageWriter::Texts::json() const {
    std::string text = "[";
    for (const std::string* const entry : m_texts) {
        text += (text.size() > 1 ? "," : "") + jsonString(*entry);
    }
    return text + ']';
}

PageWriter::PageWriter(const PageLimits& limits)
    : m_operations(limits.operations),
      m_contexts(limits.contexts),
      m_states(limits.states),
      m_activations(limits.activations),
      m_marksKept(limits.marks) {}

void PageWriter::threadAppeared(Thread thread) { m_threads.push_back(thread); }

void PageWriter::operationEnded(const Operation& operation) {
    m_operations.add({.begin = operation.begin,
                      .end = operation.end,
                      .thread = operation.thread,
                      .context = operation.context,
                      .type = m_texts.number(operation.type),
                      .name = m_texts.number(operation.signature->name),
                      .depth = operation.depth,
                      .kind = operation.signature->kind,
                      .ending = operation.ending});
}

void PageWriter::contextEnded(const Context& context) { m_contexts.add(context); }

void PageWriter::stateEnded(const State& state) {
    m_states.add({.begin = state.begin,
                  .end = state.end,
                  .deleteBegin = state.deleteBegin.value_or(state.end),
                  .id = state.id,
                  .type = m_texts.number(state.type),
                  .typeId = state.typeId,
                  .context = state.context,
                  .inserter = state.inserter,
                  .deleter = state.deleter,
                  .isBeginKnown = state.isBeginKnown,
                  .isDeletionKnown = state.deleteBegin.has_value(),
                  .ending = state.ending});
}

void PageWriter::currentChanged(Thread thread, Scope scope, ContextId context, Time time) {
    const std::pair slot(thread, scope);
    if (const auto current = m_current.find(slot); current != m_current.end()) {
        current->second.end = time;
        m_activations.add(current->second);
        m_current.erase(current);
    }
    if (context != 0) m_current[slot] = {time, time, thread, scope, context};
}

void PageWriter::marked(const Mark& mark) {
    if (m_marks.size() == m_marksKept) {
        ++m_marksDropped;
        return;
    }
    m_marks.push_back({mark.kind, mark.thread, mark.time, mark.line, mark.state, std::string(mark.text)});
}

void PageWriter::write(std::ostream& out, const Report& report) {
    std::string_view rest = pageParts::html;
    const auto copyTo = [&](std::string_view place) {
        const auto at = rest.find(place);
        out << rest.substr(0, at);
        rest.remove_prefix(at + place.size());
    };
    copyTo("@TITLE@");
    out << htmlText(report.trace);
    copyTo("@STYLE@");
    out << pageParts::style;
    copyTo("@HEADING@");
    out << htmlText(report.trace);
    copyTo("@COUNTS@");
    for (const CountLine& line : countLines(report)) {
        out << tile(line);
    }
    copyTo("@NOTES@");
    for (const std::string& note : notes(report)) {
        out << "<li>" << htmlText(note) << "</li>\n";
    }
    copyTo("@PROBLEMS@");
    report.problems.forEach([&out](Problem problem, const Problems::Occurrences& occurrences) {
        out << "<li>" << htmlText(problemLine(problem, occurrences)) << "</li>\n";
    });
    copyTo("@DATA@");
    writeData(out, report);
    copyTo("@SCRIPT@");
    out << pageParts::script << rest;
}

std::vector<std::string> PageWriter::notes(const Report& report) const {
    std::vector<std::string> sentences = gaps(report);
    const auto addDropped = [&](const auto& list, const std::string& what) {
        if (list.dropped() == 0) return;
        sentences.push_back("Left out of the drawing: " + std::to_string(list.dropped()) + ' ' + what + " of " +
                            duration(list.longestDropped()) + " or less. The counts include them.");
    };
    addDropped(m_operations, "operations");
    addDropped(m_contexts, "contexts");
    addDropped(m_states, "states");
    addDropped(m_activations, "activations");
    if (m_marksDropped > 0) {
        sentences.push_back("Left out: " + std::to_string(m_marksDropped) +
                            " errors, exceptions, late uses and slow deletions after the first " +
                            std::to_string(m_marksKept) + ". The counts include them.");
    }
    return sentences;
}

void PageWriter::writeData(std::ostream& out, const Report& report) {
    const Time begin = report.counts.begin;
    out << "{\"begin\":" << jsonString(utcTime(begin)) << ",\"length\":" << std::to_string(report.counts.end - begin)
        << ",\n\"texts\":" << m_texts.json() << ",\n\"operations\":";
    writeOperations(out, begin);
    out << ",\n\"contexts\":";
    writeContexts(out, begin);
    out << ",\n\"states\":";
    writeStates(out, begin);
    out << ",\n\"activations\":";
    writeActivations(out, begin);
    out << ",\n\"marks\":";
    writeMarks(out, begin);
    out << "}\n";
}

// A block for each thread, in the order of their numbers; times are differences to the one before.
void PageWriter::writeOperations(std::ostream& out, Time begin) {
    auto& entries = m_operations.entries();
    std::sort(entries.begin(), entries.end(), [](const PageOperation& a, const PageOperation& b) {
        return std::tie(a.thread, a.begin, a.depth) < std::tie(b.thread, b.begin, b.depth);
    });
    std::sort(m_threads.begin(), m_threads.end());
    PackedNumbers numbers(out);
    auto entry = entries.begin();
    for (const Thread thread : m_threads) {
        const auto end = std::find_if(entry, entries.end(),
                                      [&](const PageOperation& operation) { return operation.thread != thread; });
        numbers.add(thread);
        numbers.add(number(end - entry));
        for (Time previous = begin; entry != end; previous = entry++->begin) {
            numbers.add(number(entry->begin - previous));
            numbers.add(number(entry->end - entry->begin));
            numbers.add(entry->depth);
            numbers.add(number(entry->kind) * 4 + number(entry->ending));
            numbers.add(entry->name);
            numbers.add(entry->context);
            numbers.add(entry->type);
        }
    }
}

void PageWriter::writeContexts(std::ostream& out, Time begin) {
    auto& entries = m_contexts.entries();
    std::sort(entries.begin(), entries.end(), [](const Context& a, const Context& b) { return a.id < b.id; });
    PackedNumbers numbers(out);
    for (const Context& context : entries) {
        numbers.add(context.id);
        numbers.add(number(context.scope));
        numbers.add(context.number);
        addAddress(numbers, context.address);
        numbers.add(context.parent);
        numbers.add(number(context.parentSource));
        numbers.add(context.isBeginKnown ? 1 : 0);
        numbers.add(context.creator);
        numbers.add(number(context.begin - begin));
        numbers.add(optionalNumber(context.destroyBegin, begin));
        numbers.add(optionalNumber(context.destroyEnd, begin));
        numbers.add(context.destroyer);
        numbers.add(number(context.end - begin));
        numbers.add(number(context.ending));
    }
}

void PageWriter::writeStates(std::ostream& out, Time begin) {
    auto& entries = m_states.entries();
    std::sort(entries.begin(), entries.end(), [](const PageState& a, const PageState& b) {
        return std::tie(a.begin, a.context, a.typeId) < std::tie(b.begin, b.context, b.typeId);
    });
    PackedNumbers numbers(out);
    for (const PageState& state : entries) {
        numbers.add(number(state.begin - begin));
        numbers.add(number(state.end - begin));
        numbers.add(state.isDeletionKnown ? number(state.deleteBegin - begin) + 1 : 0);
        numbers.add(state.type);
        numbers.add(state.typeId);
        numbers.add(state.context);
        numbers.add(state.isBeginKnown ? 1 : 0);
        numbers.add(state.inserter);
        numbers.add(state.deleter);
        numbers.add(number(state.ending));
    }
}

void PageWriter::writeActivations(std::ostream& out, Time begin) {
    auto& entries = m_activations.entries();
    std::sort(entries.begin(), entries.end(), [](const Activation& a, const Activation& b) {
        return std::tie(a.thread, a.scope, a.begin, a.end) < std::tie(b.thread, b.scope, b.begin, b.end);
    });
    PackedNumbers numbers(out);
    for (const Activation& activation : entries) {
        numbers.add(activation.thread);
        numbers.add(number(activation.scope));
        numbers.add(activation.context);
        numbers.add(number(activation.begin - begin));
        numbers.add(number(activation.end - begin));
    }
}

// By id, from 1 in the order of `writeStates`, which comes before; 0 for those that were left out.
std::map<std::uint32_t, std::size_t> PageWriter::placesOfMarkedStates() {
    std::map<std::uint32_t, std::size_t> places;
    for (const PageMark& mark : m_marks) {
        places[mark.state] = 0;
    }
    const auto& states = m_states.entries();
    for (std::size_t i = 0; i != states.size(); ++i) {
        if (const auto marked = places.find(states[i].id); marked != places.end()) marked->second = i + 1;
    }
    return places;
}

void PageWriter::writeMarks(std::ostream& out, Time begin) {
    const auto places = placesOfMarkedStates();
    const char* separator = "[";
    for (const PageMark& mark : m_marks) {
        out << separator << '[' << std::to_string(number(mark.kind)) << ',' << std::to_string(mark.thread) << ','
            << std::to_string(mark.time - begin) << ',' << std::to_string(mark.line) << ','
            << std::to_string(places.at(mark.state)) << ',' << jsonString(mark.text) << ']';
        separator = ",\n";
    }
    out << (m_marks.empty() ? "[]" : "]");
}

}  // namespace timeline
