#pragma once

/// @file
/// The command line.

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace timeline {

extern const std::string_view usage;  ///< how to call the program
extern const std::string_view help;   ///< and what its output means

struct Options {
    bool help = false;
    bool summary = false;  ///< asked for, or nothing else is
    std::optional<std::filesystem::path> chrome;
    std::optional<std::filesystem::path> html;
    std::optional<std::filesystem::path> trace;  ///< standard input without it
};

/// The command line makes no sense; `what()` says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the arguments that follow the program's name. `--name value` and `--name=value` mean the same; after `--`
/// every argument is a trace.
///
/// @throws UsageError
Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace timeline
