#pragma once

/// @file
/// Finding and reading the documents of a project. Nothing here knows of contexts.

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace text_host {

/// The path as users see it, with control characters written as `\xNN`: no file name can send commands to a terminal.
std::string printable(const std::filesystem::path& path);

/// Something that could not be analysed, and why.
struct Problem {
    std::filesystem::path path;
    std::string reason;
};

/// The files below a folder in a fixed order, and what is in the way of others.
struct Listing {
    std::vector<std::filesystem::path> documents;
    std::vector<Problem> problems;
};

/// A file is not text, or can't be read; `what()` is the reason.
class UnreadableDocument : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why the path can't be opened as a project; nothing if it can.
std::optional<std::string> whyNoDirectory(const std::filesystem::path& path);

/// Every regular file below the folder, each folder's entries in byte order. Symbolic links below it are passed over,
/// so loops do no harm. Folders that are empty or can't be read are problems, and so is whatever else is no regular
/// file (pipes, sockets, devices): opening those might block.
Listing listDocuments(const std::filesystem::path& folder);

/// The bytes of a text file.
///
/// A file with a NUL byte among its first 8 KiB is taken to be binary.
///
/// @throws UnreadableDocument if it is binary or can't be read
std::string readDocument(const std::filesystem::path& file);

}  // namespace text_host
