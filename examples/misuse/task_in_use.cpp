#include <foundation/state/hand_off.h>
#include <future>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project project(application);
    ContextActivator activator(project);
    auto task = state::bind(state::handOff(activator), [] { state::findOrCreate<Dictionary>(); });
    const ContextActivator again(project);  // before the task has run
    std::async(std::launch::async, std::move(task)).get();
}

static void remedy() {
    Application application;
    Project project(application);
    ContextActivator activator(project);
    auto task = state::bind(state::handOff(activator), [] { state::findOrCreate<Dictionary>(); });
    std::async(std::launch::async, std::move(task)).get();
    const ContextActivator again(project);
}

static const bool isAdded = misuse::add({"task_in_use", &mistake, &remedy});
