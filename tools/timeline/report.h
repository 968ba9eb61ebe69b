#pragma once

/// @file
/// What is said about a trace as a whole, alike in everything that is written.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>
#include "model.h"
#include "problems.h"

namespace timeline {

struct Report {
    std::string trace;  ///< the file's name
    Counts counts;
    Problems problems;
};

struct CountLine {
    std::string_view key;    ///< in JSON, and in the page's `data-count`
    std::string_view label;  ///< for users
    std::uint64_t value = 0;
};

std::vector<CountLine> countLines(const Report& report);

/// What the trace lacks as a whole, a sentence for each.
std::vector<std::string> gaps(const Report& report);

/// `lines 3, 7 and 12 more`, the first ten
std::string lineList(const Problems::Occurrences& occurrences);

/// `lines that are no records: 2 (lines 3, 7)`
std::string problemLine(Problem problem, const Problems::Occurrences& occurrences);

}  // namespace timeline
