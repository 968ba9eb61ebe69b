#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    const Project project(application);
    application.destroy();  // while the project is there
}

static void remedy() {
    Application application;
    Project project(application);
    project.destroy();
    application.destroy();
}

static const bool isAdded = misuse::add({"children_left", &mistake, &remedy});
