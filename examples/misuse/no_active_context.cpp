#include <foundation/state/hand_off.h>
#include <foundation/tav/type_error.h>
#include <future>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project project(application);
    Document document(project);
    const ContextActivator activator(document);
    std::async(std::launch::async, [] {
        state::find<Selection>();  // nothing is current on this thread
    }).get();
}

static void remedy() {
    Application application;
    Project project(application);
    Document document(project);
    ContextActivator activator(document);
    std::async(std::launch::async, state::bind(state::handOff(activator),
                                               [] {
                                                   state::find<Selection>();  // in the document's context
                                               }))
        .get();
}

static void mistakeThrown() {
    state::findOrThrow<Selection>();  // and nobody catches it
}

static void remedyThrown() {
    if (state::isContextActive<Selection>()) state::findOrThrow<Selection>();
}

static const bool isAdded = misuse::add({"no_active_context", &mistake, &remedy});
static const bool isThrownAdded = misuse::add({"no_active_context_thrown", &mistakeThrown, &remedyThrown});
