#pragma once

/// @file
/// What a plugin of this host provides: one more analysis of each document, as a state that the plugin makes and owns.
///
/// A plugin is a shared library that holds a `foundation::state::ModuleGuard` and exports the entry function. It finds
/// the host's states by their types (`states.h`), and may have others of its own in the same contexts.

#include <foundation/tav/scope.h>
#include <string>

namespace text_host {

/// REQUIRES: the implementation's deleter lies in the plugin, as that of `foundation::state::insert` does if the plugin
/// calls it: the plugin's guard takes away what lies there.
///
/// ## Thread safety
/// Several threads call it at once, each in the contexts of another project.
class DocumentAnalysis {
public:
    using StateScope = foundation::tav::scope::Process;

    DocumentAnalysis() = default;
    DocumentAnalysis(const DocumentAnalysis&) = delete;
    DocumentAnalysis& operator=(const DocumentAnalysis&) = delete;
    virtual ~DocumentAnalysis() = default;

    virtual std::string name() const = 0;

    /// Looks at the document that is current on the calling thread, whose words are counted by now.
    virtual void analyse() = 0;

    /// What it has found in the documents of the current project.
    virtual std::string result() const = 0;
};

/// The entry function: inserts the plugin's `DocumentAnalysis` into the Process context.
using PluginEntry = void();
inline constexpr const char* pluginEntryName = "text_host_plugin";

}  // namespace text_host
