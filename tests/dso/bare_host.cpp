// A host that uses the bare operations, and whose plugin brings the typed layer along. The ids of the plugin outlive
// it; and one that is never unloaded does its work at the end of the process, while the host's global contexts are
// still there, and is harmless. Succeeds if the plugin's states have died by then.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "../support/names.h"
#include "library.h"
#include "plugin.h"

namespace {

using namespace foundation::tests;

constexpr std::size_t statesOfPlugin = 5;

std::vector<std::string> deaths;

Context<Process> process;
Context<Zarn> zarn(process);
Context<Workspace> workspace(zarn);

/// Its destructor runs after that of the plugin's guard, which is made later, and before those of the contexts.
struct Witness {
    ~Witness() {
        if (deaths.size() == statesOfPlugin) return;
        std::printf("%zu states of the plugin have died.\n", deaths.size());
        std::fflush(stdout);
        std::_Exit(EXIT_FAILURE);
    }
};
const Witness witness;

/// Loads, uses and unloads the plugin; the id of its own type.
std::uint64_t round() {
    deaths.clear();
    const Library plugin(DSO_PLUGIN);
    plugin.symbol<UsePlugin>("use")(deaths);
    return plugin.symbol<PluginID>("own_id")();
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): what fails here may end the program
int main() {
    const ContextActivator activator(workspace);
    const std::uint64_t id = round();
    for (int repetition = 0; repetition < 10; ++repetition) {
        if (round() == id && deaths.size() == statesOfPlugin) continue;
        std::puts("The plugin's id has changed, or its states have not died.");
        return EXIT_FAILURE;
    }
    deaths.clear();
    Library kept(DSO_PLUGIN);
    kept.symbol<UsePlugin>("use")(deaths);
    kept.keep();
    return EXIT_SUCCESS;
}
