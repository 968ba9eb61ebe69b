#include "report.h"

namespace timeline {

namespace {

std::uint64_t of(const std::array<std::uint64_t, scopeCount>& counts, Scope scope) {
    return counts[static_cast<std::size_t>(scope)];
}

std::uint64_t total(const std::array<std::uint64_t, scopeCount>& counts) {
    std::uint64_t sum = 0;
    for (const std::uint64_t count : counts) {
        sum += count;
    }
    return sum;
}

}  // namespace

std::vector<CountLine> countLines(const Report& report) {
    const Counts& counts = report.counts;
    return {
        {"records", "records", counts.records},
        {"threads", "threads", counts.threads},
        {"operations", "operations entered", counts.entries},
        {"exits", "operations left", counts.exits},
        {"unfinished", "operations not left at the end", counts.unfinished},
        {"activations", "activations", counts.activations},
        {"deactivations", "activations ended", counts.deactivations},
        {"processContexts", "Process contexts created", of(counts.contexts, Scope::process)},
        {"zarnContexts", "Zarn contexts created", of(counts.contexts, Scope::zarn)},
        {"workspaceContexts", "Workspace contexts created", of(counts.contexts, Scope::workspace)},
        {"contextsUnseen", "contexts from before the trace", total(counts.contextsUnseen)},
        {"contextsDestroyed", "contexts destroyed", total(counts.contextsDestroyed)},
        {"contextsAlive", "contexts alive at the end", total(counts.contextsAlive)},
        {"statesInserted", "states inserted", counts.statesInserted},
        {"statesUnseen", "states from before the trace", counts.statesUnseen},
        {"statesDeleted", "states deleted", counts.statesDeleted},
        {"statesAlive", "states alive at the end", counts.statesAlive},
        {"typeIds", "type ids handed out", counts.typeIds},
        {"errors", "errors reported", counts.errors},
        {"caughtExceptions", "exceptions caught by destructors", counts.caughtExceptions},
        {"thrown", "operations left by an exception", counts.thrown},
        {"lateUses", "late uses of deleted states", counts.lateUses},
        {"slowDeletions", "deletions over the limit", counts.slowDeletions},
        {"otherChannels", "records of other channels", counts.otherChannels},
        {"unreadableLines", "lines not read, or not whole", report.problems.unreadableLines()},
    };
}

std::vector<std::string> gaps(const Report& report) {
    const Counts& counts = report.counts;
    std::vector<std::string> sentences;
    if (counts.records == 0) {
        sentences.emplace_back("There is no record in it.");
        return sentences;
    }
    if (counts.entries == 0) {
        sentences.emplace_back(
            "No operation is on record (severities 32 and 64 of the mask): contexts and states are missing.");
    } else if (total(counts.contexts) + total(counts.contextsUnseen) == 0) {
        sentences.emplace_back(
            "No operation bears its values (severity 2 of the mask): contexts and states are missing.");
    }
    const std::uint64_t activations = counts.activations + counts.deactivations;
    if (activations + counts.typeIds + counts.lateUses + counts.slowDeletions == 0) {
        sentences.emplace_back("No activation is on record (severity 16 of the mask).");
    }
    return sentences;
}

std::string lineList(const Problems::Occurrences& occurrences) {
    std::string list = occurrences.count == 1 ? "line " : "lines ";
    for (std::size_t i = 0; i != occurrences.firstLines.size(); ++i) {
        if (i > 0) list += ", ";
        list += std::to_string(occurrences.firstLines[i]);
    }
    const std::uint64_t more = occurrences.count - occurrences.firstLines.size();
    if (more > 0) list += " and " + std::to_string(more) + " more";
    return list;
}

std::string problemLine(Problem problem, const Problems::Occurrences& occurrences) {
    return std::string(problemText(problem)) + ": " + std::to_string(occurrences.count) + " (" + lineList(occurrences) +
           ')';
}

}  // namespace timeline
