#include "host.h"

namespace bench {

namespace {

template <class Scope>
std::vector<std::uint64_t> fetchIDs() {
    std::vector<std::uint64_t> ids;
    while (ids.size() < maximumIDs)
        ids.push_back(Detail<Scope>::getNextID(typeid(Payload)));
    return ids;
}

template <class Scope>
const std::vector<std::uint64_t> allIDs = fetchIDs<Scope>();

void deletePayload(void* payload) { delete static_cast<Payload*>(payload); }

}  // namespace

constinit Payload staticPayload;

void keep(void*) {}

template <class Scope>
std::span<const std::uint64_t> typeIDs(std::size_t count) {
    return std::span(allIDs<Scope>).first(count);
}

template std::span<const std::uint64_t> typeIDs<Process>(std::size_t);
template std::span<const std::uint64_t> typeIDs<Zarn>(std::size_t);
template std::span<const std::uint64_t> typeIDs<Workspace>(std::size_t);

StatePtr makeState() { return {new Payload, &deletePayload}; }

FloorHost::FloorHost() {
    floor::setActive(process);
    floor::setCurrentInitialExec(zarn);
    floor::currentInline = zarn->context.get();
    for (const std::uint64_t id : typeIDs<Zarn>(entryCount)) {
        process->context->store.insert(id, makeStaticState());
        zarn->context->store.insert(id, makeStaticState());
        workspace->context->store.insert(id, makeStaticState());
    }
}

FloorHost::~FloorHost() {
    floor::currentInline = nullptr;
    floor::setCurrentInitialExec(nullptr);
    floor::setActive(nullptr);
    floor::pop(activation);
    floor::destroy(workspace);
    floor::destroy(zarn);
    floor::destroy(process);
}

}  // namespace bench
