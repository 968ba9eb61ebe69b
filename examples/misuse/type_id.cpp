#include "editor.h"
#include "lesson.h"

using namespace editor;

static void mistake() {
    using Detail = tav::Detail<tav::scope::Process>;
    const Application application;
    const std::uint64_t unset = ~std::uint64_t(0);
    Detail::find(unset, typeid(Settings));
}

static void remedy() {
    using Detail = tav::Detail<tav::scope::Process>;
    const Application application;
    static const std::uint64_t id = Detail::getNextID(typeid(Settings));  // once
    Detail::find(id, typeid(Settings));
}

static const bool isAdded = misuse::add({"type_id", &mistake, &remedy});
