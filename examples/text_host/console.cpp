#include "console.h"

#include <ostream>

namespace text_host {

void Console::showProblem(const Problem& problem) {
    const std::lock_guard lock(m_mutex);
    clearLineNoLock();
    m_out << "text_host: "
          << "'" << printable(problem.path) << "': " << problem.reason << '\n'
          << std::flush;
}

void Console::showProgress(std::uint64_t documents, std::uint64_t words) {
    if (!m_isInteractive) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    const Clock::time_point now = Clock::now();
    if (now < m_nextProgress) {
        return;
    }
    m_nextProgress = now + m_interval;
    clearLineNoLock();
    m_out << "documents: " << documents << "  words: " << words << std::flush;
    m_isLineShown = true;
}

void Console::endProgress() {
    const std::lock_guard lock(m_mutex);
    clearLineNoLock();
    m_out << std::flush;
}

void Console::clearLineNoLock() {
    if (m_isLineShown) {
        m_out << "\r\x1b[K";
        m_isLineShown = false;
    }
}

}  // namespace text_host
