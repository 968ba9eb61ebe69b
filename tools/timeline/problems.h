#pragma once

/// @file
/// What in a trace can't be read or doesn't fit together: how often, and in which lines first.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace timeline {

enum class Problem : std::uint8_t {
    noRecord,     ///< a line that is no record
    unknownText,  ///< a record of the library's channel with a text that the library doesn't write
    damagedLine,  ///< a line of which only the last record could be read
    tooLong,      ///< a line beyond the limit
    cutOff,       ///< the end of the trace is no line end
    wrongTime,    ///< a record with a time that neither its predecessor's nor its successor's fits
    clockWentBack,
    exitMissing,
    entryMissing,
    endOfContextMissing,
    ownerUnknown,  ///< a state was deleted, but whose?
};

inline constexpr std::size_t problemCount = 11;

/// For users, in the plural; a count follows.
std::string_view problemText(Problem problem);

class Problems {
public:
    static constexpr std::size_t linesKept = 10;

    struct Occurrences {
        std::uint64_t count = 0;
        std::vector<std::uint64_t> firstLines;
    };

    void add(Problem problem, std::uint64_t line) {
        Occurrences& occurrences = m_occurrences[static_cast<std::size_t>(problem)];
        if (++occurrences.count <= linesKept) occurrences.firstLines.push_back(line);
    }

    const Occurrences& of(Problem problem) const { return m_occurrences[static_cast<std::size_t>(problem)]; }

    /// Lines of which something is lost.
    std::uint64_t unreadableLines() const {
        return of(Problem::noRecord).count + of(Problem::unknownText).count + of(Problem::damagedLine).count +
               of(Problem::tooLong).count + of(Problem::cutOff).count;
    }

    /// Calls `function(problem, occurrences)` for those that occurred.
    template <class Function>
    void forEach(const Function& function) const {
        for (std::size_t i = 0; i != problemCount; ++i) {
            if (m_occurrences[i].count > 0) function(static_cast<Problem>(i), m_occurrences[i]);
        }
    }

private:
    std::array<Occurrences, problemCount> m_occurrences;
};

}  // namespace timeline
