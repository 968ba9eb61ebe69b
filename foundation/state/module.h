#pragma once

/// @file
/// Modules that can be unloaded: `ModuleGuard` for the plugin, `statesOf` and `eraseStatesOf` for the host.
///
/// A plugin needs one line, below whatever the destructors of its states use:
/// @code
/// static const foundation::state::ModuleGuard guard;
/// @endcode
/// A host that would rather hear of states in use than end over them asks first:
/// @code
/// const foundation::state::Module plugin = foundation::state::moduleOf(dlsym(handle, "run"));
/// foundation::state::eraseStatesOf(plugin);  // may be reported, and is then thrown by the handler
/// dlclose(handle);
/// assert(foundation::state::statesOf(plugin).empty());
/// @endcode
///
/// What a module owns are the states whose deleters lie in it. States of the host's that it merely used stay.

#include <foundation/state/export.h>
#include <string>
#include <typeinfo>
#include <vector>

namespace foundation::state {

/// Where the executable or a shared library lies in memory: a plain value, which may outlive the module.
struct Module {
    std::string file;             ///< As the loader found it; empty for what is no module.
    const void* begin = nullptr;  ///< Of its addresses,
    const void* end = nullptr;    ///< and the first beyond.
};

/// The module that the address of a function or static object lies in. Thread-safe; takes no lock.
FOUNDATION_STATE_EXPORT Module moduleOf(const void* address);

/// A state, for whoever wants to know what a module has left.
struct OwnedState {
    std::string type;             ///< Its readable name; "(id 7)" where the state was stored without this library.
    const std::type_info* scope;  ///< `typeid` of the scope's tag.
    const void* context;          ///< The context's identity, as `foundation/tav/inspect.h` has it.
    bool isInUse;                 ///< Its context is current on another thread.
};

/// The states that a module owns in the active Process context and in all contexts below it, in the order of
/// `inspectContexts`, newest first within a context.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `inspectContexts` (`foundation/tav/inspect.h`).
FOUNDATION_STATE_EXPORT std::vector<OwnedState> statesOf(const Module& module);

/// Deletes what `statesOf` lists, in the order of `eraseStatesDeletedBy` (`foundation/tav/unload.h`), and what the
/// deleters put in its place meanwhile.
///
/// REQUIRES: none of the states is in a context that is current on another thread. Breaking this is reported before
/// anything is deleted.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `eraseStatesDeletedBy`.
FOUNDATION_STATE_EXPORT void eraseStatesOf(const Module& module);

/// Held by a plugin as a static object: when the plugin is unloaded, its states are erased as `eraseStatesOf` does, and
/// its types unregistered. A plugin that is loaded again gets the ids back that its types had; one that was built anew
/// may bring other layouts, if no other module uses the types.
///
/// ## Thread safety
/// The module may be loaded and unloaded on any thread; for its contexts see `eraseStatesOf`.
/// ## Errors
/// - A guard that is no static object of a module: reported by the constructor.
/// - States in contexts that are current on another thread: reported by the destructor. A handler that throws ends the
///   process as well: nobody could keep the loader from taking the module away.
/// ## Lifetime
/// Statics that the destructors of the module's states use have to be constructed before the guard. At the end of the
/// process it does the same as at `dlclose`: nothing, where no Process context is active any more. States in other
/// Process contexts than the active one are out of its reach.
/// ## Re-entrancy
/// The destructors of the states run while the loader is locked: on other threads, nothing that they wait for may load,
/// unload or look up a library.
class FOUNDATION_STATE_EXPORT ModuleGuard {
public:
    ModuleGuard(const ModuleGuard&) = delete;
    ModuleGuard& operator=(const ModuleGuard&) = delete;

    /// REQUIRES: the guard is a static object of the module that it guards. Breaking this is reported.
    ModuleGuard();
    ~ModuleGuard();

private:
    const Module m_module;
};

}  // namespace foundation::state
