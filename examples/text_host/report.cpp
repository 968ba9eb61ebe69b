#include "report.h"

#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <cstdint>
#include <iomanip>
#include <ostream>
#include <string_view>
#include "document_analysis.h"
#include "documents.h"
#include "states.h"
#include "words.h"

namespace text_host {

namespace {

constexpr std::size_t commonestShown = 10;

void writeRow(std::ostream& out, std::string_view label, std::uint64_t number) {
    out << "  " << std::left << std::setw(20) << label << ' ' << std::right << std::setw(12) << number << '\n';
}

}  // namespace

void writeProject(std::ostream& out) {
    const auto& index = state::findOrFail<ProjectIndex>();
    out << printable(index.directory) << '\n';
    writeRow(out, "documents", index.documents);
    writeRow(out, "words", index.words);
    writeRow(out, "distinct words", index.counts.size());
    writeRow(out, "bytes", index.bytes);
    out << "  commonest words\n";
    for (const auto& [word, count] : commonest(index.counts, commonestShown)) {
        writeRow(out, "  " + std::string(word), count);
    }
    out << '\n';
}

void writeTotals(std::ostream& out, std::size_t projects) {
    const RunSummary::Totals totals = state::findOrFail<RunSummary>().totals();
    out << "total\n";
    writeRow(out, "projects", projects);
    writeRow(out, "documents", totals.documents);
    writeRow(out, "words", totals.words);
    writeRow(out, "distinct words", state::findOrFail<Dictionary>().size());
    writeRow(out, "bytes", totals.bytes);
}

void writePluginResult(std::ostream& out) {
    const std::string directory = printable(state::findOrFail<Project>().directory);
    out << "  " << std::left << std::setw(20) << directory << ' '
        << printable(state::findOrFail<DocumentAnalysis>().result()) << '\n';
}

void writePluginStates(std::ostream& out, std::string_view when, const std::vector<std::string>& types) {
    out << "states of the plugin " << when << '\n';
    for (const std::string& type : types) {
        out << "  " << type << '\n';
    }
    if (types.empty()) {
        out << "  none\n";
    }
}

void writeTeardown(std::ostream& out, const std::vector<std::string>& lines) {
    out << "\nteardown, first to last\n";
    for (const std::string& line : lines) {
        out << "  " << line << '\n';
    }
}

}  // namespace text_host
