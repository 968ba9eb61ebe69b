#include "model.h"

#include <algorithm>
#include <utility>
#include "names.h"
#include "text.h"

namespace timeline {

namespace {

std::size_t index(Scope scope) { return static_cast<std::size_t>(scope); }

bool isOwner(Kind kind) { return kind == Kind::destroy || kind == Kind::destruct || kind == Kind::erase; }

// Of the states that an operation works on.
Scope stateScope(const Signature& signature) {
    return signature.kind == Kind::eraseAll ? signature.stateScope : signature.scope;
}

// The state, if it can be one of this type: either scope may be unknown.
const State* ifOfType(const std::optional<State>& state, const TypeKey& key) {
    if (!state || state->typeId != key.id) return nullptr;
    const bool areKnown = state->scope != Scope::unknown && key.scope != Scope::unknown;
    return areKnown && state->scope != key.scope ? nullptr : &*state;
}

Scope parentScope(Scope scope) {
    if (scope == Scope::zarn) return Scope::process;
    return scope == Scope::workspace ? Scope::zarn : Scope::unknown;
}

}  // namespace

void Model::add(const RecordReader::Numbered& numbered) {
    const Record& record = numbered.record;
    m_place = {record.thread, record.indentation, record.time, numbered.line};
    if (m_counts.records++ == 0) {
        m_counts.begin = record.time;
        tell([&](Observer& observer) { observer.traceBegan(record.time); });
    }
    m_counts.end = record.time;
    std::visit([this](const auto& content) { handle(content); }, numbered.content);
}

void Model::finish() {
    for (auto& [number, thread] : m_threads) {
        m_place.thread = number;
        while (!thread.frames.empty()) {
            closeTop(thread, Operation::Ending::unfinished);
            ++m_counts.unfinished;
        }
        forgetFreed(thread);
        for (const Scope scope : {Scope::workspace, Scope::zarn}) {
            setCurrent(scope, 0);
        }
    }
    while (!m_contexts.empty()) {
        LiveContext live = std::move(m_contexts.rbegin()->second);
        m_contexts.erase(std::prev(m_contexts.end()));
        ++m_counts.contextsAlive[index(live.context.scope)];
        endContext(std::move(live), Context::Ending::alive);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Records

void Model::handle(const Entry& entry) {
    ++m_counts.entries;
    ++m_counts.operations[static_cast<std::size_t>(entry.signature->kind)];
    ThreadState& thread = threadState();
    closeLost(thread, false);
    Frame frame;
    frame.indentation = m_place.indentation;
    frame.operation.signature = entry.signature;
    frame.operation.thread = m_place.thread;
    frame.operation.depth = static_cast<unsigned>(thread.frames.size());
    frame.operation.begin = m_place.time;
    applyEntry(thread, frame, entry);
    tell([&](Observer& observer) { observer.operationBegan(frame.operation); });
    thread.frames.push_back(frame);
}

void Model::handle(const Exit& exit) {
    ++m_counts.exits;
    ThreadState& thread = threadState();
    closeLost(thread, true);
    const bool isAtIndentation = !thread.frames.empty() && thread.frames.back().indentation == m_place.indentation;
    const bool isMatch = isAtIndentation && thread.frames.back().operation.signature == exit.signature;
    if (isAtIndentation && !isMatch) {
        m_problems.add(Problem::exitMissing, m_place.line);
        closeTop(thread, Operation::Ending::exitMissing);
    }
    if (isMatch) {
        closeTop(thread, exit.isThrow ? Operation::Ending::thrown : Operation::Ending::exit);
    } else {
        m_problems.add(Problem::entryMissing, m_place.line);
    }
    if (exit.isThrow) {
        ++m_counts.thrown;
        mark(Mark::Kind::thrown, exit.signature->name + " was left by an exception");
    }
}

void Model::handle(const Push& push) {
    ++m_counts.activations;
    closeLost(threadState(), false);
    makeCurrent(push);
}

void Model::handle(const Pop& pop) {
    ++m_counts.deactivations;
    closeLost(threadState(), false);
    makeCurrent(pop.restored);
}

void Model::handle(const TypeId& typeId) {
    ++m_counts.typeIds;
    closeLost(threadState(), false);
    m_types[typeId.key] = keep(typeId.type);
}

void Model::handle(const LateUse& use) {
    ++m_counts.lateUses;
    ThreadState& thread = threadState();
    closeLost(thread, false);
    const State* const deleted = ifOfType(thread.deleted, use.deleted);
    const std::string used = typeText(use.used);
    const std::string action = use.isInsertion ? " created " + used + " anew" : " looked for " + used;
    mark(Mark::Kind::lateUse,
         "the deleter of " + deletedText(thread, use.deleted, 0, deleted) + action + " in " +
             contextText(thread, use.used.scope, use.context, nullptr) + ", where it had already been deleted",
         deleted);
}

void Model::handle(const SlowDeletion& deletion) {
    ++m_counts.slowDeletions;
    ThreadState& thread = threadState();
    closeLost(thread, false);
    const State* const deleted = ifOfType(thread.deleted, deletion.deleted);
    mark(Mark::Kind::slowDeletion,
         deletedText(thread, deletion.deleted, deletion.context, deleted) + " took " + duration(deletion.took) +
             "; the limit is " + duration(deletion.limit),
         deleted);
}

void Model::handle(const Error& error) {
    ++m_counts.errors;
    closeLost(threadState(), false);
    std::string text(error.message);
    text.append(" (").append(error.function).append(", m_file=").append(error.place).append(")");
    mark(Mark::Kind::error, text);
}

void Model::handle(const CaughtException& exception) {
    ++m_counts.caughtExceptions;
    closeLost(threadState(), false);
    mark(Mark::Kind::caughtException, exception.text);
}

void Model::handle(const OtherChannel&) {
    ++m_counts.otherChannels;
    closeLost(threadState(), false);
}

// ---------------------------------------------------------------------------------------------------------------------
// Operations

Model::ThreadState& Model::threadState() {
    const auto [entry, isNew] = m_threads.try_emplace(m_place.thread);
    if (isNew) {
        ++m_counts.threads;
        tell([&](Observer& observer) { observer.threadAppeared(m_place.thread); });
    }
    return entry->second;
}

// A record that is indented no deeper than an operation's own records shows that the operation has ended.
void Model::closeLost(ThreadState& thread, bool isExit) {
    const auto isLost = [&](const Frame& frame) {
        return isExit ? frame.indentation > m_place.indentation : frame.indentation >= m_place.indentation;
    };
    while (!thread.frames.empty() && isLost(thread.frames.back())) {
        m_problems.add(Problem::exitMissing, m_place.line);
        closeTop(thread, Operation::Ending::exitMissing);
    }
}

void Model::closeTop(ThreadState& thread, Operation::Ending ending) {
    Frame frame = thread.frames.back();
    thread.frames.pop_back();
    frame.operation.end = m_place.time;
    frame.operation.ending = ending;
    thread.deleted = frame.dying;
    const bool isUnfinished = ending == Operation::Ending::unfinished;
    if (frame.dying) {
        endState(*frame.dying, isUnfinished ? State::Ending::beingDeleted : State::Ending::deleted);
    } else if (!isUnfinished && ending != Operation::Ending::thrown) {
        applyEnding(thread, frame);
    }
    tell([&](Observer& observer) { observer.operationEnded(frame.operation); });
}

void Model::applyEntry(ThreadState& thread, Frame& frame, const Entry& entry) {
    Operation& operation = frame.operation;
    const Signature& signature = *entry.signature;
    frame.typeId = entry.typeId;
    operation.type = keep(entry.type);
    if (entry.typeId && !entry.type.empty()) m_types[{stateScope(signature), *entry.typeId}] = operation.type;
    if (signature.kind == Kind::create) {
        if (entry.context) operation.context = beginContext(*entry.context, signature.scope, true).context.id;
    } else if (signature.kind == Kind::deleteState) {
        if (entry.typeId) frame.dying = takeState(thread, *entry.typeId);
        if (frame.dying) operation.context = frame.dying->context;
        if (frame.dying) operation.type = frame.dying->type;
    } else {
        if (thread.frames.size() <= thread.freedDepth) forgetFreed(thread);
        if (entry.context) operation.context = contextAt(*entry.context, signature.scope);
    }
}

// What an operation has done once it has ended. One whose exit is missing is taken to have done it.
void Model::applyEnding(ThreadState& thread, const Frame& frame) {
    switch (frame.operation.signature->kind) {
        case Kind::releaseParent:
            return applyParentReleased(thread, frame);
        case Kind::destroy:
            return applyDestroyed(frame);
        case Kind::destruct:
            applyDestroyed(frame);
            return freeContext(thread, frame.operation.context);
        case Kind::insert:
        case Kind::findOrInsert:
            return insertState(frame);
        default:
            return;
    }
}

// Called by `destroy` and by the destructor: which of them this is, its caller learns from it.
void Model::applyParentReleased(ThreadState& thread, const Frame& frame) {
    if (thread.frames.empty()) return;
    Frame& caller = thread.frames.back();
    LiveContext* const live = find(frame.operation.context);
    if (!live || caller.operation.context != frame.operation.context) return;
    caller.hasReleasedParent = true;
    live->context.destroyBegin = caller.operation.begin;
    live->context.destroyer = m_place.thread;
}

// `destroy` does nothing where the context is destroyed already, or waits for the last of its children: the parent is
// then not left.
void Model::applyDestroyed(const Frame& frame) {
    LiveContext* const live = find(frame.operation.context);
    if (!live || !frame.hasReleasedParent) return;
    live->context.destroyEnd = m_place.time;
    ++m_counts.contextsDestroyed[index(live->context.scope)];
    const ThreadState& thread = m_threads[m_place.thread];
    if (thread.current[index(live->context.scope)] == live->context.id) setCurrent(live->context.scope, 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// Contexts

ContextId Model::contextAt(Address address, Scope scope) {
    if (address == 0) return 0;
    const auto found = m_addresses.find(address);
    if (found != m_addresses.end() && find(found->second)->context.scope == scope) return found->second;
    return beginContext(address, scope, false).context.id;
}

Model::LiveContext& Model::beginContext(Address address, Scope scope, bool isBeginKnown) {
    if (const auto previous = m_addresses.find(address); previous != m_addresses.end()) {
        m_problems.add(Problem::endOfContextMissing, m_place.line);
        auto live = m_contexts.extract(previous->second);
        endContext(std::move(live.mapped()), Context::Ending::endMissing);
    }
    Context context;
    context.id = ++m_lastContext;
    context.scope = scope;
    context.number = ++m_numbers[index(scope)];
    context.address = address;
    context.parent = onlyAlive(parentScope(scope));
    if (context.parent != 0) context.parentSource = Context::ParentSource::onlyOneAlive;
    context.isBeginKnown = isBeginKnown;
    context.creator = m_place.thread;
    context.begin = isBeginKnown ? m_place.time : m_counts.begin;
    ++(isBeginKnown ? m_counts.contexts : m_counts.contextsUnseen)[index(scope)];
    m_addresses[address] = context.id;
    tell([&](Observer& observer) { observer.contextBegan(context); });
    return m_contexts.emplace(context.id, LiveContext{context, {}}).first->second;
}

void Model::endContext(LiveContext live, Context::Ending ending) {
    m_addresses.erase(live.context.address);
    live.context.end = m_place.time;
    live.context.ending = ending;
    tell([&](Observer& observer) { observer.contextEnded(live.context); });
    endStates(live, ending == Context::Ending::alive ? State::Ending::alive : State::Ending::endMissing);
}

// States that its destructor has left are deleted behind its exit.
void Model::freeContext(ThreadState& thread, ContextId id) {
    auto live = m_contexts.extract(id);
    if (!live) return;
    LiveContext freed = std::move(live.mapped());
    auto states = std::exchange(freed.states, {});
    const Context context = freed.context;
    endContext(std::move(freed), Context::Ending::freed);
    if (states.empty()) return;
    forgetFreed(thread);
    thread.freed = LiveContext{context, std::move(states)};
    thread.freedDepth = thread.frames.size();
}

void Model::forgetFreed(ThreadState& thread) {
    if (!thread.freed) return;
    endStates(*thread.freed, State::Ending::endMissing);
    thread.freed.reset();
}

Model::LiveContext* Model::find(ContextId id) {
    const auto found = m_contexts.find(id);
    return found == m_contexts.end() ? nullptr : &found->second;
}

// As far as the trace has shown it before: what dies late names contexts that may be gone, and is no sign of life.
const Context* Model::shownAt(const ThreadState& thread, Address address, Scope scope) {
    const auto found = m_addresses.find(address);
    const LiveContext* const live = found == m_addresses.end() ? nullptr : find(found->second);
    if (live && live->context.scope == scope) return &live->context;
    const bool isFreed =
        thread.freed && thread.freed->context.address == address && thread.freed->context.scope == scope;
    return isFreed ? &thread.freed->context : nullptr;
}

// Those that are being destroyed take no children.
ContextId Model::onlyAlive(Scope scope) const {
    ContextId only = 0;
    for (const auto& [id, live] : m_contexts) {
        if (live.context.scope != scope || live.context.destroyBegin) continue;
        if (only != 0) return 0;
        only = id;
    }
    return only;
}

// ---------------------------------------------------------------------------------------------------------------------
// States

State Model::newState(const Context& context, std::uint64_t typeId) {
    State state;
    state.id = ++m_lastState;
    state.context = context.id;
    state.scope = context.scope;
    state.contextNumber = context.number;
    state.type = typeName({context.scope, typeId});
    state.typeId = typeId;
    state.begin = context.begin;
    return state;
}

void Model::insertState(const Frame& frame) {
    LiveContext* const live = find(frame.operation.context);
    if (!live || !frame.typeId) return;
    const auto present = live->states.find(*frame.typeId);
    if (present != live->states.end()) {
        if (frame.operation.signature->kind == Kind::findOrInsert) return;
        // Another thread has taken it out, and will tell of it later or never.
        endState(present->second, State::Ending::endMissing);
        live->states.erase(present);
    }
    State state = newState(live->context, *frame.typeId);
    if (!frame.operation.type.empty()) state.type = frame.operation.type;
    state.isBeginKnown = true;
    state.inserter = m_place.thread;
    state.begin = m_place.time;
    ++m_counts.statesInserted;
    tell([&](Observer& observer) { observer.stateBegan(state); });
    live->states.emplace(*frame.typeId, state);
}

State Model::takeState(ThreadState& thread, std::uint64_t typeId) {
    LiveContext* const owner = ownerOf(thread, typeId);
    State state;
    if (!owner) {
        m_problems.add(Problem::ownerUnknown, m_place.line);
        state = newState({}, typeId);
        state.begin = m_place.time;
    } else if (const auto present = owner->states.find(typeId); present != owner->states.end()) {
        state = present->second;
        owner->states.erase(present);
    } else {
        state = newState(owner->context, typeId);
        ++m_counts.statesUnseen;
    }
    ++m_counts.statesDeleted;
    state.deleteBegin = m_place.time;
    state.deleter = m_place.thread;
    return state;
}

Model::LiveContext* Model::ownerOf(ThreadState& thread, std::uint64_t typeId) {
    const Frame* const caller = thread.frames.empty() ? nullptr : &thread.frames.back();
    if (caller && caller->operation.signature->kind == Kind::eraseAll) return ownerInEraseAll(*caller, typeId);
    LiveContext* const owner =
        caller && isOwner(caller->operation.signature->kind) ? find(caller->operation.context) : nullptr;
    if (owner && owner->states.contains(typeId)) return owner;
    if (thread.freed && thread.freed->states.contains(typeId)) return &*thread.freed;
    return owner ? owner : onlyOwner(typeId);
}

// Contexts are gone through in the order of their creation, and those that are being destroyed are no longer found.
Model::LiveContext* Model::ownerInEraseAll(const Frame& frame, std::uint64_t typeId) {
    for (auto& [id, live] : m_contexts) {
        const bool isReached = !live.context.destroyBegin || id == frame.operation.context;
        if (live.context.scope == frame.operation.signature->stateScope && isReached && live.states.contains(typeId)) {
            return &live;
        }
    }
    return nullptr;
}

Model::LiveContext* Model::onlyOwner(std::uint64_t typeId) {
    LiveContext* only = nullptr;
    for (auto& [id, live] : m_contexts) {
        if (!live.states.contains(typeId)) continue;
        if (only) return nullptr;
        only = &live;
    }
    return only;
}

void Model::endState(State state, State::Ending ending) {
    state.end = m_place.time;
    state.ending = ending;
    tell([&](Observer& observer) { observer.stateEnded(state); });
}

void Model::endStates(LiveContext& live, State::Ending ending) {
    for (const auto& [id, state] : live.states) {
        if (ending == State::Ending::alive) ++m_counts.statesAlive;
        endState(state, ending);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Activation

void Model::makeCurrent(const Push& contexts) {
    const ContextId zarn = contextAt(contexts.zarn, Scope::zarn);
    const ContextId workspace = contextAt(contexts.workspace, Scope::workspace);
    if (LiveContext* const live = find(workspace); live && zarn != 0) {
        live->context.parent = zarn;
        live->context.parentSource = Context::ParentSource::recorded;
    }
    setCurrent(Scope::zarn, zarn);
    setCurrent(Scope::workspace, workspace);
}

// A destroyed context can't be made current: none is then.
void Model::setCurrent(Scope scope, ContextId id) {
    const LiveContext* const live = find(id);
    if (!live || live->context.destroyEnd) id = 0;
    ContextId& current = m_threads[m_place.thread].current[index(scope)];
    if (current == id) return;
    current = id;
    tell([&](Observer& observer) { observer.currentChanged(m_place.thread, scope, id, m_place.time); });
}

// ---------------------------------------------------------------------------------------------------------------------
// Texts

std::string_view Model::keep(std::string_view text) {
    if (text.empty()) return {};
    const auto found = m_texts.find(text);
    return found != m_texts.end() ? *found : *m_texts.emplace(text).first;
}

std::string_view Model::typeName(const TypeKey& key) const {
    const auto found = m_types.find(key);
    return found == m_types.end() ? std::string_view() : found->second;
}

std::string Model::typeText(const TypeKey& key) const {
    const std::string_view name = typeName(key);
    return name.empty() ? "a state of type id " + std::to_string(key.id) : std::string(name);
}

// `host::Cache of Zarn 1`
std::string Model::deletedText(const ThreadState& thread, const TypeKey& key, Address context, const State* state) {
    const std::string type = state && !state->type.empty() ? std::string(state->type) : typeText(key);
    return type + " of " + contextText(thread, key.scope, context, state);
}

// The context at the address, or of the state: as much as is known of either. No scope is on record of a state whose
// context was being freed.
std::string Model::contextText(const ThreadState& thread, Scope scope, Address address, const State* state) {
    if (const Context* const context = shownAt(thread, address, scope)) return contextName(scope, context->number);
    if (state && state->context != 0) return contextName(state->scope, state->contextNumber);
    if (scope == Scope::unknown) return "a freed context";
    const std::string name(scopeName(scope));
    return address == 0 ? "a " + name + " context" : "the " + name + " context at " + addressText(address);
}

void Model::mark(Mark::Kind kind, std::string_view text, const State* state) {
    const Mark mark{kind, m_place.thread, m_place.time, m_place.line, state ? state->id : 0, text};
    tell([&](Observer& observer) { observer.marked(mark); });
}

}  // namespace timeline
