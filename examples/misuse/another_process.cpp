#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    const Application host;
    const Application tool;  // active at once, as the host is
}

static void remedy() {
    Application host;
    Application tool(false);  // not active yet
    host.deactivate();
    tool.activate();
    tool.deactivate();
    host.activate();
}

static const bool isAdded = misuse::add({"another_process", &mistake, &remedy});
