#include "world.h"

#include "../support/failing_allocation.h"
#include "host_diag.h"
#include "inspection.h"

#include <foundation/core/diag.h>
#include <foundation/log/diagnostic_logger.h>
#include <foundation/state/inspect.h>
#include <foundation/state/state.h>
#include <foundation/state/type_id.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/teardown.h>
#include <foundation/tav/type_error.h>
#include <algorithm>
#include <boost/log/core/core.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace foundation::tests::model {

struct Alpha {};
struct Beta {};

namespace {

using tav::Detail;
using tav::StatePtr;
using tav::management::DeletionRecord;
using tav::scope::Process;
using tav::scope::Workspace;
using tav::scope::Zarn;

/// A report, as the exception by which handlers leave the failing call.
struct Misuse : std::exception {
    explicit Misuse(std::string text) : message(std::move(text)) {}
    const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};

template <class Tag>
constexpr Scope scopeOf = std::is_same_v<Tag, Process> ? Scope::process
                          : std::is_same_v<Tag, Zarn>  ? Scope::zarn
                                                       : Scope::workspace;

using AllTypes = std::make_integer_sequence<int, storableIDs>;

const std::type_info& typeInfo(int type) { return type == 0 ? typeid(Alpha) : typeid(Beta); }

/// The name between a scope's tag and the end of it, or nothing.
std::string scopeArgument(std::string_view signature, std::string_view parameter) {
    const std::string label = std::string(parameter) + " = foundation::tav::scope::";
    for (auto at = signature.find(label); at != std::string_view::npos; at = signature.find(label, at + 1)) {
        if (at > 0 && std::isalpha(static_cast<unsigned char>(signature[at - 1])) != 0) continue;
        const std::string_view rest = signature.substr(at + label.size());
        return std::string(rest.substr(0, rest.find_first_of(";,]")));
    }
    return {};
}

/// A function's full signature, which each compiler spells in its own way, as class, scope and function.
std::string levelled(std::string_view signature) {
    constexpr std::string_view context = "ContextImpl<";
    const auto parenthesis = signature.find('(', signature.find("::", signature.find(context)));
    if (signature.find("InstanceManager::erase(") != std::string_view::npos) return "InstanceManager::erase";
    const std::string_view name = signature.substr(0, parenthesis);
    const std::string stateScope = scopeArgument(signature, "StateScope");
    return std::string(context) + scopeArgument(signature, "Scope") + ">" + std::string(name.substr(name.rfind("::"))) +
           (stateScope.empty() ? "" : "<" + stateScope + ">");
}

std::string withoutUnnamed(std::string text) {
    constexpr std::string_view unnamed = "(anonymous namespace)::";
    if (const auto at = text.find(unnamed); at != std::string::npos) text.erase(at, unnamed.size());
    return text;
}

/// The text of a record without what isn't promised: source lines, and how the compiler spells functions.
std::string levelledRecord(const std::string& text) {
    constexpr std::string_view line = "  m_line=";
    if (text.starts_with("m_function=")) {
        std::string levelledText = withoutUnnamed(text);
        const auto first = levelledText.find(line) + line.size();
        const auto last = levelledText.find_first_not_of("0123456789", first);
        return levelledText.replace(first, last - first, "#");
    }
    for (const char* plain : {"push context", "pop context", "getNextID", "Exception caught: ", "late "})
        if (text.starts_with(plain)) return text;
    const auto end = std::min(text.find("  "), text.find(" [throw]"));
    return levelled(std::string_view(text).substr(0, end)) + (end == std::string::npos ? "" : text.substr(end));
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Worker

Worker::~Worker() {
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void Worker::run(const std::function<void()>& task) {
    std::unique_lock lock(m_mutex);
    m_task = &task;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_task; });
}

void Worker::work() {
    // Boost.Log makes its slot of a thread at first use, and leaks it where memory runs out meanwhile.
    boost::log::sources::aux::get_severity_level();
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_task || m_isOver; });
        if (!m_task) return;
        (*m_task)();
        m_task = nullptr;
        m_changed.notify_all();
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// What happens

World* World::s_current = nullptr;

/// Gives the types the ids of `typeIDs`, those between to nobody.
template <class Tag, int... types>
void World::giveIDs(std::integer_sequence<int, types...>) {
    std::uint64_t next = 0;
    const auto isGiven = [&](std::uint64_t (*typeID)(), std::uint64_t id) {
        for (; next < id; ++next)
            Detail<Tag>::getNextID(typeid(Tag));
        return typeID() == next++;
    };
    if (!(isGiven(&state::typeID<Typed<Tag, types>>, typeIDs[types]) && ...)) std::abort();
}

bool World::giveIDs() {
    giveIDs<Process>(AllTypes());
    giveIDs<Zarn>(AllTypes());
    giveIDs<Workspace>(AllTypes());
    return true;
}

World::World(Layer layer, Recording recording)
    : m_layer(layer), m_recording(recording), m_previousHandler(tav::setErrorHandler(&handle<0>)) {
    [[maybe_unused]] static const bool areGiven = giveIDs();  // before anyone else asks for one
    s_current = this;
    observeAssertions(&noteAssertion);
    log::set_severity_mask(tavChannel, 0);
    m_nextIDs = {Detail<Process>::getNextID(typeid(Alpha)) + 1, Detail<Zarn>::getNextID(typeid(Alpha)) + 1,
                 Detail<Workspace>::getNextID(typeid(Alpha)) + 1};
}

/// After a divergence there may be anything left: it goes as well as it can.
World::~World() {
    tav::management::stopRecordingTeardown();
    const DeathCalls none;
    m_atDeath = &none;
    for (std::size_t i = 0; i < m_activators.size(); ++i)
        m_workers[static_cast<std::size_t>(m_threadOf[i])].run([&] { discard(m_activators[i]); });
    for (auto*& set : m_sets)
        discard(set);
    for (auto*& handle : m_workspaces)
        discard(handle);
    for (auto*& handle : m_zarns)
        discard(handle);
    for (auto*& handle : m_processes)
        discard(handle);
    log::set_severity_mask(tavChannel, 512);
    boost::log::core::get()->set_logging_enabled(true);
    observeAssertions(nullptr);
    tav::setErrorHandler(m_previousHandler);
    s_current = nullptr;
}

template <class Object>
void World::discard(Object*& place) {
    if (place) free(place);
}

bool World::isStrict() {
    const char* const value = std::getenv("KV_TAV_STRICT_SHUTDOWN");
    return value && value != std::string_view("0");
}

void World::note(Event::Kind kind, std::string text) {
    noteRecords();
    m_events.push_back({kind, std::move(text)});
}

void World::noteRecords() {
    for (Record& record : m_sink.take()) {
        record.message = levelledRecord(record.message);
        std::ostringstream text;
        text << record;
        m_events.push_back({Event::Kind::record, text.str()});
    }
}

template <int handler>
void World::handle(const tav::ErrorInfo& info) {
    const SparedAllocations spared;
    s_current->note(Event::Kind::report, "handler " + std::to_string(handler) + ", " + info.m_file +
                                             (info.m_line > 0 ? ", " : " (no line), ") +
                                             withoutUnnamed(info.m_function) + ": " + info.m_message);
    throw Misuse(info.m_message);
}

void World::noteAssertion(const char* expression) {
    const SparedAllocations spared;
    s_current->note(Event::Kind::assertion, expression);
}

void World::die(void* address) {
    const std::unique_ptr<Payload> payload(static_cast<Payload*>(address));
    payload->world.noteDeath(*payload);
}

void World::noteBirth(const Payload& state) {
    const SparedAllocations spared;
    m_living[&state] = state.number;
    note(Event::Kind::birth, std::to_string(state.number));
}

void World::noteDeath(const Payload& state) {
    const SparedAllocations spared;
    m_living.erase(&state);
    m_places.erase(state.number);
    noteDeletion(state);
    note(Event::Kind::death, std::to_string(state.number));
    const auto call = m_atDeath->find(state.number);
    if (call == m_atDeath->end() || !call->second) return;
    const Action& action = *call->second;
    std::ostringstream text;
    text << action;
    note(Event::Kind::call, text.str());
    const std::string result = resultOf(action);
    note(Event::Kind::result, result);
}

/// One that is refused by the typed layer dies without.
void World::noteDeletion(const Payload& state) {
    if (m_recording == Recording::off) return;
    for (const DeletionRecord& deletion : tav::management::recordedTeardown().deletions) {
        if (!deletion.isRunning || deletion.address != &state) continue;
        std::ostringstream text;
        text << "of " << state.number << " in " << deletion.context;
        note(Event::Kind::deletion, text.str());
    }
}

/// What is recorded of a call.
void World::noteDeletions() {
    if (m_recording == Recording::off) return;
    for (const DeletionRecord& deletion : tav::management::recordedTeardown().deletions) {
        const auto nameOf = [](const std::type_info* scope) {
            return scope ? core::diag::detail::demangle_typeid_name(scope->name(), false) : "";
        };
        std::string line = deletionLine(deletion.depth, nameOf(deletion.scope), deletion.typeID);
        for (const tav::management::LateUseRecord& use : deletion.lateUses)
            line += lateUseText(nameOf(use.scope), use.typeID, use.isInserted);
        note(Event::Kind::deletion, line + (deletion.isRunning ? ", running still" : ""));
    }
}

World::Seen World::perform(const Action& action, unsigned failingAllocation, const DeathCalls& atDeath) {
    Seen seen;
    m_atDeath = &atDeath;
    m_failingAllocation = failingAllocation;
    if (m_recording == Recording::on) tav::management::recordTeardown(std::chrono::hours(1));
    m_workers[static_cast<std::size_t>(action.thread)].run([&] {
        seen.result = resultOf(action);
        seen.hasAllocationFailed = FailingAllocation::takeFailure();
    });
    m_failingAllocation = 0;
    noteRecords();
    noteDeletions();
    seen.events = std::exchange(m_events, {});
    return seen;
}

/// Makes a call of the library. Only what happens in there can fail for want of memory.
template <class Call>
std::string World::attempt(const Call& call) {
    const auto limited = [&] {
        const FailingAllocation failing(std::exchange(m_failingAllocation, 0));
        return call();
    };
    try {
        if constexpr (std::is_void_v<decltype(call())>) {
            limited();
            return "done";
        } else {
            return describe(limited());
        }
    } catch (const Misuse& misuse) {
        return "misuse: " + misuse.message;
    } catch (const tav::NoActiveContextTypeError& error) {
        return "NoActiveContextTypeError " + error.getTypeName() + ": " + error.what();
    } catch (const tav::DoesNotExistTypeError& error) {
        return "DoesNotExistTypeError " + error.getTypeName() + ": " + error.what();
    } catch (const std::bad_weak_ptr&) {
        return "bad_weak_ptr";
    } catch (const std::length_error&) {
        return "length_error";
    } catch (const std::bad_alloc&) {
        return "bad_alloc";
    } catch (const std::exception& exception) {
        return std::string("exception: ") + exception.what();
    }
}

/// Fills a place by `construct(memory)`; the object's own memory is there before any allocation fails.
template <class Object, class Construct>
std::string World::fill(Object*& place, const Construct& construct) {
    const auto release = [](void* memory) { ::operator delete(memory); };
    std::unique_ptr<void, decltype(release)> memory(::operator new(sizeof(Object)), release);
    Object* made = nullptr;
    std::string result = attempt([&] { made = construct(memory.get()); });
    if (made) place = static_cast<Object*>(memory.release());
    return result;
}

template <class Object, class... Arguments>
std::string World::make(Object*& place, Arguments&&... arguments) {
    return fill(place, [&](void* memory) { return ::new (memory) Object(std::forward<Arguments>(arguments)...); });
}

/// Destroys an object, which nobody finds in its place any more meanwhile.
template <class Object>
std::string World::free(Object*& place) {
    Object* const freed = std::exchange(place, nullptr);
    std::string result = attempt([&] { freed->~Object(); });
    ::operator delete(freed);
    return result;
}

std::string World::describe(const StatePtr* state) {
    if (!state) return "none";
    const auto living = m_living.find(state->get());
    if (living == m_living.end()) return "a dead state";
    const int number = living->second;
    const bool isAtItsPlace = m_places.try_emplace(number, state).first->second == state;
    return "state " + std::to_string(number) + (isAtItsPlace ? "" : ", moved");
}

std::string World::describe(const Payload* state) const {
    if (!state) return "none";
    const auto living = m_living.find(state);
    return living == m_living.end() ? "a dead state" : "state " + std::to_string(living->second);
}

// ---------------------------------------------------------------------------------------------------------------------
// Calls

std::string World::construct(const Action& action, Handles<Process>& handles) {
    auto*& place = handles[static_cast<std::size_t>(action.to)];
    return action.flag ? make(place) : make(place, false);
}

std::string World::construct(const Action& action, Handles<Zarn>& handles) {
    return make(handles[static_cast<std::size_t>(action.to)], *m_processes[static_cast<std::size_t>(action.from)]);
}

std::string World::construct(const Action& action, Handles<Workspace>& handles) {
    return make(handles[static_cast<std::size_t>(action.to)], *m_zarns[static_cast<std::size_t>(action.from)]);
}

template <class Tag>
std::string World::contextOperation(const Action& action, Handles<Tag>& handles) {
    if (action.kind.verb == Verb::construct) return construct(action, handles);
    auto*& handle = handles[static_cast<std::size_t>(action.from)];
    auto* const context = handle;  // a deleter may take the handle away
    switch (action.kind.verb) {
        case Verb::move:
            return make(handles[static_cast<std::size_t>(action.to)], std::move(*context));
        case Verb::free:
            return free(handle);
        case Verb::shutdown:
            return attempt([&] { context->shutdown(); });
        case Verb::destroy:
            return attempt([&] { context->destroy(); });
        default:
            return processOperation(action);
    }
}

std::string World::processOperation(const Action& action) {
    auto* const context = m_processes[static_cast<std::size_t>(action.from)];
    if (action.kind.verb == Verb::activate) return attempt([&] { context->activate(); });
    return attempt([&] { context->deactivate(); });
}

template <class Tag>
std::string World::offer(const Action& action) {
    auto payload = std::make_unique<Payload>(Payload{*this, action.state});
    m_living[payload.get()] = action.state;
    StatePtr offered(payload.release(), &die);
    std::string result = attempt([&]() -> const StatePtr* {
        if (action.kind.verb == Verb::insert)
            return &Detail<Tag>::insert(action.typeID, typeInfo(action.type), std::move(offered));
        return &Detail<Tag>::findOrInsert(action.typeID, typeInfo(action.type), std::move(offered));
    });
    if (!offered) return result;
    const std::unique_ptr<Payload> kept(static_cast<Payload*>(offered.release()));
    m_living.erase(kept.get());
    return result + ", kept";
}

template <class Tag>
std::string World::stateOperation(const Action& action) {
    if (m_layer == Layer::typed) return typedOperation<Tag>(action, AllTypes());
    using State = Detail<Tag>;
    const std::uint64_t id = action.typeID;
    const std::type_info& type = typeInfo(action.type);
    switch (action.kind.verb) {
        case Verb::find:
            return attempt([&]() -> const StatePtr* { return State::find(id, type); });
        case Verb::findOrFail:
            return attempt([&]() -> const StatePtr* { return &State::findOrFail(id, type); });
        case Verb::findOrThrow:
            return attempt([&]() -> const StatePtr* { return &State::findOrThrow(id, type); });
        case Verb::erase:
            return attempt([&] { return State::erase(id, type); });
        case Verb::eraseAll:
            return attempt([&] { return State::eraseAll(id, type); });
        case Verb::getNextID:
            return attempt([&] { return State::getNextID(type); });
        case Verb::isRequiredContextActive:
            return attempt([&] { return State::isRequiredContextActive(); });
        default:
            return offer<Tag>(action);
    }
}

template <class Tag, int... types>
std::string World::typedOperation(const Action& action, std::integer_sequence<int, types...>) {
    using Function = std::string (World::*)(const Action&);
    constexpr auto operations = std::to_array<Function>({&World::operationOn<Typed<Tag, types>>...});
    return (this->*operations[static_cast<std::size_t>(action.type)])(action);
}

template <class Type>
std::string World::operationOn(const Action& action) {
    switch (action.kind.verb) {
        case Verb::find:
            return attempt([] { return state::find<Type>(); });
        case Verb::findOrFail:
            return attempt([] { return &state::findOrFail<Type>(); });
        case Verb::findOrThrow:
            return attempt([] { return &state::findOrThrow<Type>(); });
        case Verb::erase:
            return attempt([] { return state::erase<Type>(); });
        case Verb::eraseAll:
            return attempt([] { return state::eraseAll<Type>(); });
        case Verb::getNextID:
            return attempt([] { return state::typeID<Type>(); });
        case Verb::isRequiredContextActive:
            return attempt([] { return state::isContextActive<Type>(); });
        default:
            return typedOffer<Type>(action);
    }
}

template <class Type>
std::string World::typedOffer(const Action& action) {
    if (action.kind.verb == Verb::findOrInsert)
        return attempt([&] { return &state::findOrCreate<Type>(*this, action.state); });
    switch (action.offer) {
        case Offer::ptr:
            return typedInsert<Type>(state::make<Type>(*this, action.state));
        case Offer::uniquePtr:
            return typedInsert<Type>(std::make_unique<Type>(*this, action.state));
        case Offer::nullPtr:
            return typedInsert<Type>(std::unique_ptr<Type>());
        default:
            return attempt([&] { return &state::create<Type>(*this, action.state); });
    }
}

template <class Type, class Pointer>
std::string World::typedInsert(Pointer offered) {
    std::string result = attempt([&] { return &state::insert<Type>(std::move(offered)); });
    return offered ? result + ", kept" : result;
}

std::string World::setOperation(const Action& action) {
    const auto set = [&](int index) -> ContextSet*& { return m_sets[static_cast<std::size_t>(index)]; };
    switch (action.kind.verb) {
        case Verb::constructSet:
            return make(set(action.to));
        case Verb::moveSet:
            return make(set(action.to), std::move(*set(action.from)));
        case Verb::assignSet:
            return attempt([&] { *set(action.to) = std::move(*set(action.from)); });
        case Verb::freeSet:
            return free(set(action.from));
        default:
            break;
    }
    const Activator& activator = *m_activators[static_cast<std::size_t>(action.from)];
    const bool wantsActive = action.kind.verb == Verb::getActiveContexts;
    return fill(set(action.to), [&](void* memory) {
        return ::new (memory) ContextSet(wantsActive ? activator.getActiveContexts() : activator.getPreviousContexts());
    });
}

std::string World::activatorOperation(const Action& action) {
    using namespace tav::management;
    const auto from = static_cast<std::size_t>(action.from);
    if (action.kind.verb == Verb::deactivateActivator) return attempt([&] { m_activators[from]->deactivate(); });
    if (action.kind.verb == Verb::freeActivator) return free(m_activators[from]);
    const auto to = static_cast<std::size_t>(action.to);
    m_threadOf[to] = action.thread;
    auto*& place = m_activators[to];
    const bool isZarn = action.kind.scope == Scope::zarn;
    switch (action.kind.verb) {
        case Verb::activateNull:
            return isZarn ? make(place, NullContext<Zarn>()) : make(place, NullContext<Workspace>());
        case Verb::activateContext:
            return isZarn ? make(place, *m_zarns[from]) : make(place, *m_workspaces[from]);
        case Verb::activateSet:
            return make(place, std::move(*m_sets[from]));
        default:
            return make(place);
    }
}

std::string World::hostOperation(const Action& action) {
    if (action.kind.verb == Verb::exchangeHandler) {
        const tav::ErrorHandler handler = action.handler == 0 ? &handle<0> : &handle<1>;
        const tav::ErrorHandler before = tav::getErrorHandler();
        const tav::ErrorHandler previous = tav::setErrorHandler(handler);
        if (previous != before || tav::getErrorHandler() != handler) return "another handler";
        return previous == &handle<0> ? "handler 0" : "handler 1";
    }
    log::set_severity_mask(tavChannel, action.mask);
    boost::log::core::get()->set_logging_enabled(action.flag);
    return "done";
}

std::string World::resultOf(const Action& action) {
    const Scope scope = action.kind.scope;
    if (action.kind.verb <= Verb::destroy) {
        if (scope == Scope::process) return contextOperation(action, m_processes);
        if (scope == Scope::zarn) return contextOperation(action, m_zarns);
        return contextOperation(action, m_workspaces);
    }
    if (action.kind.verb <= Verb::isRequiredContextActive) {
        if (scope == Scope::process) return stateOperation<Process>(action);
        if (scope == Scope::zarn) return stateOperation<Zarn>(action);
        return stateOperation<Workspace>(action);
    }
    if (action.kind.verb <= Verb::getPreviousContexts) return setOperation(action);
    if (action.kind.verb <= Verb::freeActivator) return activatorOperation(action);
    return hostOperation(action);
}

// ---------------------------------------------------------------------------------------------------------------------
// Between calls

template <class Tag>
void World::observeHandles(std::string& seen, const Handles<Tag>& handles) const {
    for (std::size_t i = 0; i < handles.size(); ++i)
        if (handles[i])
            seen += handleLine(scopeOf<Tag>, static_cast<int>(i), handles[i]->isActive(), handles[i]->isShutdown());
}

std::string World::observeSets() const {
    std::string seen;
    std::vector<ContextSet> taken;
    std::vector<const ContextSet*> sets;
    taken.reserve(2 * m_activators.size());
    for (std::size_t i = 0; i < m_sets.size(); ++i)
        if (const ContextSet* const set = m_sets[i]) {
            seen += setLine(static_cast<int>(i), static_cast<bool>(*set), set->isEmpty());
            sets.push_back(set);
        }
    for (std::size_t i = 0; i < m_activators.size(); ++i)
        if (const Activator* const activator = m_activators[i]) {
            seen += activatorLine(static_cast<int>(i), activator->isActivated());
            if (!activator->isActivated()) continue;
            sets.push_back(&taken.emplace_back(activator->getActiveContexts()));
            sets.push_back(&taken.emplace_back(activator->getPreviousContexts()));
        }
    std::string comparisons;
    for (const ContextSet* const a : sets)
        for (const ContextSet* const b : sets)
            comparisons += comparison(*a == *b, *a != *b);
    return seen + comparisonLine(comparisons);
}

template <class Tag>
void World::observeThread(std::string& seen, int thread, std::size_t idCount) {
    const bool isActive = Detail<Tag>::isRequiredContextActive();
    std::array<int, storableIDs> states{};
    for (std::size_t i = 0; isActive && i < idCount; ++i)
        if (const StatePtr* const state = Detail<Tag>::find(typeIDs[i], typeid(Alpha))) {
            const std::string found = describe(state);
            const auto living = m_living.find(state->get());
            states[i] = living == m_living.end() || found.ends_with("moved") ? -1 : living->second;
        }
    seen += threadLine(thread, scopeOf<Tag>, isActive, states);
}

std::string World::observe(const LookupCounts& lookups) {
    std::string seen = countLine(m_living.size());
    observeHandles(seen, m_processes);
    observeHandles(seen, m_zarns);
    observeHandles(seen, m_workspaces);
    seen += observeSets();
    for (int thread = 0; thread < threadCount; ++thread) {
        const auto& counts = lookups[static_cast<std::size_t>(thread)];
        m_workers[static_cast<std::size_t>(thread)].run([&] {
            observeThread<Process>(seen, thread, counts[0]);
            observeThread<Zarn>(seen, thread, counts[1]);
            observeThread<Workspace>(seen, thread, counts[2]);
        });
    }
    return seen;
}

int World::numberOf(const std::string& address) const {
    const auto living = m_living.find(reinterpret_cast<const void*>(std::stoull(address, nullptr, 0)));
    return living == m_living.end() ? -1 : living->second;
}

std::string World::inspect(int thread) {
    std::ostringstream text;
    std::ostringstream json;
    m_workers[static_cast<std::size_t>(thread)].run([&] {
        const state::Snapshot snapshot = state::inspect();
        state::writeText(text, snapshot);
        state::writeJson(json, snapshot);
    });
    const auto numbers = [this](const std::string& address) { return numberOf(address); };
    const std::string fromText = readText(text.str(), numbers);
    const std::string fromJson = readJson(json.str(), numbers);
    return fromText == fromJson ? fromText : "The text says:\n" + fromText + "JSON says:\n" + fromJson;
}

}  // namespace foundation::tests::model
