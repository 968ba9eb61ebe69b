#include "progress.h"

#include <algorithm>
#include <string>

namespace timeline {

void Progress::show(std::uint64_t bytes, std::uint64_t records) {
    if (!m_isInteractive) return;
    const Clock::time_point now = Clock::now();
    if (now < m_next) return;
    m_next = now + m_interval;
    m_out << "\r\x1b[K";
    if (m_totalBytes.value_or(0) > 0) writeBar(bytes);
    m_out << std::to_string(records) << " records" << std::flush;
    m_isShown = true;
}

void Progress::writeBar(std::uint64_t bytes) {
    constexpr std::size_t width = 30;
    const double share = std::min(1.0, static_cast<double>(bytes) / static_cast<double>(*m_totalBytes));
    const auto done = static_cast<std::size_t>(share * width);
    const std::string percent = std::to_string(static_cast<int>(share * 100));
    m_out << '[' << std::string(done, '#') << std::string(width - done, ' ') << "] "
          << std::string(3 - percent.size(), ' ') << percent << " %  ";
}

void Progress::end() {
    if (m_isShown) m_out << "\r\x1b[K" << std::flush;
    m_isShown = false;
}

}  // namespace timeline
