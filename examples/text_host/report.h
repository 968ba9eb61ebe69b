#pragma once

/// @file
/// The tables at the end of a run.

#include <ostream>
#include <string>
#include <vector>

namespace text_host {

/// Writes the table of the project that is current on the calling thread.
void writeProject(std::ostream& out);

/// Writes the totals of the run.
void writeTotals(std::ostream& out, std::size_t projects);

/// Writes the order in which the states died.
void writeTeardown(std::ostream& out, const std::vector<std::string>& lines);

}  // namespace text_host
