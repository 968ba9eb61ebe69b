#include "plugin.h"

#include <dlfcn.h>
#include <foundation/state/module.h>
#include "document_analysis.h"

namespace text_host {

namespace fs = std::filesystem;
namespace state = foundation::state;

namespace {

// Without a folder in its name the loader would look for the file in the folders of the system.
void* load(const fs::path& file) {
    const fs::path withFolder = file.has_parent_path() ? file : "." / file;
    void* const library = dlopen(withFolder.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* const reason = dlerror();  // NOLINT(concurrency-mt-unsafe): no other thread runs yet
        throw UnusablePlugin(std::string("cannot load the plugin: ") + reason);
    }
    return library;
}

void unloadLibrary(void* library) { dlclose(library); }

}  // namespace

Plugin::Plugin(const fs::path& file) : m_file(file), m_library(load(file), &unloadLibrary) {
    void* const entry = dlsym(m_library.get(), pluginEntryName);
    if (!entry) {
        throw UnusablePlugin("'" + file.native() + "' is no plugin of this host: it has no function '" +
                             pluginEntryName + "'");
    }
    m_module = state::moduleOf(entry);
    reinterpret_cast<PluginEntry*>(entry)();
}

std::vector<std::string> Plugin::states() const {
    std::vector<std::string> types;
    for (const state::OwnedState& owned : state::statesOf(m_module)) {
        types.push_back(owned.type);
    }
    return types;
}

bool Plugin::isInMemory() const { return !state::moduleOf(m_module.begin).file.empty(); }

}  // namespace text_host
