#include "states.h"

namespace text_host {

std::string_view Dictionary::keep(const std::string& word) {
    const std::lock_guard lock(m_mutex);
    return *m_words.insert(word).first;
}

std::size_t Dictionary::size() const {
    const std::lock_guard lock(m_mutex);
    return m_words.size();
}

RunSummary::Totals RunSummary::addDocument(std::uint64_t words, std::uint64_t bytes) {
    const std::lock_guard lock(m_mutex);
    ++m_totals.documents;
    m_totals.words += words;
    m_totals.bytes += bytes;
    return m_totals;
}

void RunSummary::addProblem() {
    const std::lock_guard lock(m_mutex);
    ++m_totals.problems;
}

RunSummary::Totals RunSummary::totals() const {
    const std::lock_guard lock(m_mutex);
    return m_totals;
}

}  // namespace text_host
