#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project project(application);
    ContextActivator activator(project);
    activator.deactivate();
    const auto contexts = activator.getActiveContexts();
}

static void remedy() {
    Application application;
    Project project(application);
    ContextActivator activator(project);
    const auto contexts = activator.getActiveContexts();
    activator.deactivate();
}

static const bool isAdded = misuse::add({"deactivated_activator", &mistake, &remedy});
