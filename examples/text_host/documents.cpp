#include "documents.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>

namespace text_host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t binaryTestSize = std::size_t{8} * 1024;
constexpr std::size_t blockSize = std::size_t{64} * 1024;  // at least binaryTestSize: the first block decides

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

std::string lastSystemError() { return std::generic_category().message(errno); }

void list(const fs::path& folder, Listing& listing);

void listEntry(const fs::directory_entry& entry, Listing& listing) {
    std::error_code error;
    switch (entry.symlink_status(error).type()) {
        case fs::file_type::regular:
            listing.documents.push_back(entry.path());
            break;
        case fs::file_type::directory:
            list(entry.path(), listing);
            break;
        case fs::file_type::symlink:
            break;
        default:
            listing.problems.push_back({entry.path(), error ? error.message() : "not a regular file"});
    }
}

void list(const fs::path& folder, Listing& listing) {
    std::vector<fs::directory_entry> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        entries.push_back(*entry);
    }
    if (error) {
        listing.problems.push_back({folder, error.message()});
    } else if (entries.empty()) {
        listing.problems.push_back({folder, "empty folder"});
    }
    // Directories come in the file system's order, which differs from machine to machine.
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries) {
        listEntry(entry, listing);
    }
}

}  // namespace

std::string printable(const fs::path& path) {
    std::string text;
    for (const char character : path.native()) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7f) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(byte));
            text += escape.data();
        } else {
            text += character;
        }
    }
    return text;
}

std::optional<std::string> whyNoDirectory(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error) {
        return error.message();
    }
    if (!fs::is_directory(status)) {
        return std::make_error_code(std::errc::not_a_directory).message();
    }
    return std::nullopt;
}

Listing listDocuments(const fs::path& folder) {
    Listing listing;
    list(folder, listing);
    return listing;
}

std::string readDocument(const fs::path& file) {
    const File stream(std::fopen(file.c_str(), "rb"), &std::fclose);
    if (!stream) {
        throw UnreadableDocument(lastSystemError());
    }
    std::string text;
    std::vector<char> block(blockSize);
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), stream.get())) {
        text.append(block.data(), size);
        if (std::string_view(text).substr(0, binaryTestSize).find('\0') != std::string_view::npos) {
            throw UnreadableDocument("binary file (it holds a NUL byte)");
        }
    }
    if (std::ferror(stream.get()) != 0) {
        throw UnreadableDocument(lastSystemError());
    }
    return text;
}

}  // namespace text_host
