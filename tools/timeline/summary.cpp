#include "summary.h"

#include <algorithm>
#include <utility>
#include "names.h"
#include "text.h"

namespace timeline {

namespace {

void writeRow(std::ostream& out, const std::string& value, const std::string& label) {
    const auto columns = static_cast<std::size_t>(std::count_if(value.begin(), value.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0u) != 0x80u;  // "µ" has two bytes
    }));
    const std::string blanks(columns < 12 ? 12 - columns : 0, ' ');
    out << "  " << blanks << value << "  " << label << '\n';
}

}  // namespace

void Summary::contextEnded(const Context& context) {
    if (!context.destroyBegin || !context.destroyEnd) return;
    keepIfLong(m_contexts, {*context.destroyEnd - *context.destroyBegin, *context.destroyEnd,
                            contextName(context.scope, context.number)});
}

void Summary::stateEnded(const State& state) {
    if (!state.deleteBegin) return;
    const std::string type(state.type.empty() ? "type " + std::to_string(state.typeId) : std::string(state.type));
    const std::string owner = state.context == 0 ? "" : " of " + contextName(state.scope, state.contextNumber);
    keepIfLong(m_states, {state.end - *state.deleteBegin, state.end, type + owner});
}

void Summary::keepIfLong(std::vector<Ended>& longest, Ended ended) {
    const auto isSlower = [](const Ended& a, const Ended& b) { return a.took > b.took; };
    longest.insert(std::upper_bound(longest.begin(), longest.end(), ended, isSlower), std::move(ended));
    if (longest.size() > longestKept) longest.pop_back();
}

void Summary::write(std::ostream& out, const Report& report) const {
    out << printable(report.trace) << '\n';
    if (report.counts.records > 0) {
        out << "  from " << utcTime(report.counts.begin) << " to " << utcTime(report.counts.end) << ", "
            << duration(report.counts.end - report.counts.begin) << '\n';
    }
    for (const CountLine& line : countLines(report)) {
        writeRow(out, std::to_string(line.value), std::string(line.label));
    }
    const auto writeLongest = [&out](std::string_view title, const std::vector<Ended>& longest) {
        if (!longest.empty()) out << title << '\n';
        for (const Ended& ended : longest) {
            writeRow(out, duration(ended.took), printable(ended.name));
        }
    };
    writeLongest("longest to destroy", m_contexts);
    writeLongest("longest to delete", m_states);
    for (const std::string& gap : gaps(report)) {
        out << gap << '\n';
    }
    report.problems.forEach([&out](Problem problem, const Problems::Occurrences& occurrences) {
        out << problemLine(problem, occurrences) << '\n';
    });
}

}  // namespace timeline
