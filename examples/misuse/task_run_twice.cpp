#include <foundation/state/hand_off.h>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project project(application);
    ContextActivator activator(project);
    auto task = state::bind(state::handOff(activator), [] { state::findOrCreate<Dictionary>(); });
    task();
    task();  // its contexts went with the first run
}

static void remedy() {
    Application application;
    Project project(application);
    for (int run = 1; run <= 2; ++run) {
        ContextActivator activator(project);
        auto task = state::bind(state::handOff(activator), [] { state::findOrCreate<Dictionary>(); });
        task();
    }
}

static const bool isAdded = misuse::add({"task_run_twice", &mistake, &remedy});
