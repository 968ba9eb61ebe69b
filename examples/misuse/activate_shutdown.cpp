#include <optional>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    application.shutdown();
    application.deactivate();
    application.activate();  // it was to start anew
}

static void remedy() {
    std::optional<Application> application(std::in_place);
    application.reset();
    application.emplace();  // starts anew
}

static const bool isAdded = misuse::add({"activate_shutdown", &mistake, &remedy});
