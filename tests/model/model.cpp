#include "model.h"

#include <algorithm>
#include <exception>
#include <sstream>
#include <utility>

namespace foundation::tests::model {
namespace {

// What leaves an operation of the model.
struct Failure {
    std::string result;   // of the call
    std::string message;  // of the report, where it was one
};

constexpr auto scopes = std::to_array({Scope::process, Scope::zarn, Scope::workspace});

const std::string callerBug = " This indicates a bug in the code calling TAV.";
const std::string contextRequired =
    "The context might be inaccessible to this thread, or might have been deactivated or destroyed. 'Zarn' or "
    "'Workspace' scoped states require an active 'Zarn' context; 'Process' scoped states require an active 'Process' "
    "context.";

std::string tagName(Scope scope) { return "foundation::tav::scope::" + std::string(nameOf(scope)); }

// As functions are named in reports.
std::string member(const std::string& classTemplate, Scope scope, std::string_view function) {
    return classTemplate + "<struct " + tagName(scope) + ">::" + std::string(function);
}

// As functions are named in the records of scopes, once the compilers' ways are levelled.
std::string signature(Scope scope, std::string_view function) {
    return "ContextImpl<" + std::string(nameOf(scope)) + ">::" + std::string(function);
}

std::string address(int context) { return context == 0 ? "0" : "@" + std::to_string(context); }

Scope childScope(Scope scope) { return scope == Scope::process ? Scope::zarn : Scope::workspace; }

Scope parentScope(Scope scope) { return scope == Scope::workspace ? Scope::zarn : Scope::process; }

constexpr std::size_t indexOf(Scope scope) { return static_cast<std::size_t>(scope); }

// The first object from `start` on, round the corner, that fits.
template <class Objects, class Fits>
int pick(const Objects& objects, unsigned start, const Fits& fits) {
    const std::size_t count = objects.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = (start + i) % count;
        if (fits(objects[index])) return static_cast<int>(index);
    }
    return -1;
}

template <class Objects>
int pickThere(const Objects& objects, unsigned start) {
    return pick(objects, start, [](const auto& object) { return object.isThere; });
}

template <class Objects>
int pickFree(const Objects& objects, unsigned start) {
    return pick(objects, start, [](const auto& object) { return !object.isThere; });
}

bool isUsable(const Model::Set& set) { return set.isThere && !set.isBusy; }

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// What can be seen

/// One share of a context, released at the end of a block.
class Model::Share {
public:
    Share(Model& model, int context) : m_model(model), m_context(context) {}
    // NOLINTNEXTLINE(bugprone-exception-escape): what fails here may end the test
    ~Share() { m_model.release(m_context); }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    static int retain(Model& model, int context) {
        if (context != 0) ++model.m_contexts.at(context).shares;
        return context;
    }

    int detach() { return std::exchange(m_context, 0); }

private:
    Model& m_model;
    int m_context;
};

/// Marks what an operation is in progress on, to the end of a block.
class Model::Busy {
public:
    explicit Busy(bool& mark) : m_mark(mark) { m_mark = true; }
    ~Busy() { m_mark = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    bool& m_mark;
};

/// The entry and the exit record of a call.
class Model::ScopeRecord {
public:
    ScopeRecord(Model& model, std::string signature, const std::string& details)
        : m_model(model),
          m_isEnabled((model.m_mask & 32) != 0),
          m_signature(std::move(signature)),
          m_uncaught(std::uncaught_exceptions()) {
        if (!m_isEnabled) return;
        m_model.trace(32, m_signature + ((model.m_mask & 2) != 0 ? " " + details : ""));
        ++m_model.here().indentation;
    }

    ~ScopeRecord() {
        if (!m_isEnabled) return;
        --m_model.here().indentation;
        m_model.write(64, m_signature + (std::uncaught_exceptions() > m_uncaught ? " [throw]" : ""));
    }

    ScopeRecord(const ScopeRecord&) = delete;
    ScopeRecord& operator=(const ScopeRecord&) = delete;

private:
    Model& m_model;
    const bool m_isEnabled;
    const std::string m_signature;
    const int m_uncaught;
};

/// A deletion of a state that was stored, while the library records it.
class Model::RecordedDeletion {
public:
    RecordedDeletion(Model& model, std::optional<Scope> scope, int context, std::uint64_t typeID)
        : m_model(model), m_index(model.m_deletions.size()) {
        if (context != 0 && m_model.m_contexts.at(context).isDestroying)
            m_model.m_contexts.at(context).deleted.insert(typeID);
        m_model.m_deletions.push_back({scope, context, typeID, m_model.m_running.size()});
        m_model.m_running.push_back(m_index);
    }

    // NOLINTNEXTLINE(bugprone-exception-escape): what fails here may end the test
    ~RecordedDeletion() {
        m_model.m_running.pop_back();
        const Deletion deletion = m_model.m_deletions[m_index];
        const auto type = [](const std::optional<Scope>& scope, std::uint64_t typeID) {
            return "scope=" + (scope ? tagName(*scope) : "") + "  id=" + std::to_string(typeID);
        };
        for (const LateUse& use : deletion.lateUses)
            m_model.trace(16, (use.isInserted ? "late insert  " : "late find  ") + type(use.scope, use.typeID) +
                                  "  context=" + address(use.context) + "  by  " +
                                  type(deletion.scope, deletion.typeID));
    }

    RecordedDeletion(const RecordedDeletion&) = delete;
    RecordedDeletion& operator=(const RecordedDeletion&) = delete;

private:
    Model& m_model;
    const std::size_t m_index;
};

void Model::note(Event::Kind kind, std::string text) { m_effect.events.push_back({kind, std::move(text)}); }

void Model::trace(unsigned severity, const std::string& text) {
    if ((m_mask & severity) != 0) write(severity, text);
}

void Model::write(unsigned severity, const std::string& text) {
    if (!m_isCoreEnabled) return;
    note(Event::Kind::record, "[foundation::tav] " + std::to_string(severity) + " " +
                                  std::string(std::size_t{2} * here().indentation, ' ') + text);
}

void Model::report(const std::string& function, const std::string& message, const std::string& file) {
    trace(512, "m_function=" + function + "  m_file=" + file + "  m_line=#  m_message=" + message + callerBug);
    note(Event::Kind::report, "handler " + std::to_string(m_handler) + ", " + file + ", " + function + ": " + message);
    throw Failure{"misuse: " + message, message};
}

void Model::check(bool holds, const char* expression) {
    if (!holds) note(Event::Kind::assertion, expression);
}

// ---------------------------------------------------------------------------------------------------------------------
// Contexts

int Model::makeContext(Scope scope, int parent) {
    const int context = ++m_lastContext;
    m_contexts[context] = {.scope = scope, .parent = Share::retain(*this, parent), .shares = 1};
    const ScopeRecord record(*this, signature(scope, "ContextImpl"), " this=" + address(context));
    return context;
}

void Model::release(int context) {
    if (context != 0 && --m_contexts.at(context).shares == 0) end(context);
}

void Model::end(int context) {
    Context& self = m_contexts.at(context);
    {
        const ScopeRecord record(*this, signature(self.scope, "~ContextImpl"), " this=" + address(context));
        const Share parent(*this, std::exchange(self.parent, 0));
        if (self.state != State::destroyed) {
            releaseParent(context);
            destroyStates(context);
        }
        leaveActivation(context);
    }
    while (!self.stored.empty())
        deleteNewest(context);
    for (Thread& thread : m_threads)
        if (auto& current = thread.current[indexOf(self.scope)]; current == context) {
            // Nobody keeps the context that another thread has current.
            m_effect.isDefined = false;
            current = 0;
        }
    note(Event::Kind::release, address(context));
    m_contexts.erase(context);
}

int Model::createChild(int parent) {
    const Scope scope = m_contexts.at(parent).scope;
    Share child(*this, makeContext(childScope(scope), parent));
    Context& self = m_contexts.at(parent);
    const std::string function = member("ContextImpl", scope, "createChild");
    if (self.state != State::running) report(function, "Attempting to create a child of a shutdown context.");
    if (scope == Scope::zarn && !self.children.empty())
        report(function, "Attempting to create more than the '1' child contexts allowed for " + tagName(scope) +
                             "-type contexts.");
    const int created = child.detach();
    self.children.push_back(Share::retain(*this, created));
    return created;
}

void Model::incRef(int context) {
    Context& self = m_contexts.at(context);
    const bool wasActive = self.activations++ > 0;
    if (self.scope != Scope::process && wasActive)
        report(member("ContextImpl", self.scope, "incRef"),
               "Non-concurrent context activated by more than one thread. Only contexts with 'Process' scope can be "
               "activated by multiple threads.");
}

void Model::decRef(int context) {
    Context& self = m_contexts.at(context);
    if (self.scope == Scope::process && self.state == State::destroyed) return;
    const std::uint64_t previous = self.activations--;
    check(previous > 0, "previous > 0");
}

bool Model::destroy(int context) {
    Context& self = m_contexts.at(context);
    const ScopeRecord record(*this, signature(self.scope, "destroy"), " this=" + address(context));
    const Share parent(*this, Share::retain(*this, self.parent));
    const int parentContext = self.parent;
    if (self.state == State::destroyed) return true;
    if (self.isDestroying) return false;
    if (self.children.empty() && self.dyingChildren > 0) {
        self.state = State::shutdown;
        self.goesWithLastChild = true;
        return false;
    }
    releaseParent(context);
    destroyStates(context);
    self.state = State::destroyed;
    leaveActivation(context);
    if (parentContext != 0) childDestroyed(parentContext);
    return true;
}

void Model::releaseParent(int context) {
    Context& self = m_contexts.at(context);
    const ScopeRecord record(*this, signature(self.scope, "releaseParentNoLock"), " this=" + address(context));
    if (!self.children.empty())
        report(member("ContextImpl", self.scope, "releaseParentNoLock"), "Cannot destroy context unless existing " +
                                                                             std::to_string(self.children.size()) +
                                                                             " child contexts are destroyed first.");
    self.state = State::shutdown;
    if (self.parent == 0) return;
    std::erase(m_contexts.at(self.parent).children, context);
    ++m_contexts.at(self.parent).dyingChildren;
    release(context);
    release(std::exchange(self.parent, 0));
}

void Model::destroyStates(int context) {
    Context& self = m_contexts.at(context);
    self.isDestroying = true;
    while (!self.stored.empty())
        deleteNewest(context);
    self.isDestroying = false;
    self.deleted.clear();
}

void Model::deleteNewest(int context) {
    Context& self = m_contexts.at(context);
    const Stored newest = self.stored.back();
    self.stored.pop_back();
    if (self.isDestroying)
        deleteState(self.scope, context, newest.typeID, newest.state);
    else
        deleteState(std::nullopt, 0, newest.typeID, newest.state);
}

void Model::leaveActivation(int context) {
    Context& self = m_contexts.at(context);
    if (self.scope == Scope::process) {
        if (m_active == context) m_active = 0;
        self.activations = 0;
    } else if (int& current = here().current[indexOf(self.scope)]; current == context) {
        current = 0;
        decRef(context);
    }
}

void Model::childDestroyed(int context) {
    Context& self = m_contexts.at(context);
    --self.dyingChildren;
    if (self.goesWithLastChild && self.dyingChildren == 0 && self.children.empty()) destroy(context);
}

// ---------------------------------------------------------------------------------------------------------------------
// Context<Scope>

Model::Handle& Model::handle(Scope scope, int index) {
    return m_handles[indexOf(scope)][static_cast<std::size_t>(index)];
}

const Model::Handle& Model::handle(Scope scope, int index) const {
    return m_handles[indexOf(scope)][static_cast<std::size_t>(index)];
}

void Model::construct(const Action& action) {
    const Scope scope = action.kind.scope;
    if (scope == Scope::process) {
        const int created = makeContext(scope, 0);
        Share context(*this, created);
        if (action.flag) activate(created);
        handle(scope, action.to) = {.isThere = true, .context = context.detach()};
        return;
    }
    const int parent = handle(parentScope(scope), action.from).context;
    if (parent == 0)
        report(member("foundation::tav::management::Context", scope, "Context"),
               "Attempting to create a child of a shutdown context.");
    const int created = createChild(parent);
    handle(scope, action.to) = {.isThere = true, .context = created};
}

void Model::freeHandle(const Action& action) {
    const int context = std::exchange(handle(action.kind.scope, action.from), {}).context;
    if (context == 0) return;
    try {
        m_contexts.at(context).goesWithLastChild = true;
        destroyHandle(context);
    } catch (const Failure& failure) {
        trace(512, "Exception caught: " + failure.message);
    }
    release(context);
}

void Model::activate(int context) {
    const std::string function = member("foundation::tav::management::Context", Scope::process, "activate");
    if (context == 0 || m_contexts.at(context).state != State::running)
        report(function, "Attempting to activate a shutdown process context");
    const int previous = std::exchange(m_active, context);
    if (previous == context) return;
    incRef(context);
    if (previous == 0) return;
    decRef(previous);
    report(function, "Another process context is currently active");
}

void Model::deactivate(int context) {
    if (context == 0) return;
    const int previous = std::exchange(m_active, 0);
    if (previous == 0) return;
    decRef(previous);
    if (previous != context)
        report(member("foundation::tav::management::Context", Scope::process, "deactivate"),
               "Another process context is currently active");
}

void Model::destroyHandle(int context) {
    if (context == 0) return;
    const Share kept(*this, Share::retain(*this, context));
    if (destroy(context)) check(m_contexts.at(context).activations == 0, "!isActive()");
}

std::string Model::contextOperation(const Action& action) {
    const Scope scope = action.kind.scope;
    switch (action.kind.verb) {
        case Verb::construct:
            construct(action);
            break;
        case Verb::move:
            handle(scope, action.to) = {.isThere = true, .context = handle(scope, action.from).context};
            handle(scope, action.from).context = 0;
            break;
        case Verb::free:
            freeHandle(action);
            break;
        case Verb::activate:
            activate(handle(scope, action.from).context);
            break;
        case Verb::deactivate:
            deactivate(handle(scope, action.from).context);
            break;
        case Verb::shutdown:
            if (const int context = handle(scope, action.from).context; context != 0)
                if (State& state = m_contexts.at(context).state; state == State::running) state = State::shutdown;
            break;
        default:
            destroyHandle(handle(scope, action.from).context);
            break;
    }
    return "done";
}

// ---------------------------------------------------------------------------------------------------------------------
// Detail<Scope>, and the typed layer

std::string Model::typeName(const Action& action) const {
    if (m_layer == Layer::typed)
        return "foundation::tests::model::World::Typed<" + tagName(action.kind.scope) + ", " +
               std::to_string(action.type) + ">";
    return action.type == 0 ? "foundation::tests::model::Alpha" : "foundation::tests::model::Beta";
}

std::string Model::doesNotExist(const Action& action) const {
    return "Type '" + typeName(action) +
           "' does not exist in TAV. The caller requested pre-existing state of the specified type, but it was never "
           "created.";
}

int Model::requiredContext(Scope scope) const { return currentOn(m_thread, scope); }

int Model::requireContext(Scope contextScope, const Action& action) {
    return requireContext(contextScope, action, action.kind.verb);
}

int Model::requireContext(Scope contextScope, const Action& action, Verb verb) {
    const int context = requiredContext(contextScope);
    if (context != 0) return context;
    const std::string name(nameOf(verb));
    report(member("foundation::tav::Detail", action.kind.scope, name),
           "Cannot call " + name + "(): No active TAV context with scope '" + tagName(action.kind.scope) +
               "' (specified for state type '" + typeName(action) + "'). " + contextRequired);
}

int Model::find(int context, std::uint64_t typeID) {
    if (typeID == typeIDs[tooLargeID]) throw Failure{"length_error", {}};
    if (typeID == typeIDs[unallocatableID]) throw Failure{"bad_alloc", {}};
    std::uint64_t& slots = m_contexts.at(context).slots;
    if (typeID >= slots) slots = typeID + 1024;
    const int state = stateIn(context, typeID);
    if (state == 0) noteLateUse(context, typeID, false);
    return state;
}

int Model::stateIn(int context, std::uint64_t typeID) const {
    for (const Stored& stored : m_contexts.at(context).stored)
        if (stored.typeID == typeID) return stored.state;
    return 0;
}

std::string Model::stateDetails(const Action& action, int context) const {
    return " typeID=" + std::to_string(action.typeID) + " getName(type)=" + typeName(action) +
           " this=" + address(context);
}

void Model::store(int context, const Action& action, const std::string& function) {
    Context& self = m_contexts.at(context);
    if (self.state != State::running && m_isStrict)
        report(function,
               "Attempting to insert state of type '" + typeName(action) + "' after active context was shutdown.");
    self.stored.push_back({action.typeID, action.state});
    noteLateUse(context, action.typeID, true);
}

std::string Model::insert(int context, const Action& action) {
    const Scope scope = m_contexts.at(context).scope;
    const ScopeRecord record(*this, signature(scope, "insert"), stateDetails(action, context));
    const std::string function = member("ContextImpl", scope, "insert");
    if (find(context, action.typeID) != 0)
        report(function, "State of type '" + typeName(action) +
                             "' already inserted. Consider using 'findOrInsert' to safely retrieve the existing state "
                             "or insert one if absent.");
    store(context, action, function);
    return "state " + std::to_string(action.state);
}

std::string Model::findOrInsert(int context, const Action& action) {
    const Scope scope = m_contexts.at(context).scope;
    const ScopeRecord record(*this, signature(scope, "findOrInsert"), stateDetails(action, context));
    if (const int present = find(context, action.typeID); present != 0) return "state " + std::to_string(present);
    store(context, action, member("ContextImpl", scope, "findOrInsert"));
    return "state " + std::to_string(action.state);
}

int Model::extract(int context, std::uint64_t typeID) {
    std::vector<Stored>& stored = m_contexts.at(context).stored;
    const int state = find(context, typeID);
    std::erase_if(stored, [&](const Stored& item) { return item.typeID == typeID; });
    return state;
}

void Model::makeState(int state) {
    note(Event::Kind::birth, std::to_string(state));
    m_living.at(state).isMade = true;
}

void Model::deleteState(std::optional<Scope> scope, int context, std::uint64_t typeID, int state) {
    std::optional<RecordedDeletion> recorded;
    if (m_recording == Recording::on) recorded.emplace(*this, scope, context, typeID);
    const ScopeRecord record(*this, "InstanceManager::erase", " typeID=" + std::to_string(typeID));
    if (recorded) note(Event::Kind::deletion, "of " + std::to_string(state) + " in " + address(context));
    die(state);
}

/// Only a deleter is late, and only for what has been deleted since the context's destruction began.
void Model::noteLateUse(int context, std::uint64_t typeID, bool isInserted) {
    const Context& self = m_contexts.at(context);
    if (m_running.empty() || !self.isDestroying || !self.deleted.contains(typeID)) return;
    std::vector<LateUse>& uses = m_deletions[m_running.back()].lateUses;
    const auto known = std::find_if(uses.begin(), uses.end(),
                                    [&](const LateUse& use) { return use.context == context && use.typeID == typeID; });
    if (known == uses.end())
        uses.push_back({context, self.scope, typeID, isInserted});
    else
        known->isInserted = known->isInserted || isInserted;
}

/// What is recorded of a call.
void Model::noteDeletions() {
    for (const Deletion& deletion : std::exchange(m_deletions, {})) {
        std::string line =
            deletionLine(deletion.depth, deletion.scope ? tagName(*deletion.scope) : "", deletion.typeID);
        for (const LateUse& use : deletion.lateUses)
            line += lateUseText(tagName(use.scope), use.typeID, use.isInserted);
        note(Event::Kind::deletion, line);
    }
}

void Model::die(int state) {
    note(Event::Kind::death, std::to_string(state));
    const std::optional<Call> call = m_living.at(state).atDeath;
    m_living.erase(state);
    const std::optional<Action> action = call ? resolve(*call, m_thread, true) : std::nullopt;
    m_effect.atDeath[state] = action;
    if (!action) return;
    adopt(*action, std::nullopt);
    m_effect.nested.push_back(action->kind);
    std::ostringstream text;
    text << *action;
    note(Event::Kind::call, text.str());
    const std::string result = resultOf(*action);
    note(Event::Kind::result, result);
}

bool Model::erase(int context, const Action& action) {
    const ScopeRecord record(*this, signature(m_contexts.at(context).scope, "erase"), stateDetails(action, context));
    const int state = extract(context, action.typeID);
    if (state == 0) return false;
    deleteState(action.kind.scope, context, action.typeID, state);
    return true;
}

std::vector<int> Model::contextsBelow(int context, Scope scope) const {
    if (m_contexts.at(context).scope == scope) return {context};
    std::vector<int> found;
    for (const int child : m_contexts.at(context).children) {
        const std::vector<int> below = contextsBelow(child, scope);
        found.insert(found.end(), below.begin(), below.end());
    }
    return found;
}

std::uint64_t Model::eraseAll(int process, const Action& action) {
    const std::string function = "eraseAll<" + std::string(nameOf(action.kind.scope)) + ">";
    const ScopeRecord record(*this, signature(Scope::process, function), stateDetails(action, process));
    std::vector<int> states;
    for (const int context : contextsBelow(process, action.kind.scope))
        if (const int state = extract(context, action.typeID); state != 0) states.push_back(state);
    for (const int state : states)
        deleteState(action.kind.scope, 0, action.typeID, state);
    return states.size();
}

std::string Model::offer(const Action& action) {
    std::string result;
    try {
        result = take(action);
    } catch (const Failure& failure) {
        result = failure.result;
    }
    return result == "state " + std::to_string(action.state) ? result : result + refuse(action);
}

std::string Model::take(const Action& action) {
    const Scope scope = action.kind.scope;
    const bool isInsert = action.kind.verb == Verb::insert;
    if (action.offer != Offer::statePtr) {
        if (action.offer == Offer::nullPtr)
            report("foundation::state::insert",
                   "Attempting to insert a null pointer as state of type '" + typeName(action) +
                       "'. Insert an object, or 'erase' the state to have none.",
                   "foundation/state/registry.cpp");
        const int present = isInsert ? 0 : find(requireContext(scope, action, Verb::find), action.typeID);
        if (present != 0) return "state " + std::to_string(present);
        makeState(action.state);
    }
    const int context = requireContext(scope, action);
    return isInsert ? insert(context, action) : findOrInsert(context, action);
}

/// What becomes of a state that isn't stored: the typed layer deletes it, if there is one at all.
std::string Model::refuse(const Action& action) {
    if (m_living.at(action.state).isMade)
        die(action.state);
    else
        m_living.erase(action.state);
    return action.offer == Offer::statePtr ? ", kept" : "";
}

std::string Model::stateOperation(const Action& action) {
    const Scope scope = action.kind.scope;
    const auto found = [](int state) { return state == 0 ? "none" : "state " + std::to_string(state); };
    switch (action.kind.verb) {
        case Verb::find:
            return found(find(requireContext(scope, action), action.typeID));
        case Verb::findOrFail: {
            const int state = find(requireContext(scope, action), action.typeID);
            if (state == 0) report(member("foundation::tav::Detail", scope, "findOrFail"), doesNotExist(action));
            return found(state);
        }
        case Verb::findOrThrow: {
            const int context = requiredContext(scope);
            if (context == 0)
                throw Failure{"NoActiveContextTypeError " + typeName(action) +
                                  ": No active TAV context with scope specified for state type '" + typeName(action) +
                                  "'. " + contextRequired + callerBug,
                              {}};
            const int state = find(context, action.typeID);
            if (state == 0)
                throw Failure{"DoesNotExistTypeError " + typeName(action) + ": " + doesNotExist(action) + callerBug,
                              {}};
            return found(state);
        }
        case Verb::erase:
            return erase(requireContext(scope, action), action) ? "true" : "false";
        case Verb::eraseAll:
            return std::to_string(eraseAll(requireContext(Scope::process, action), action));
        case Verb::getNextID: {
            if (m_layer == Layer::typed) return std::to_string(action.typeID);
            const std::string id = std::to_string(m_nextIDs[indexOf(scope)]++);
            trace(16, "getNextID  scope=" + tagName(scope) + "  id=" + id + "  type=" + typeName(action));
            return id;
        }
        case Verb::isRequiredContextActive:
            return requiredContext(scope) != 0 ? "true" : "false";
        default:
            return offer(action);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// ContextSet and ContextActivator

void Model::releaseContexts(const Contexts& contexts) {
    release(contexts.workspace);
    release(contexts.zarn);
}

Model::Contexts Model::share(const Contexts& contexts) {
    return {Share::retain(*this, contexts.zarn), Share::retain(*this, contexts.workspace)};
}

int Model::getCurrent(Scope scope) {
    const int current = here().current[indexOf(scope)];
    if (current != 0 && m_contexts.at(current).shares == 0) throw Failure{"bad_weak_ptr", {}};
    return Share::retain(*this, current);
}

int Model::exchangeCurrent(Scope scope, int requested) {
    Share current(*this, getCurrent(scope));
    const int previous = here().current[indexOf(scope)];
    if (requested == previous) return current.detach();
    const int installed = requested != 0 && m_contexts.at(requested).state != State::destroyed ? requested : 0;
    if (installed != 0) incRef(installed);
    here().current[indexOf(scope)] = installed;
    if (previous != 0) decRef(previous);
    return current.detach();
}

/// The contexts that the activator is to make current, shared.
Model::Contexts Model::asked(const Action& action) {
    switch (action.kind.verb) {
        case Verb::activateNull:
            return {action.kind.scope == Scope::workspace ? getCurrent(Scope::zarn) : 0, 0};
        case Verb::activateContext: {
            const int context = handle(action.kind.scope, action.from).context;
            if (action.kind.scope == Scope::zarn) return share({context, 0});
            return share({context == 0 ? 0 : m_contexts.at(context).parent, context});
        }
        default:
            return {};
    }
}

void Model::beginActivator(const Action& action, const Contexts& active) {
    Share zarn(*this, active.zarn);
    Share workspace(*this, active.workspace);
    Share previousZarn(*this, exchangeCurrent(Scope::zarn, active.zarn));
    Share previousWorkspace(*this, exchangeCurrent(Scope::workspace, active.workspace));
    trace(16, "push context  zarn=" + address(active.zarn) + "  workspace=" + address(active.workspace));
    m_activators[static_cast<std::size_t>(action.to)] = {
        .isThere = true,
        .isActivated = true,
        .thread = m_thread,
        .active = {zarn.detach(), workspace.detach()},
        .previous = {previousZarn.detach(), previousWorkspace.detach()}};
}

void Model::endActivator(Activator& activator) {
    if (!std::exchange(activator.isActivated, false)) return;
    const Contexts active = std::exchange(activator.active, {});
    const Contexts previous = std::exchange(activator.previous, {});
    const Share activeZarn(*this, active.zarn);
    const Share activeWorkspace(*this, active.workspace);
    const Share previousZarn(*this, previous.zarn);
    const Share previousWorkspace(*this, previous.workspace);
    trace(16, "pop context  zarn=" + address(active.zarn) + "  workspace=" + address(active.workspace) +
                  "  restoring  zarn=" + address(previous.zarn) + "  workspace=" + address(previous.workspace));
    release(exchangeCurrent(Scope::workspace, previous.workspace));
    release(exchangeCurrent(Scope::zarn, previous.zarn));
}

Model::Contexts Model::contextsOf(const Activator& activator, Verb verb) {
    if (!activator.isActivated)
        report("foundation::tav::management::thisthread::ContextActivator::" + std::string(nameOf(verb)),
               "Error accessing deactivated ContextActivator");
    return share(verb == Verb::getActiveContexts ? activator.active : activator.previous);
}

Model::Contexts Model::takeSet(int index) {
    return std::exchange(m_sets[static_cast<std::size_t>(index)], {.isThere = true}).contexts;
}

std::string Model::setOperation(const Action& action) {
    const auto set = [&](int index) -> Set& { return m_sets[static_cast<std::size_t>(index)]; };
    switch (action.kind.verb) {
        case Verb::constructSet:
            set(action.to) = {.isThere = true, .hasRecord = true};
            break;
        case Verb::moveSet:
            set(action.to) = std::exchange(set(action.from), {.isThere = true});
            break;
        case Verb::assignSet:
            if (action.from != action.to) {
                const Contexts replaced = set(action.to).contexts;
                set(action.to) = std::exchange(set(action.from), {.isThere = true});
                const Busy from(set(action.from).isBusy);
                const Busy to(set(action.to).isBusy);
                releaseContexts(replaced);
            }
            break;
        case Verb::freeSet:
            releaseContexts(std::exchange(set(action.from), {}).contexts);
            break;
        default:
            set(action.to) = {
                .isThere = true,
                .hasRecord = true,
                .contexts = contextsOf(m_activators[static_cast<std::size_t>(action.from)], action.kind.verb)};
            break;
    }
    return "done";
}

std::string Model::activatorOperation(const Action& action) {
    switch (action.kind.verb) {
        case Verb::deactivateActivator: {
            Activator& activator = m_activators[static_cast<std::size_t>(action.from)];
            const Busy busy(activator.isBusy);
            endActivator(activator);
            break;
        }
        case Verb::freeActivator: {
            Activator freed = std::exchange(m_activators[static_cast<std::size_t>(action.from)], {});
            endActivator(freed);
            break;
        }
        case Verb::activateSet: {
            // Passed by value: what the set named is let go after the construction, however that ends.
            const Contexts taken = takeSet(action.from);
            const Share zarn(*this, taken.zarn);
            const Share workspace(*this, taken.workspace);
            beginActivator(action, share(taken));
            break;
        }
        default:
            beginActivator(action, asked(action));
            break;
    }
    return "done";
}

// ---------------------------------------------------------------------------------------------------------------------
// Calls

std::string Model::hostOperation(const Action& action) {
    if (action.kind.verb == Verb::exchangeHandler)
        return "handler " + std::to_string(std::exchange(m_handler, action.handler));
    m_mask = action.mask;
    m_isCoreEnabled = action.flag;
    return "done";
}

std::string Model::resultOf(const Action& action) try {
    if (action.kind.verb <= Verb::destroy) return contextOperation(action);
    if (action.kind.verb <= Verb::isRequiredContextActive) return stateOperation(action);
    if (action.kind.verb <= Verb::getPreviousContexts) return setOperation(action);
    if (action.kind.verb <= Verb::freeActivator) return activatorOperation(action);
    return hostOperation(action);
} catch (const Failure& failure) {
    return failure.result;
}

Effect Model::perform(const Action& action) {
    m_thread = action.thread;
    m_effect = {};
    const std::string result = resultOf(action);
    m_effect.result = result;
    noteDeletions();
    return std::exchange(m_effect, {});
}

Effect Model::abandon(const Action& action, bool isMade) {
    m_thread = action.thread;
    m_effect = {};
    if (action.kind.verb == Verb::activateSet) releaseContexts(takeSet(action.from));
    m_effect.result = "bad_alloc";
    if (offersState(action.kind)) {
        if (isMade && action.offer != Offer::statePtr && action.offer != Offer::nullPtr) makeState(action.state);
        m_effect.result += refuse(action);
    }
    noteDeletions();
    return std::exchange(m_effect, {});
}

// ---------------------------------------------------------------------------------------------------------------------
// The choice of operands

std::optional<Action> Model::resolve(const Operation& operation) {
    std::optional<Action> action = resolve(operation.call, operation.thread, false);
    if (action) adopt(*action, operation.atDeath);
    return action;
}

/// Takes note of the state that is going to be offered.
void Model::adopt(const Action& action, const std::optional<Call>& atDeath) {
    if (!offersState(action.kind)) return;
    m_lastState = action.state;
    m_living[action.state] = {.atDeath = atDeath};
}

std::optional<Action> Model::resolve(const Call& call, int thread, bool isNested) const {
    Action action{.kind = call.kind, .thread = thread};
    const Verb verb = call.kind.verb;
    if (verb <= Verb::destroy) {
        if (!resolveContextOperation(call, action)) return std::nullopt;
    } else if (verb <= Verb::isRequiredContextActive) {
        resolveStateOperation(call, action);
    } else if (verb <= Verb::getPreviousContexts) {
        if (!resolveSetOperation(call, action)) return std::nullopt;
    } else if (verb <= Verb::freeActivator) {
        if (!resolveActivatorOperation(call, action, isNested)) return std::nullopt;
    } else if (verb == Verb::exchangeHandler) {
        action.handler = call.a % handlerCount;
    } else {
        action.mask = traceMasks[call.a % traceMasks.size()];
        action.flag = call.b % 4 != 3;
    }
    return action;
}

void Model::resolveStateOperation(const Call& call, Action& action) const {
    const bool isTyped = m_layer == Layer::typed;
    const std::size_t id = call.a % (isTyped ? storableIDs : usableIDs);
    action.typeID = typeIDs[id];
    action.type = isTyped ? static_cast<int>(id) : call.b % typeCount;
    if (!offersState(call.kind)) return;
    action.state = m_lastState + 1;
    if (!isTyped) return;
    const bool isInsert = call.kind.verb == Verb::insert;
    action.offer = isInsert ? insertOffers[call.b % insertOffers.size()] : Offer::construction;
}

bool Model::resolveContextOperation(const Call& call, Action& action) const {
    const std::vector<Handle>& handles = m_handles[indexOf(call.kind.scope)];
    switch (call.kind.verb) {
        case Verb::construct:
            if (call.kind.scope == Scope::process) {
                action.to = pickFree(handles, call.a);
                action.flag = call.b % 2 == 0;
                return action.to >= 0;
            }
            action.from = pickThere(m_handles[indexOf(parentScope(call.kind.scope))], call.a);
            action.to = pickFree(handles, call.b);
            return action.from >= 0 && action.to >= 0;
        case Verb::move:
            action.from = pickThere(handles, call.a);
            action.to = pickFree(handles, call.b);
            return action.from >= 0 && action.to >= 0;
        default:
            action.from = pickThere(handles, call.a);
            return action.from >= 0;
    }
}

bool Model::resolveSetOperation(const Call& call, Action& action) const {
    switch (call.kind.verb) {
        case Verb::constructSet:
            action.to = pickFree(m_sets, call.a);
            return action.to >= 0;
        case Verb::moveSet:
            action.from = pick(m_sets, call.a, isUsable);
            action.to = pickFree(m_sets, call.b);
            return action.from >= 0 && action.to >= 0;
        case Verb::assignSet:
            action.from = pick(m_sets, call.a, isUsable);
            action.to = pick(m_sets, call.b, isUsable);
            return action.from >= 0;
        case Verb::freeSet:
            action.from = pick(m_sets, call.a, isUsable);
            return action.from >= 0;
        default:
            action.from = pickThere(m_activators, call.a);
            action.to = pickFree(m_sets, call.b);
            return action.from >= 0 && action.to >= 0;
    }
}

bool Model::resolveActivatorOperation(const Call& call, Action& action, bool isNested) const {
    switch (call.kind.verb) {
        case Verb::deactivateActivator:
        case Verb::freeActivator:
            // Each belongs to a thread: a deleter gets at those of its own.
            action.from = pick(m_activators, call.a, [&](const Activator& activator) {
                return activator.isThere && !activator.isBusy && (!isNested || activator.thread == action.thread);
            });
            if (action.from < 0) return false;
            action.thread = m_activators[static_cast<std::size_t>(action.from)].thread;
            return true;
        case Verb::activateContext:
            action.from = pickThere(m_handles[indexOf(call.kind.scope)], call.a);
            if (action.from < 0) return false;
            break;
        case Verb::activateSet:
            action.from = pick(m_sets, call.a, isUsable);
            if (action.from < 0) return false;
            break;
        default:
            break;
    }
    action.to = pickFree(m_activators, call.b);
    return action.to >= 0;
}

// ---------------------------------------------------------------------------------------------------------------------
// Between calls

bool Model::hasCurrent(int thread) const {
    const auto& current = m_threads[static_cast<std::size_t>(thread)].current;
    return std::any_of(current.begin(), current.end(), [](int context) { return context != 0; });
}

bool Model::isClean() const {
    const bool hasHandles =
        std::any_of(m_handles.begin(), m_handles.end(), [](const auto& handles) { return pickThere(handles, 0) >= 0; });
    return m_contexts.empty() && m_living.empty() && !hasHandles && pickThere(m_sets, 0) < 0 &&
           pickThere(m_activators, 0) < 0;
}

std::string Model::observe() const {
    std::string seen = countLine(m_living.size());
    std::vector<Set> sets;
    for (const Scope scope : scopes)
        for (int i = 0; i < handleCounts[indexOf(scope)]; ++i)
            if (const Handle& seenHandle = handle(scope, i); seenHandle.isThere) {
                const auto context = m_contexts.find(seenHandle.context);
                seen += context == m_contexts.end() ? handleLine(scope, i, false, true)
                                                    : handleLine(scope, i, context->second.activations > 0,
                                                                 context->second.state != State::running);
            }
    for (int i = 0; i < setCount; ++i)
        if (const Set& set = m_sets[static_cast<std::size_t>(i)]; set.isThere) {
            seen += setLine(i, !set.isEmpty(), set.isEmpty());
            sets.push_back(set);
        }
    for (int i = 0; i < activatorCount; ++i)
        if (const Activator& activator = m_activators[static_cast<std::size_t>(i)]; activator.isThere) {
            seen += activatorLine(i, activator.isActivated);
            if (!activator.isActivated) continue;
            sets.push_back({.hasRecord = true, .contexts = activator.active});
            sets.push_back({.hasRecord = true, .contexts = activator.previous});
        }
    seen += comparisonLine(comparisons(sets));
    for (int thread = 0; thread < threadCount; ++thread)
        for (const Scope scope : scopes) {
            const int context = currentOn(thread, scope);
            std::array<int, storableIDs> states{};
            for (std::size_t i = 0; context != 0 && i < storableIDs; ++i)
                states[i] = stateIn(context, typeIDs[i]);
            seen += threadLine(thread, scope, context != 0, states);
        }
    return seen;
}

std::string Model::inspect(int thread) const { return m_active == 0 ? std::string() : inspect(m_active, thread, 0); }

std::string Model::inspect(int context, int thread, std::size_t depth) const {
    constexpr std::array states = {"running", "shutdown", "destroyed"};
    const Context& seen = m_contexts.at(context);
    std::string lines =
        contextLine(depth, std::string(nameOf(seen.scope)), states[static_cast<std::size_t>(seen.state)],
                    seen.activations, currentOn(thread, seen.scope) == context);
    for (auto stored = seen.stored.rbegin(); stored != seen.stored.rend(); ++stored)
        lines += storedLine(depth + 1, stored->typeID, stored->state);
    for (const int child : seen.children)
        lines += inspect(child, thread, depth + 1);
    return lines;
}

int Model::currentOn(int thread, Scope scope) const {
    return scope == Scope::process ? m_active : m_threads[static_cast<std::size_t>(thread)].current[indexOf(scope)];
}

LookupCounts Model::lookups() const {
    LookupCounts counts{};
    for (int thread = 0; thread < threadCount; ++thread)
        for (const Scope scope : scopes)
            if (const int context = currentOn(thread, scope); context != 0)
                counts[static_cast<std::size_t>(thread)][indexOf(scope)] =
                    static_cast<std::size_t>(std::count_if(typeIDs.begin(), typeIDs.end(), [&](std::uint64_t id) {
                        return id < m_contexts.at(context).slots;
                    }));
    return counts;
}

std::string Model::comparisons(const std::vector<Set>& sets) {
    const auto isEqual = [](const Set& a, const Set& b) {
        if (a.isEmpty() && b.isEmpty()) return true;
        return a.hasRecord && b.hasRecord && a.contexts == b.contexts;
    };
    const auto isUnequal = [](const Set& a, const Set& b) {
        if (a.isEmpty() != b.isEmpty()) return true;
        return a.hasRecord && b.hasRecord && a.contexts != b.contexts;
    };
    std::string text;
    for (const Set& a : sets)
        for (const Set& b : sets)
            text += comparison(isEqual(a, b), isUnequal(a, b));
    return text;
}

std::string handleLine(Scope scope, int index, bool isActive, bool isShutdown) {
    return std::string(nameOf(scope)) + " handle " + std::to_string(index) + (isActive ? ": active" : ": not active") +
           (isShutdown ? ", shut down\n" : ", running\n");
}

std::string contextLine(std::size_t depth, const std::string& scope, const std::string& state,
                        std::uint64_t activations, bool isCurrent) {
    return std::string(depth, '>') + scope + " context: " + state + ", activated " + std::to_string(activations) +
           (isCurrent ? ", current\n" : ", not current\n");
}

std::string storedLine(std::size_t depth, std::uint64_t typeID, int state) {
    return std::string(depth, '>') + "id " + std::to_string(typeID) + ": state " + std::to_string(state) + '\n';
}

std::string activatorLine(int index, bool isActivated) {
    return "activator " + std::to_string(index) + (isActivated ? ": activated\n" : ": deactivated\n");
}

std::string setLine(int index, bool isTrue, bool isEmpty) {
    return "set " + std::to_string(index) + (isTrue ? ": true" : ": false") + (isEmpty ? ", empty\n" : ", not empty\n");
}

std::string threadLine(int thread, Scope scope, bool isActive, const std::array<int, storableIDs>& states) {
    std::string line = "thread " + std::to_string(thread) + ", " + std::string(nameOf(scope));
    line += isActive ? ": states" : ": no context";
    for (const int state : states)
        line += isActive ? " " + std::to_string(state) : "";
    return line + "\n";
}

char comparison(bool isEqual, bool isUnequal) {
    if (isEqual) return isUnequal ? '?' : '=';
    return isUnequal ? '!' : '-';
}

std::string deletionLine(std::size_t depth, const std::string& scope, std::uint64_t typeID) {
    return "on level " + std::to_string(depth) + " in scope " + (scope.empty() ? "none" : scope) + ": id " +
           std::to_string(typeID);
}

std::string lateUseText(const std::string& scope, std::uint64_t typeID, bool isInserted) {
    return (isInserted ? ", inserts " : ", finds ") + scope + " id " + std::to_string(typeID);
}

std::string comparisonLine(const std::string& comparisons) { return "sets, pair by pair: " + comparisons + "\n"; }

std::string countLine(std::size_t living) { return "living states: " + std::to_string(living) + "\n"; }

// ---------------------------------------------------------------------------------------------------------------------
// In words

std::ostream& operator<<(std::ostream& stream, const Action& action) {
    stream << "thread " << action.thread << ": " << action.kind << '(';
    std::string separator;
    const auto operand = [&](bool isThere, const char* name, auto value) {
        if (!isThere) return;
        stream << std::exchange(separator, ", ") << name << ' ' << value;
    };
    const Verb verb = action.kind.verb;
    const bool isStateOperation = verb >= Verb::find && verb <= Verb::eraseAll;
    operand(action.from >= 0, "from", action.from);
    operand(action.to >= 0, "to", action.to);
    operand(action.kind == Kind{Verb::construct}, "activates", action.flag);
    operand(isStateOperation, "id", action.typeID);
    operand(isStateOperation || verb == Verb::getNextID, "type", action.type);
    operand(offersState(action.kind), "state", action.state);
    operand(action.offer != Offer::statePtr, "offered as", nameOf(action.offer));
    operand(verb == Verb::exchangeHandler, "handler", action.handler);
    operand(verb == Verb::setTrace, "mask", action.mask);
    operand(verb == Verb::setTrace, "core enabled", action.flag);
    return stream << ')';
}

std::ostream& operator<<(std::ostream& stream, const Event& event) {
    static constexpr auto names =
        std::to_array<std::string_view>({"birth of state", "death of state", "report to", "failed assertion", "record",
                                         "deleter calls", "with the result", "release of", "deletion"});
    return stream << names[static_cast<std::size_t>(event.kind)] << ' ' << event.text;
}

}  // namespace foundation::tests::model
