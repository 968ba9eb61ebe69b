#include "floor.h"

namespace bench::floor {

namespace {

constinit std::atomic<ProcessContext*> activeProcess = nullptr;
constinit thread_local ZarnContext* currentZarn = nullptr;
constinit thread_local WorkspaceContext* currentWorkspace = nullptr;
[[gnu::tls_model("initial-exec")]] constinit thread_local ZarnContext* currentZarnInitialExec = nullptr;

constinit std::atomic<std::uint64_t> counter = 0;

template <class Context>
std::shared_ptr<Context> shareOf(Context* context) {
    return context ? context->shared_from_this() : nullptr;
}

/// Leaves `previous` for `next`, of which either may be null.
template <class Context>
void install(Context*& slot, Context* previous, Context* next) {
    if (previous == next) return;
    if (next) ++next->activations;
    slot = next;
    if (previous) --previous->activations;
}

}  // namespace

void Store::grow(std::uint64_t id) {
    m_slots.resize(id + 1024);
    m_slotCount = m_slots.size();
}

Record<ProcessContext>* create() { return new Record<ProcessContext>{std::make_shared<ProcessContext>()}; }

Record<ZarnContext>* create(Record<ProcessContext>& parent) {
    auto* const record = new Record<ZarnContext>{std::make_shared<ZarnContext>(parent.context)};
    const std::lock_guard lock(parent.context->mutex);
    record->context->insertAfter(*parent.context->children.previous);
    return record;
}

Record<WorkspaceContext>* create(Record<ZarnContext>& parent) {
    auto* const record = new Record<WorkspaceContext>{std::make_shared<WorkspaceContext>(parent.context)};
    record->context->insertAfter(*parent.context->children.previous);
    return record;
}

void destroy(Record<ProcessContext>* record) { delete record; }

void destroy(Record<ZarnContext>* record) {
    {
        const std::lock_guard lock(record->context->parent->mutex);
        record->context->unlink();
    }
    delete record;
}

void destroy(Record<WorkspaceContext>* record) {
    record->context->unlink();
    delete record;
}

void destroyAll(std::list<State>& states) { states.clear(); }

struct Activation {
    std::shared_ptr<ZarnContext> zarn;
    std::shared_ptr<WorkspaceContext> workspace;
    std::shared_ptr<ZarnContext> previousZarn = shareOf(currentZarn);
    std::shared_ptr<WorkspaceContext> previousWorkspace = shareOf(currentWorkspace);
};

namespace {

Activation* installed(Activation* activation) {
    install(currentZarn, activation->previousZarn.get(), activation->zarn.get());
    install(currentWorkspace, activation->previousWorkspace.get(), activation->workspace.get());
    return activation;
}

}  // namespace

Activation* push(Record<ZarnContext>& record) { return installed(new Activation{record.context, nullptr}); }

Activation* push(Record<WorkspaceContext>& record) {
    return installed(new Activation{record.context->parent, record.context});
}

void pop(Activation* activation) {
    install(currentWorkspace, activation->workspace.get(), activation->previousWorkspace.get());
    install(currentZarn, activation->zarn.get(), activation->previousZarn.get());
    delete activation;
}

void setActive(Record<ProcessContext>* record) { activeProcess = record ? record->context.get() : nullptr; }

void setCurrentInitialExec(Record<ZarnContext>* record) {
    currentZarnInitialExec = record ? record->context.get() : nullptr;
}

State* find(std::uint64_t id, const std::type_info&) { return currentZarn->store.find(id); }
State* findInWorkspace(std::uint64_t id, const std::type_info&) { return currentWorkspace->store.find(id); }
State* findInitialExec(std::uint64_t id, const std::type_info&) { return currentZarnInitialExec->store.find(id); }

State* findInProcess(std::uint64_t id, const std::type_info&) {
    ProcessContext* const context = activeProcess.load();
    const std::lock_guard lock(context->mutex);
    return context->store.find(id);
}

State& insert(std::uint64_t id, const std::type_info&, State&& state) {
    return currentZarn->store.insert(id, std::move(state));
}

bool erase(std::uint64_t id, const std::type_info&) { return currentZarn->store.erase(id); }

bool isAnyTaken() { return currentZarn->store.isAnyTaken(); }

State& insertInProcess(std::uint64_t id, const std::type_info&, State&& state) {
    ProcessContext* const context = activeProcess.load();
    const std::lock_guard lock(context->mutex);
    return context->store.insert(id, std::move(state));
}

bool eraseInProcess(std::uint64_t id, const std::type_info&) {
    ProcessContext* const context = activeProcess.load();
    const std::lock_guard lock(context->mutex);
    return context->store.erase(id);
}

State& insert(Store& store, std::uint64_t id, State&& state) { return store.insert(id, std::move(state)); }
bool erase(Store& store, std::uint64_t id) { return store.erase(id); }

std::uint64_t nextID(const std::type_info&) { return counter.fetch_add(1); }

}  // namespace bench::floor
