#pragma once

/// @file
/// The command line.

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace text_host {

extern const std::string_view usage;

struct Options {
    bool help = false;
    bool teardown = false;
    bool trace = false;
    std::optional<std::filesystem::path> traceFile;
    std::optional<std::size_t> threads;         ///< as asked for
    std::optional<std::string> misuse;          ///< the name, or "list"
    std::optional<std::string> inspect;         ///< "text", "json" or "dot"
    std::optional<std::string> teardownReport;  ///< "text" or "json"
    std::optional<std::filesystem::path> plugin;
    std::vector<std::filesystem::path> directories;
};

/// The command line makes no sense; `what()` says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the arguments that follow the program's name. `--name value` and `--name=value` mean the same; after `--`
/// every argument is a directory.
///
/// @throws UsageError
Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace text_host
