// State on the operations of Detail<Scope> alone, without the typed layer: what that does for its users is done by hand
// here. Ids are kept, pointers are cast, and the deleter of each state is the host's own. For hosts that can't link to
// foundation::state, and for reading beside it.

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>
#include <cstdint>
#include <iostream>
#include <string>
#include <utility>

namespace {

using namespace foundation::tav;

struct Project {
    using Scope = scope::Zarn;
    static constexpr const char* label = "project";
    int documents = 0;
};

struct Document {
    using Scope = scope::Workspace;
    static constexpr const char* label = "document";
    std::string text;
};

/// Asked for once: ids index the tables of all contexts, so they should stay few.
template <class State>
std::uint64_t stateID() {
    static const std::uint64_t id = Detail<typename State::Scope>::getNextID(typeid(State));
    return id;
}

/// REQUIRES: the current context of the scope has the state. Breaking this is reported.
template <class State>
State& state() {
    return *static_cast<State*>(Detail<typename State::Scope>::findOrFail(stateID<State>(), typeid(State)).get());
}

template <class State>
void deleteState(void* object) {
    delete static_cast<State*>(object);
    std::cout << State::label << " deleted\n";
}

/// REQUIRES: the current context of the scope has no such state yet. Breaking this is reported.
template <class State>
State& insertState(State value) {
    StatePtr fresh(new State(std::move(value)), &deleteState<State>);
    StatePtr& stored = Detail<typename State::Scope>::insert(stateID<State>(), typeid(State), std::move(fresh));
    return *static_cast<State*>(stored.get());
}

void openDocument(management::Context<scope::Zarn>& project, const char* text) {
    management::Context<scope::Workspace> document(project);
    const management::thisthread::ContextActivator activator(document);
    insertState(Document{text});
    const int number = ++state<Project>().documents;
    std::cout << "document " << number << ": " << state<Document>().text << '\n';
}

}  // namespace

int main() {
    management::Context<scope::Process> process;
    management::Context<scope::Zarn> project(process);
    {
        const management::thisthread::ContextActivator activator(project);
        insertState(Project());
        openDocument(project, "first text");
        openDocument(project, "second text");
    }
    std::cout << "project closes\n";
}
