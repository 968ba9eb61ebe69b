#pragma once

/// @file
/// The counts of a trace, and what took longest to die, as plain text.

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>
#include "events.h"
#include "report.h"

namespace timeline {

class Summary : public Observer {
public:
    static constexpr std::size_t longestKept = 10;

    void contextEnded(const Context& context) override;
    void stateEnded(const State& state) override;

    void write(std::ostream& out, const Report& report) const;

private:
    struct Ended {
        Time took = 0;
        Time end = 0;
        std::string name;
    };

    static void keepIfLong(std::vector<Ended>& longest, Ended ended);

    std::vector<Ended> m_contexts;  // the slowest first
    std::vector<Ended> m_states;
};

}  // namespace timeline
