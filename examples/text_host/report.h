#pragma once

/// @file
/// The tables at the end of a run.

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace text_host {

/// Writes the table of the project that is current on the calling thread.
void writeProject(std::ostream& out);

/// Writes the totals of the run.
void writeTotals(std::ostream& out, std::size_t projects);

/// Writes what the plugin's analysis has found in the project that is current on the calling thread.
///
/// REQUIRES: the Process context has a `DocumentAnalysis`.
void writePluginResult(std::ostream& out);

/// Writes the states that a plugin owns, by type.
void writePluginStates(std::ostream& out, std::string_view when, const std::vector<std::string>& types);

/// Writes the order in which the states died.
void writeTeardown(std::ostream& out, const std::vector<std::string>& lines);

}  // namespace text_host
