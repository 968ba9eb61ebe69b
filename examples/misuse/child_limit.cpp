#include <optional>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project project(application);
    const Document letter(project);
    const Document recipe(project);  // beside the one that is open
}

static void remedy() {
    Application application;
    Project project(application);
    std::optional<Document> open(std::in_place, project);
    open.reset();
    open.emplace(project);  // one after the other

    Project other(application);
    const Document recipe(other);  // or each in a project of its own
}

static const bool isAdded = misuse::add({"child_limit", &mistake, &remedy});
