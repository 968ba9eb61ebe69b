#include <foundation/state/module.h>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    const state::ModuleGuard guard;  // lies on the stack, which is no module
}

static void remedy() {
    static const state::ModuleGuard guard;  // lies in the module; at namespace scope it is there from the beginning
}

static const bool isAdded = misuse::add({"module_guard", &mistake, &remedy});
