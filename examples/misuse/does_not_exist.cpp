#include <foundation/tav/type_error.h>
#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    Application application;
    Project letters(application);
    Project recipes(application);
    {
        const ContextActivator activator(letters);
        state::create<Dictionary>();
    }
    const ContextActivator activator(recipes);
    state::findOrFail<Dictionary>();  // that of the letters is in another context
}

static void remedy() {
    Application application;
    Project recipes(application);
    const ContextActivator activator(recipes);
    if (const Dictionary* const dictionary = state::find<Dictionary>()) {
        static_cast<void>(dictionary->words.size());  // it may be absent, and that is no fault
    }
    state::findOrCreate<Dictionary>().words.insert("salt");  // or it is made when it is first asked for
}

static void mistakeThrown() {
    const Application application;
    state::findOrThrow<Settings>();
}

static void remedyThrown() {
    const Application application;
    try {
        state::findOrThrow<Settings>();
    } catch (const tav::DoesNotExistTypeError&) {
        state::create<Settings>();
    }
}

static const bool isAdded = misuse::add({"does_not_exist", &mistake, &remedy});
static const bool isThrownAdded = misuse::add({"does_not_exist_thrown", &mistakeThrown, &remedyThrown});
