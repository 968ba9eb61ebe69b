#include <foundation/state/module.h>
#include <future>
#include "editor.h"
#include "lesson.h"

using namespace editor;

/// The module of this program, for want of a plugin.
static const state::Module plugin = state::moduleOf(reinterpret_cast<const void*>(&misuse::add));

static void mistake() {
    Application application;
    Project project(application);
    const ContextActivator activator(project);
    state::create<Dictionary>();
    std::async(std::launch::async, [] {
        state::eraseStatesOf(plugin);  // while the other thread works in the project
    }).get();
}

static void remedy() {
    Application application;
    Project project(application);
    ContextActivator activator(project);
    state::create<Dictionary>();
    activator.deactivate();
    std::async(std::launch::async, [] { state::eraseStatesOf(plugin); }).get();
}

static const bool isAdded = misuse::add({"states_in_use", &mistake, &remedy});
