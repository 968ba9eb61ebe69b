#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    application.shutdown();
    const Project project(application);  // opened while the application stops
}

static void remedy() {
    Application application;
    application.shutdown();
    if (!application.isShutdown()) {
        const Project project(application);
    }
}

static const bool isAdded = misuse::add({"child_of_shutdown", &mistake, &remedy});
