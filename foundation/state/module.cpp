#include <foundation/core/diag.h>
#include <foundation/state/detail/registry.h>
#include <foundation/state/module.h>
#include <foundation/tav/detail/platform.h>
#include <foundation/tav/inspect.h>
#include <foundation/tav/report.h>
#include <foundation/tav/state_ptr.h>
#include <foundation/tav/unload.h>
#include <algorithm>
#include <functional>
#include <locale>
#include <sstream>

namespace foundation::state {
namespace {

using tav::management::ContextRecord;

bool contains(const Module& module, tav::StateDeleter deleter) {
    const void* const address = reinterpret_cast<const void*>(deleter);
    return !std::less<>()(address, module.begin) && std::less<>()(address, module.end);
}

bool isInUse(const ContextRecord& context) { return context.activations > 0 && !context.isCurrent; }

[[noreturn]] void reportInUse(const Module& module, const OwnedState& state) {
    std::ostringstream message;
    message.imbue(std::locale::classic());
    message << "Cannot erase the states of '" << module.file << "': the one of type '" << state.type
            << "' is in the context " << state.context << " with scope '"
            << core::diag::detail::demangle_typeid_name(state.scope->name(), false)
            << "', which is current on another thread. Deactivate the context there before the module is unloaded.";
    tav::reportError({message.str(), __FILE__, __LINE__, "foundation::state::eraseStatesOf"});
}

}  // namespace

Module moduleOf(const void* address) {
    const tav::detail::platform::LoadedModule found = tav::detail::platform::loadedModule(address);
    if (!found.file) return {};
    return {found.file, found.begin, found.end};
}

std::vector<OwnedState> statesOf(const Module& module) {
    std::vector<OwnedState> owned;
    for (const ContextRecord& context : tav::management::inspectContexts())
        for (const tav::management::StateRecord& state : context.states)
            if (contains(module, state.deleter))
                owned.push_back({detail::Registry::instance().typeOf(*context.scope, state.typeID).name, context.scope,
                                 context.address, isInUse(context)});
    return owned;
}

void eraseStatesOf(const Module& module) {
    for (auto owned = statesOf(module); !owned.empty(); owned = statesOf(module)) {
        const auto used = std::find_if(owned.begin(), owned.end(), [](const auto& state) { return state.isInUse; });
        if (used != owned.end()) reportInUse(module, *used);
        tav::management::eraseStatesDeletedBy(module.begin, module.end);
    }
}

ModuleGuard::ModuleGuard() : m_module(moduleOf(this)) {
    if (m_module.file.empty())
        tav::reportError({"A module guard must be a static object of the module that it guards.", __FILE__, __LINE__,
                          "foundation::state::ModuleGuard::ModuleGuard"});
}

ModuleGuard::~ModuleGuard() {
    eraseStatesOf(m_module);
    detail::Registry::instance().removeUses(m_module);
}

}  // namespace foundation::state
