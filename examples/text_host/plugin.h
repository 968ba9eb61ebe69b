#pragma once

/// @file
/// Loading a plugin, and unloading it without a trace.

#include <foundation/state/module.h>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace text_host {

/// The file can't be loaded or is no plugin; `what()` says why.
class UnusablePlugin : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A plugin, in memory until it is unloaded or freed. Its states go with it.
///
/// REQUIRES: the Process context is active; no other thread has contexts current when the plugin goes.
class Plugin {
public:
    /// Loads the plugin and calls its entry function.
    ///
    /// @throws UnusablePlugin
    explicit Plugin(const std::filesystem::path& file);
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    const std::filesystem::path& file() const { return m_file; }

    /// The types of the states that the plugin owns, after its unloading as before.
    std::vector<std::string> states() const;

    void unload() { m_library.reset(); }
    bool isInMemory() const;

private:
    const std::filesystem::path m_file;
    std::unique_ptr<void, void (*)(void*)> m_library;  // null once unloaded
    foundation::state::Module m_module;
};

}  // namespace text_host
