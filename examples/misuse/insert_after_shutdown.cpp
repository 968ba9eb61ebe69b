#include <cstdlib>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    setenv("KV_TAV_STRICT_SHUTDOWN", "1", 1);  // NOLINT(concurrency-mt-unsafe): no other thread runs
    Application application;
    application.shutdown();
    state::create<Settings>();
}

static void remedy() {
    Application application;
    state::create<Settings>();
    application.shutdown();
}

static const bool isAdded = misuse::add({"insert_after_shutdown", &mistake, &remedy});
