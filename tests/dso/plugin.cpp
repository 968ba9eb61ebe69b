#include "plugin.h"

#include <foundation/state/module.h>
#include <foundation/state/state.h>
#include <foundation/tav/scope.h>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "part.h"

namespace foundation::tests {

using tav::scope::Process;
using tav::scope::Workspace;
using tav::scope::Zarn;

/// With the plugin's own, default visibility: nothing about it may keep the plugin in memory.
template <class Scope, int number>
struct Own {
    using StateScope = Scope;

    Own(std::vector<std::string>& log, std::string text) : deaths(&log), name(std::move(text)) {}
    Own(const Own&) = delete;
    Own& operator=(const Own&) = delete;
    ~Own() {
        // The one that is older is still there, as in a context's own destruction.
        const bool seesOlder = number == 0 || state::find<Own<Process, 0>>() != nullptr;
        deaths->push_back(seesOlder ? name : name + " without its elders");
    }

    std::vector<std::string>* deaths;
    std::string name;
};

template <class Scope>
void countUp() {
    if (auto* const shared = state::find<Shared<Scope>>()) ++shared->number;
}

}  // namespace foundation::tests

extern "C" {

FOUNDATION_TESTS_EXPORT void use(std::vector<std::string>& deaths) {
    using namespace foundation::tests;
    namespace state = foundation::state;
    state::findOrCreate<Own<Process, 0>>(deaths, "process 0");
    state::findOrCreate<Own<Process, 1>>(deaths, "process 1");
    state::findOrCreate<Own<Zarn, 1>>(deaths, "zarn 1");
    state::findOrCreate<Own<Zarn, 2>>(deaths, "zarn 2");
    state::findOrCreate<Own<Workspace, 1>>(deaths, "workspace 1");
    countUp<Process>();
    countUp<Zarn>();
    countUp<Workspace>();
}

FOUNDATION_TESTS_EXPORT std::uint64_t own_id() {
    using namespace foundation::tests;
    return foundation::state::typeID<Own<Zarn, 1>>();
}
}

static const foundation::state::ModuleGuard guard;
