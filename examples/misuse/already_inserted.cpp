#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    const Application application;
    state::create<Settings>();
    state::create<Settings>();  // by somebody who thinks to be the first
}

static void remedy() {
    const Application application;
    state::findOrCreate<Settings>();
    state::findOrCreate<Settings>();  // the same object
}

static const bool isAdded = misuse::add({"already_inserted", &mistake, &remedy});
