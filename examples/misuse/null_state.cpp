#include <memory>
#include "editor.h"
#include "lesson.h"

using namespace editor;

/// Null where there is no such file.
static std::unique_ptr<Settings> load(bool isThere) { return isThere ? std::make_unique<Settings>() : nullptr; }

static void mistake() {
    const Application application;
    state::insert(load(false));
}

static void remedy() {
    const Application application;
    if (auto settings = load(false))
        state::insert(std::move(settings));
    else
        state::create<Settings>();  // the defaults
}

static const bool isAdded = misuse::add({"null_state", &mistake, &remedy});
