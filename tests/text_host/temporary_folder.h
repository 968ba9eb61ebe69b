#pragma once

/// @file
/// A folder for the files of one test.

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace text_host::tests {

/// Made with its object, and removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "text_host.XXXXXX").native();
        if (!mkdtemp(name.data())) {
            throw std::system_error(errno, std::generic_category(), name);
        }
        m_path = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& path() const { return m_path; }

    /// Writes a file, below folders that are made if need be, and returns its path.
    std::filesystem::path write(const std::filesystem::path& file, std::string_view text) const {
        std::filesystem::path path = m_path / file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream stream(path, std::ios::binary);
        stream.exceptions(std::ios::failbit | std::ios::badbit);
        stream << text << std::flush;
        return path;
    }

private:
    std::filesystem::path m_path;
};

}  // namespace text_host::tests
