#pragma once

/// @file
/// What the host tells its user while it works: problems, and on a terminal how far it has come.

#include <foundation/tav/scope.h>
#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <mutex>
#include <string>
#include "documents.h"

namespace text_host {

namespace tav = foundation::tav;

/// Writes whole lines, and on a terminal one line of progress that is rewritten in place and never mixes with them.
///
/// ## Thread safety
/// Every operation may be called from any number of threads at once.
class Console {
public:
    using StateScope = tav::scope::Process;

    /// Progress is shown only if the stream is interactive, and at most once per interval.
    Console(std::ostream& out, bool isInteractive, std::chrono::milliseconds interval = std::chrono::milliseconds(100))
        : m_out(out), m_isInteractive(isInteractive), m_interval(interval) {}

    void showProblem(const Problem& problem);
    void showProgress(std::uint64_t documents, std::uint64_t words);

    /// Takes the progress off the terminal, to make room for what follows.
    void endProgress();

    static std::string label() { return "Console"; }

private:
    using Clock = std::chrono::steady_clock;

    void clearLineNoLock();

    std::mutex m_mutex;  // guards what follows
    std::ostream& m_out;
    const bool m_isInteractive;
    const Clock::duration m_interval;
    Clock::time_point m_nextProgress = Clock::time_point::min();
    bool m_isLineShown = false;
};

}  // namespace text_host
