#pragma once

/// @file
/// The verbs by which this host reaches its state, each a thin cover over one operation of `tav::Detail<Scope>`: it
/// supplies the type id and casts the type-erased pointer back.
///
/// A state type names its scope and says what it is called in the teardown list:
/// @code
/// struct Selection {
///     using Scope = tav::scope::Workspace;
///     std::string label() const { return "Selection"; }
/// };
///
/// insertState<Selection>();
/// state<Selection>();  // the one of the workspace that is current on the calling thread
/// @endcode

#include <foundation/tav/detail.h>
#include <cstdint>
#include <memory>
#include <typeinfo>
#include <utility>
#include "teardown_log.h"

namespace text_host {

/// The type id of a state type. Asked for once: ids index the tables of all contexts, so they should stay few.
template <class State>
std::uint64_t stateID() {
    static const std::uint64_t id = tav::Detail<typename State::Scope>::getNextID(typeid(State));
    return id;
}

/// The state of the type in the current context of its scope.
///
/// REQUIRES: it was inserted. Breaking this is reported to the error handler.
template <class State>
State& state() {
    return *static_cast<State*>(tav::Detail<typename State::Scope>::findOrFail(stateID<State>(), typeid(State)).get());
}

/// The same, or null if there is none.
template <class State>
State* findState() {
    tav::StatePtr* const found = tav::Detail<typename State::Scope>::find(stateID<State>(), typeid(State));
    return found ? static_cast<State*>(found->get()) : nullptr;
}

/// The deleter of every state. It may call the library, since no context is locked while it runs. While the Process
/// context goes down, that finds the states that are older than the one deleted; the teardown log is the oldest.
template <class State>
void deleteState(void* address) {
    const std::unique_ptr<State> object(static_cast<State*>(address));
    if (auto* const log = findState<TeardownLog>()) {
        log->add(scopeName<typename State::Scope>, object->label());
    }
}

/// Makes a state and stores it in the current context of its scope.
///
/// REQUIRES: the context has none of this type yet. Breaking this is reported to the error handler.
template <class State, class... Arguments>
State& insertState(Arguments&&... arguments) {
    tav::StatePtr fresh(new State(std::forward<Arguments>(arguments)...), &deleteState<State>);
    tav::StatePtr& stored =
        tav::Detail<typename State::Scope>::insert(stateID<State>(), typeid(State), std::move(fresh));
    return *static_cast<State*>(stored.get());
}

}  // namespace text_host
