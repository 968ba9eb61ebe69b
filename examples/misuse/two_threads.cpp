#include <foundation/state/hand_off.h>
#include <future>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project project(application);
    const ContextActivator here(project);
    std::async(std::launch::async, [&project] {
        const ContextActivator there(project);  // while it is current here
    }).get();
}

static void remedy() {
    Application application;
    Project project(application);
    ContextActivator here(project);
    auto task = state::bind(state::handOff(here), [] { state::findOrCreate<Dictionary>(); });
    std::async(std::launch::async, std::move(task)).get();
}

static const bool isAdded = misuse::add({"two_threads", &mistake, &remedy});
