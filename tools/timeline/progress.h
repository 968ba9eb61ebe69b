#pragma once

/// @file
/// How far the reading of a trace has come, on a terminal.

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>

namespace timeline {

/// A line that is rewritten in place, at most once per interval, and taken away at the end.
class Progress {
public:
    /// Shows nothing unless the stream is interactive, and no share unless the total is known.
    Progress(std::ostream& out, bool isInteractive, std::optional<std::uint64_t> totalBytes,
             std::chrono::milliseconds interval = std::chrono::milliseconds(100))
        : m_out(out), m_isInteractive(isInteractive), m_totalBytes(totalBytes), m_interval(interval) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { end(); }

    void show(std::uint64_t bytes, std::uint64_t records);
    void end();

private:
    using Clock = std::chrono::steady_clock;

    void writeBar(std::uint64_t bytes);

    std::ostream& m_out;
    const bool m_isInteractive;
    const std::optional<std::uint64_t> m_totalBytes;
    const Clock::duration m_interval;
    Clock::time_point m_next = Clock::time_point::min();
    bool m_isShown = false;
};

}  // namespace timeline
