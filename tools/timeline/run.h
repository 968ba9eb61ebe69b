#pragma once

/// @file
/// From the command line's options to the files that are written.

#include <iosfwd>
#include "options.h"

namespace timeline {

/// Reads the trace and writes what is asked for. Returns whether all of the trace could be read.
///
/// @throws UsageError if an output file is the trace itself
/// @throws std::runtime_error if the trace can't be opened or read, or an output not written
bool run(const Options& options, std::ostream& out, std::ostream& errors, bool isTerminal);

}  // namespace timeline
