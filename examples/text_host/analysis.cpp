#include "analysis.h"

#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include "console.h"
#include "document_analysis.h"
#include "states.h"
#include "teardown_log.h"
#include "words.h"

namespace text_host {

namespace {

// The shared dictionary is asked only for words that the document has not used before: threads rarely meet there.
void countWord(WordCounts& document, const std::string& word) {
    auto entry = document.counts.find(word);
    if (entry == document.counts.end()) {
        entry = document.counts.emplace(state::findOrFail<Dictionary>().keep(word), 0).first;
    }
    ++entry->second;
    ++document.words;
}

}  // namespace

void countWords() {
    const auto& document = state::findOrFail<Document>();
    auto& counts = createLogged<WordCounts>(document.path);
    std::string_view rest = document.text;
    for (std::string word; takeWord(rest, word);) {
        countWord(counts, word);
    }
}

void indexDocument() {
    const auto& document = state::findOrFail<WordCounts>();
    const std::uint64_t bytes = state::findOrFail<Document>().text.size();
    auto& index = state::findOrFail<ProjectIndex>();
    ++index.documents;
    index.words += document.words;
    index.bytes += bytes;
    for (const auto& [word, count] : document.counts) {
        index.counts[word] += count;
    }
    const RunSummary::Totals totals = state::findOrFail<RunSummary>().addDocument(document.words, bytes);
    state::findOrFail<Console>().showProgress(totals.documents, totals.words);
}

void runPluginAnalysis() {
    if (auto* const analysis = state::find<DocumentAnalysis>()) {
        analysis->analyse();
    }
}

void reportProblem(const Problem& problem) {
    state::findOrFail<RunSummary>().addProblem();
    state::findOrFail<Console>().showProblem(problem);
}

}  // namespace text_host
