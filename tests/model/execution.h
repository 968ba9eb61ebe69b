#pragma once

/// @file
/// Runs a program on the library and on the model, side by side, and compares all that can be seen after each call.

#include "operation.h"

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace foundation::tests::model {

/// What programs have come to.
struct Coverage {
    std::size_t calls = 0;  ///< of the program's operations: those of deleters and of the cleaning up don't count
    std::size_t failedAllocations = 0;
    std::vector<Kind> kinds;        ///< of those operations, each once
    std::vector<Kind> nestedKinds;  ///< of the calls of deleters, each once
    std::set<std::string> reports;  ///< their messages
    std::size_t lateUses = 0;       ///< recorded deletions that have some
};

/// Where library and model first differ, with the calls up to there, if they do.
std::optional<std::string> run(const Program& program, Layer layer, Recording recording, Coverage& coverage);

}  // namespace foundation::tests::model
