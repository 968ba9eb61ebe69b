// The contexts of the three scopes, the stores of their state objects, their activation per thread, and the operations
// on all of these.
//
// Who owns whom
//   Context<Scope> --shares--> ContextImpl<Scope> --owns--> InstanceManager --owns--> state objects
//   A parent shares its children and each child shares its parent; destroying the child breaks the cycle. An activator
//   shares the contexts that it made current and those that it will restore. The thread's slots (`currentContext`) and
//   the process's (`activeProcessContext`) own nothing.
//
// Which lock guards what
//   A Process context has a mutex for its state, activation count, children and store. Zarn and Workspace contexts are
//   used by one thread at a time and have a mutex that does nothing, so that one text serves all scopes. At most one
//   context lock is held at a time, and none while a deleter runs: what a function releases it declares before its
//   lock, and trace objects come before both.
//
// The states of a context
//   | State     | left by        | insert                 | createChild | activation                              |
//   |-----------|----------------|------------------------|-------------|-----------------------------------------|
//   | running   | shutdown       | accepted               | accepted    | accepted                                |
//   | shutdown  | destroy        | refused only if strict | refused     | Process: refused; others: accepted      |
//   | destroyed | -              | refused only if strict | refused     | Process: refused; others: none instead  |
//   `destroy` passes through `shutdown` while the state objects are being deleted.

#include <foundation/core/except.h>
#include <foundation/log/diagnostic_logger.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/context_set.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/detail/check.h>
#include <foundation/tav/detail/member_name.h>
#include <foundation/tav/detail/messages.h>
#include <foundation/tav/detail/platform.h>
#include <foundation/tav/detail/report.h>
#include <foundation/tav/detail/scope_trace.h>
#include <foundation/tav/detail/teardown.h>
#include <foundation/tav/detail/trace.h>
#include <foundation/tav/error.h>
#include <foundation/tav/inspect.h>
#include <foundation/tav/report.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>
#include <foundation/tav/type_error.h>
#include <foundation/tav/unload.h>
#include <algorithm>
#include <atomic>
#include <boost/format.hpp>
#include <boost/intrusive/list.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

namespace detail = foundation::tav::detail;
namespace scope = foundation::tav::scope;
using detail::getName;
using detail::memberName;
using foundation::tav::ErrorInfo;
using foundation::tav::StatePtr;

// ---------------------------------------------------------------------------------------------------------------------
// InstanceManager

/// The state objects of one context, found by type id and destroyed newest first. Does no locking of its own.
class InstanceManager {
public:
    /// A stored state, and what takes it out without a search: its slot by the id, its neighbours by the hook.
    struct Item : StatePtr,
                  boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>> {
        Item(std::uint64_t id, StatePtr&& state) : StatePtr(std::move(state)), typeID(id) {}

        const std::uint64_t typeID;
    };

    /// Owns its items.
    struct StateList : boost::intrusive::list<Item> {
        ~StateList() { clear_and_dispose(std::default_delete<Item>()); }
    };

    InstanceManager() = default;
    InstanceManager(const InstanceManager&) = delete;
    InstanceManager& operator=(const InstanceManager&) = delete;
    ~InstanceManager() {
        if (isUnused()) return;
        destroy(
            [](std::uint64_t typeID, StatePtr&& state) { eraseAndRecord(nullptr, nullptr, typeID, std::move(state)); });
    }

    /// Null if there is none. Grows the table for an id beyond it, and is no read-only operation therefore.
    StatePtr* find(std::uint64_t typeID);

    /// The slot of the id must be empty.
    StatePtr& insert(std::uint64_t typeID, StatePtr&& state);

    /// Takes a state out without deleting it; empty if there was none.
    StatePtr extract(std::uint64_t typeID);

    /// Moves a state, if there is one, to the end of a list, without allocating but where `find` would.
    void extract(std::uint64_t typeID, StateList& extracted);

    /// Deletes a state that was taken out of a store.
    static void erase(std::uint64_t typeID, StatePtr&& state) noexcept;

    /// Likewise, with an entry in the record of teardown if there is one.
    static void eraseAndRecord(const std::type_info* scope, const void* context, std::uint64_t typeID,
                               StatePtr&& state) noexcept {
        if (detail::isTeardownRecorded()) [[unlikely]]
            eraseRecorded(scope, context, typeID, std::move(state));
        else
            erase(typeID, std::move(state));
    }

    /// Takes all states out, newest first, each handed to `callback(typeID, StatePtr&&)` and deleted afterwards if that
    /// did not take it. The callback may use the store: each state is gone from it before its turn comes.
    template <class Callback>
    void destroy(Callback&& callback);

    /// While a store is watched, states that are looked for in vain, and those that are inserted, are told to the
    /// record of its destruction. Lookups pay nothing for that: to them all ids of a watched store are beyond the
    /// table.
    void watch() { m_slotCount = 0; }
    void endWatch() { m_slotCount = m_items.size(); }

    bool isEmpty() const { return m_list.empty(); }
    bool isUnused() const { return m_items.empty() && m_list.empty(); }  // and `destroy` has nothing to do or check
    std::size_t numNonNullItems() const;

private:
    friend struct InstanceManagerPeer;  // breaks the invariants on purpose, to see them checked
    friend struct Inspection;

    [[gnu::cold, gnu::noinline]] static void eraseRecorded(const std::type_info* scope, const void* context,
                                                           std::uint64_t typeID, StatePtr&& state) noexcept;
    bool isWatched() const { return m_slotCount != m_items.size(); }
    void makeRoom(std::uint64_t typeID);
    StatePtr& add(std::uint64_t typeID, StatePtr&& state);
    [[gnu::cold, gnu::noinline]] StatePtr* findBeyond(std::uint64_t typeID);
    [[gnu::cold, gnu::noinline]] StatePtr& insertBeyond(std::uint64_t typeID, StatePtr&& state);

    StateList m_list;                // newest first; its nodes never move
    std::vector<StatePtr*> m_items;  // by type id: into the nodes of m_list, or null
    std::uint64_t m_slotCount = 0;   // of m_items, for the bounds test of every lookup; 0 while watched
};

void InstanceManager::makeRoom(std::uint64_t typeID) {
    constexpr std::uint64_t step = 1024;  // ids come in sequence: seldom one at a time
    if (typeID < m_items.size()) return;
    if (typeID > m_items.max_size() - step)
        throw std::length_error("Type id " + std::to_string(typeID) +
                                " exceeds what a table of states can hold. Use the ids that getNextID returns.");
    const bool wasWatched = isWatched();
    m_items.resize(typeID + step);
    if (!wasWatched) m_slotCount = m_items.size();
}

StatePtr* InstanceManager::findBeyond(std::uint64_t typeID) {
    makeRoom(typeID);
    StatePtr* const found = m_items[typeID];
    if (!found && isWatched()) detail::recordLateUse(this, typeID, false);
    return found;
}

inline StatePtr* InstanceManager::find(std::uint64_t typeID) {
    return typeID < m_slotCount ? m_items[typeID] : findBeyond(typeID);
}

inline StatePtr& InstanceManager::add(std::uint64_t typeID, StatePtr&& state) {
    auto* const item = new Item(typeID, std::move(state));
    m_list.push_front(*item);
    m_items[typeID] = item;
    return *item;
}

StatePtr& InstanceManager::insertBeyond(std::uint64_t typeID, StatePtr&& state) {
    makeRoom(typeID);
    FOUNDATION_TAV_CHECK(m_items[typeID] == nullptr);
    StatePtr& inserted = add(typeID, std::move(state));
    if (isWatched()) detail::recordLateUse(this, typeID, true);
    return inserted;
}

StatePtr& InstanceManager::insert(std::uint64_t typeID, StatePtr&& state) {
    if (typeID >= m_slotCount) return insertBeyond(typeID, std::move(state));
    FOUNDATION_TAV_CHECK(m_items[typeID] == nullptr);
    return add(typeID, std::move(state));
}

StatePtr InstanceManager::extract(std::uint64_t typeID) {
    StateList extracted;
    extract(typeID, extracted);
    return extracted.empty() ? StatePtr(nullptr, nullptr) : std::move(extracted.front());
}

void InstanceManager::extract(std::uint64_t typeID, StateList& extracted) {
    auto* const item = static_cast<Item*>(find(typeID));
    if (!item) return;
    const auto iter = item->typeID == typeID ? StateList::s_iterator_to(*item) : m_list.end();
    FOUNDATION_TAV_CHECK(iter != m_list.end());
    m_items[typeID] = nullptr;
    if (iter != m_list.end()) extracted.splice(extracted.end(), m_list, iter);
}

void InstanceManager::erase(std::uint64_t typeID, StatePtr&& state) noexcept {
    FOUNDATION_TAV_TRACE_SCOPE(" typeID=" << typeID);
    state.reset();
}

void InstanceManager::eraseRecorded(const std::type_info* scope, const void* context, std::uint64_t typeID,
                                    StatePtr&& state) noexcept {
    const detail::RecordedDeletion recorded(scope, context, typeID, state);
    erase(typeID, std::move(state));
}

template <class Callback>
void InstanceManager::destroy(Callback&& callback) {
    FOUNDATION_TAV_CHECK(m_list.size() == numNonNullItems());
    while (!m_list.empty()) {
        Item& item = m_list.front();
        const std::uint64_t typeID = item.typeID;
        FOUNDATION_TAV_CHECK(item);
        const auto index =
            m_items[typeID] == &item ? m_items.begin() + static_cast<std::ptrdiff_t>(typeID) : m_items.end();
        FOUNDATION_TAV_CHECK(index != m_items.end());
        if (index != m_items.end()) *index = nullptr;
        StatePtr state = std::move(item);
        m_list.pop_front_and_dispose(std::default_delete<Item>());
        callback(typeID, std::move(state));
    }
    FOUNDATION_TAV_CHECK(m_list.empty());
    FOUNDATION_TAV_CHECK(numNonNullItems() == 0);
}

/// So many slots of a table are looked at together.
constexpr std::ptrdiff_t blockSize = 32;

/// Whether any slot of a block is taken. Written with the compiler's vectors, since compilers don't make any of the
/// plain loop at -O2: four times as fast.
inline bool isAnyTaken(StatePtr* const* block) {
    using Slots = detail::platform::PointerPair;
    constexpr std::ptrdiff_t count = blockSize / 2;
    const auto* const slots = reinterpret_cast<const Slots*>(block);
    Slots taken{};
    for (std::ptrdiff_t i = 0; i < count; i += 8)
        taken |= (slots[i] | slots[i + 1] | slots[i + 2] | slots[i + 3]) |
                 (slots[i + 4] | slots[i + 5] | slots[i + 6] | slots[i + 7]);
    return (taken[0] | taken[1]) != 0;
}

std::size_t InstanceManager::numNonNullItems() const {
    const auto taken = [](const auto* begin, const auto* end) { return end - begin - std::count(begin, end, nullptr); };
    const auto* slot = m_items.data();
    const auto* const end = slot + m_items.size();
    std::ptrdiff_t count = 0;
    for (; end - slot >= blockSize; slot += blockSize)
        if (isAnyTaken(slot)) count += taken(slot, slot + blockSize);
    return static_cast<std::size_t>(count + taken(slot, end));
}

// ---------------------------------------------------------------------------------------------------------------------
// ContextImpl

/// Above Process and below Workspace; no context has it.
struct NoScope {};

/// The lock of the contexts that one thread at a time uses.
struct NoMutex {
    void lock() {}
    void unlock() {}
};

template <class Scope>
struct ScopeTraits;

template <>
struct ScopeTraits<scope::Process> {
    using Parent = NoScope;
    using Child = scope::Zarn;
    using Mutex = std::mutex;
    static constexpr std::size_t childLimit = std::numeric_limits<std::size_t>::max();
};

template <>
struct ScopeTraits<scope::Zarn> {
    using Parent = scope::Process;
    using Child = scope::Workspace;
    using Mutex = NoMutex;
    static constexpr std::size_t childLimit = 1;
};

template <>
struct ScopeTraits<scope::Workspace> {
    using Parent = scope::Zarn;
    using Child = NoScope;
    using Mutex = NoMutex;
};

template <class Scope>
constexpr bool isProcess = std::is_same_v<Scope, scope::Process>;

enum class State : std::int32_t { running, shutdown, destroyed };

/// Computed when an insert first meets a context that is not running.
bool isStrictShutdown() {
    static const bool isStrict = [] {
        const char* const value = std::getenv("KV_TAV_STRICT_SHUTDOWN");  // NOLINT(concurrency-mt-unsafe): once
        return value && value != std::string_view("0");
    }();
    return isStrict;
}

/// A report that this thread is making with a context locked. Its handler may look at the contexts, and must not wait
/// for that lock then.
struct LockedReport {
    const void* const context;
    const LockedReport* const outer;  // the handler of which has led to this one

    explicit LockedReport(const void* locked) : context(locked), outer(std::exchange(innermost, this)) {}
    LockedReport(const LockedReport&) = delete;
    LockedReport& operator=(const LockedReport&) = delete;
    ~LockedReport() { innermost = outer; }

    static bool isUnderWay(const void* context) {
        const LockedReport* report = innermost;
        while (report && report->context != context)
            report = report->outer;
        return report;
    }

    FOUNDATION_TAV_INITIAL_EXEC static constinit thread_local const LockedReport* innermost;
};

constinit thread_local const LockedReport* LockedReport::innermost = nullptr;

/// As `detail::reportMisuse`, for those who hold the context's lock.
template <class Describe>
[[noreturn, gnu::cold, gnu::noinline]] void reportLocked(const void* context, const Describe& describe) {
    const LockedReport report(context);
    detail::reportError(describe());
}

/// Links a context into its parent's list of children.
struct ChildLink : boost::intrusive::list_base_hook<> {};

/// One context. Made by `std::make_shared` only.
template <class Scope>
class ContextImpl : public std::enable_shared_from_this<ContextImpl<Scope>>, public ChildLink {
    using Mutex = typename ScopeTraits<Scope>::Mutex;
    using Parent = ContextImpl<typename ScopeTraits<Scope>::Parent>;
    using Child = ContextImpl<typename ScopeTraits<Scope>::Child>;

public:
    ContextImpl();                                         // Process
    explicit ContextImpl(std::shared_ptr<Parent> parent);  // Zarn, Workspace
    ContextImpl(const ContextImpl&) = delete;
    ContextImpl& operator=(const ContextImpl&) = delete;
    ~ContextImpl();

    std::shared_ptr<Child> createChild();

    void removeChild(Child* child);
    const std::shared_ptr<Parent>& parent() const { return m_parent; }

    void incRef();  // Process: the caller holds the lock
    void decRef();
    ContextImpl* enterActivation();  // Process
    bool isActive() const;
    bool isActiveNoLock() const { return m_activations > 0; }         // nobody counts a destroyed context's any more
    bool isDestroyed() const { return m_state == State::destroyed; }  // the caller excludes changes
    bool isDestroying() const { return m_isDestroying; }              // likewise
    void shutdown();
    bool isShutdown() const;

    /// False if a destruction in progress, this context's or a child's, does the rest.
    bool destroy();

    /// The handle is being freed: the context goes with its last child, if it can't go at once.
    void goWithLastChild() { m_goesWithLastChild.store(true, std::memory_order_relaxed); }

    StatePtr* find(std::uint64_t typeID);
    StatePtr& insert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state);
    StatePtr& findOrInsert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state);
    std::uint64_t erase(std::uint64_t typeID, const std::type_info& type);
    template <class StateScope>
    std::uint64_t eraseAll(std::uint64_t typeID, const std::type_info& type);  // Process

private:
    template <class OtherScope>
    friend class ContextImpl;
    friend struct Inspection;

    using Lock = std::unique_lock<Mutex>;

    void releaseParentNoLock();
    void destroyStates(Lock& lock);
    void leaveActivationNoLock();
    void childDestroyed();
    StatePtr& insertNoLock(std::uint64_t typeID, const std::type_info& type, StatePtr&& state, const char* function);
    template <class StateScope, class Operation>
    void forEachStore(const Operation& operation);

    [[no_unique_address]] mutable Mutex m_mutex;
    std::shared_ptr<Parent> m_parent;  // empty: Process, and every destroyed context
    InstanceManager m_store;
    std::uint64_t m_activations = 0;  // Zarn and Workspace: 0 or 1, barring refused activations
    State m_state = State::running;
    bool m_isDestroying = false;                    // its states are being deleted, with the lock released meanwhile
    bool m_isAwaited = false;                       // counted in its parent's m_dyingChildren
    std::atomic<bool> m_goesWithLastChild = false;  // nobody else will destroy it; set without the lock
    std::size_t m_dyingChildren = 0;                // no longer in the list, but this context's destruction awaits them

    boost::intrusive::list<ChildLink> m_children;  // in creation order
    std::shared_ptr<ContextImpl> m_listShare;      // of this, in its parent's name: there while it is in the list
};

/// Parent of the Process contexts and child of the Workspace contexts: pointers to it are always null.
template <>
class ContextImpl<NoScope> {};

// ---------------------------------------------------------------------------------------------------------------------
// The process's slot and the thread's

/// Holds one activation of the context, and no share of it.
constinit std::atomic<ContextImpl<scope::Process>*> activeProcessContext = nullptr;

/// The thread's current context; shared by the activator that installed it, for as long as the slot may hold it. At a
/// fixed distance from the thread pointer, even in a shared library: so few pointers fit into what the loader sets
/// aside for libraries that are loaded late.
template <class Scope>
FOUNDATION_TAV_INITIAL_EXEC constinit thread_local ContextImpl<Scope>* currentContext = nullptr;

/// The context that state operations of a scope work on, or null.
template <class Scope>
ContextImpl<Scope>* requiredContext() {
    if constexpr (isProcess<Scope>)
        return activeProcessContext.load();
    else
        return currentContext<Scope>;
}

template <class Scope>
std::shared_ptr<ContextImpl<Scope>> getCurrent() {
    return currentContext<Scope> ? currentContext<Scope>->shared_from_this() : nullptr;
}

/// Makes the requested context the thread's current one, or none if that is destroyed, in the place of `current`. The
/// new context is counted before the old one is released.
template <class Scope>
inline void replaceCurrent(ContextImpl<Scope>* current, ContextImpl<Scope>* requested) {
    if (requested == current) return;
    ContextImpl<Scope>* const installed = requested && !requested->isDestroyed() ? requested : nullptr;
    if (installed) installed->incRef();
    currentContext<Scope> = installed;
    if (current) current->decRef();
}

/// Returns the previous one.
template <class Scope>
inline std::shared_ptr<ContextImpl<Scope>> exchangeCurrent(const std::shared_ptr<ContextImpl<Scope>>& requested) {
    std::shared_ptr<ContextImpl<Scope>> current = getCurrent<Scope>();
    replaceCurrent(current.get(), requested.get());
    return current;
}

/// As `exchangeCurrent`, for those who don't need the previous one: its share is not taken, which costs more than all
/// the rest, but where it may be refused, in the destruction of a context that nobody shares any longer.
template <class Scope>
inline void restoreCurrent(const std::shared_ptr<ContextImpl<Scope>>& requested) {
    ContextImpl<Scope>* const current = currentContext<Scope>;
    if (current && current->isDestroying()) [[unlikely]]
        exchangeCurrent<Scope>(requested);
    else
        replaceCurrent(current, requested.get());
}

template <class Scope>
void releaseIfCurrent(ContextImpl<Scope>* context) {
    if (currentContext<Scope> != context) return;
    currentContext<Scope> = nullptr;
    context->decRef();
}

// ---------------------------------------------------------------------------------------------------------------------
// ContextImpl: life cycle

template <class Scope>
ContextImpl<Scope>::ContextImpl() {
    FOUNDATION_TAV_TRACE_SCOPE(" this=" << static_cast<const void*>(this));
    FOUNDATION_TAV_CHECK(!m_parent);
}

template <class Scope>
ContextImpl<Scope>::ContextImpl(std::shared_ptr<Parent> parent) : m_parent(std::move(parent)) {
    FOUNDATION_TAV_TRACE_SCOPE(" this=" << static_cast<const void*>(this));
    FOUNDATION_TAV_CHECK(m_parent);
}

template <class Scope>
ContextImpl<Scope>::~ContextImpl() {
    FOUNDATION_TAV_TRACE_SCOPE(" this=" << static_cast<const void*>(this));
    const std::shared_ptr<Parent> parent = std::move(m_parent);  // outlives the states; has us in no list any more
    if (!isDestroyed()) {
        Lock lock(m_mutex);
        releaseParentNoLock();
        destroyStates(lock);
        leaveActivationNoLock();
    } else if constexpr (!isProcess<Scope>) {
        leaveActivationNoLock();  // of this thread; another one may have destroyed the context
    }
}

template <class Scope>
auto ContextImpl<Scope>::createChild() -> std::shared_ptr<Child> {
    auto child = std::make_shared<Child>(this->shared_from_this());  // a refused one is released when the lock is
    const std::lock_guard lock(m_mutex);
    constexpr std::size_t limit = ScopeTraits<Scope>::childLimit;
    if (m_state != State::running)
        reportLocked(this, [&] {
            return ErrorInfo("Attempting to create a child of a shutdown context.", __FILE__, __LINE__,
                             memberName<"(anonymous namespace)::ContextImpl", Scope, "createChild">);
        });
    if (m_children.size() >= limit)
        reportLocked(this, [&] {
            return ErrorInfo(
                detail::formatted(
                    "Attempting to create more than the '%1%' child contexts allowed for %2%-type contexts.",
                    std::to_string(limit), getName(typeid(Scope))),
                __FILE__, __LINE__, memberName<"(anonymous namespace)::ContextImpl", Scope, "createChild">);
        });
    m_children.push_back(*child);
    child->m_listShare = child;
    return child;
}

template <class Scope>
void ContextImpl<Scope>::removeChild(Child* child) {
    FOUNDATION_TAV_CHECK(child);
    std::shared_ptr<Child> removed;  // released when the lock is
    const std::lock_guard lock(m_mutex);
    if (!child || !child->m_listShare) return;
    removed = std::move(child->m_listShare);
    m_children.erase(m_children.iterator_to(*child));
    // One without states ends at once; it is awaited only where this context goes with it.
    child->m_isAwaited = !child->m_store.isEmpty() || (m_goesWithLastChild && m_children.empty());
    if (child->m_isAwaited) ++m_dyingChildren;
}

template <class Scope>
void ContextImpl<Scope>::incRef() {
    if (m_state == State::destroyed)
        reportLocked(this, [&] {
            return ErrorInfo("Attempting to activate a destroyed context", __FILE__, __LINE__,
                             memberName<"(anonymous namespace)::ContextImpl", Scope, "incRef">);
        });
    const std::uint64_t previous = m_activations++;
    if (!isProcess<Scope> && previous != 0)
        reportLocked(this, [&] {
            return ErrorInfo(
                "Non-concurrent context activated by more than one thread. Only contexts with 'Process' "
                "scope can be activated by multiple threads.",
                __FILE__, __LINE__, memberName<"(anonymous namespace)::ContextImpl", Scope, "incRef">);
        });
}

/// Takes the process's slot and counts that, in one step for those who destroy the context or give the activation back.
/// Returns who had the slot.
template <class Scope>
auto ContextImpl<Scope>::enterActivation() -> ContextImpl* {
    const std::lock_guard lock(m_mutex);
    incRef();
    ContextImpl* const previous = activeProcessContext.exchange(this);
    if (previous == this) --m_activations;
    return previous;
}

template <class Scope>
void ContextImpl<Scope>::decRef() {
    const std::lock_guard lock(m_mutex);
    if (isProcess<Scope> && isDestroyed()) return;  // its destruction has given the activation back already
    const std::uint64_t previous = m_activations--;
    FOUNDATION_TAV_CHECK(previous > 0);
}

template <class Scope>
bool ContextImpl<Scope>::isActive() const {
    const std::lock_guard lock(m_mutex);
    return m_activations > 0;
}

template <class Scope>
void ContextImpl<Scope>::shutdown() {
    const std::lock_guard lock(m_mutex);
    if (m_state == State::running) m_state = State::shutdown;
}

template <class Scope>
bool ContextImpl<Scope>::isShutdown() const {
    const std::lock_guard lock(m_mutex);
    return m_state != State::running;
}

template <class Scope>
bool ContextImpl<Scope>::destroy() {
    FOUNDATION_TAV_TRACE_SCOPE(" this=" << static_cast<const void*>(this));
    std::shared_ptr<Parent> parent;  // outlives the states
    {
        Lock lock(m_mutex);
        if (isDestroyed()) return true;
        if (m_isDestroying) return false;
        if (m_children.empty() && m_dyingChildren > 0) {  // children before parents
            m_state = State::shutdown;
            goWithLastChild();
            return false;
        }
        releaseParentNoLock();
        parent = std::move(m_parent);
        destroyStates(lock);
        // Before another thread can see the context destroyed, so that nobody finds it destroyed and active.
        if constexpr (isProcess<Scope>) leaveActivationNoLock();
        m_state = State::destroyed;
    }
    if constexpr (!isProcess<Scope>) {
        leaveActivationNoLock();
        if (m_isAwaited) parent->childDestroyed();
    }
    return true;
}

/// Leaves the parent's list; who calls takes the parent.
template <class Scope>
void ContextImpl<Scope>::releaseParentNoLock() {
    FOUNDATION_TAV_TRACE_SCOPE(" this=" << static_cast<const void*>(this));
    FOUNDATION_TAV_CHECK(m_state != State::destroyed);
    if (!m_children.empty())
        reportLocked(this, [&] {
            return ErrorInfo(
                detail::formatted("Cannot destroy context unless existing %1% child contexts are destroyed first.",
                                  std::to_string(m_children.size())),
                __FILE__, __LINE__, memberName<"(anonymous namespace)::ContextImpl", Scope, "releaseParentNoLock">);
        });
    m_state = State::shutdown;
    if constexpr (isProcess<Scope>) {
        FOUNDATION_TAV_CHECK(!m_parent);
    } else if (m_parent) {
        m_parent->removeChild(this);
    }
}

/// Deletes the states, newest first, with the lock released around each deletion: a deleter may use this context.
template <class Scope>
void ContextImpl<Scope>::destroyStates(Lock& lock) {
    if (m_store.isUnused()) return;
    m_isDestroying = true;
    const detail::RecordedDestruction recorded(typeid(Scope), this, &m_store);
    if (recorded.isRecorded()) [[unlikely]]
        m_store.watch();
    m_store.destroy([this, &lock](std::uint64_t typeID, StatePtr&& state) {
        lock.unlock();
        StatePtr dying = std::move(state);
        InstanceManager::eraseAndRecord(&typeid(Scope), this, typeID, std::move(dying));
        lock.lock();
    });
    m_store.endWatch();
    m_isDestroying = false;
}

/// Leaves the process's slot, or the calling thread's, and gives the activation back.
template <class Scope>
void ContextImpl<Scope>::leaveActivationNoLock() {
    if constexpr (isProcess<Scope>) {
        ContextImpl* self = this;
        // The load spares the contexts that are not active the exchange.
        if (activeProcessContext.load() == this) activeProcessContext.compare_exchange_strong(self, nullptr);
        // Also where another thread has just taken us out of the slot, and has yet to give back what it took.
        m_activations = 0;
    } else {
        releaseIfCurrent(this);
    }
}

/// A child that was awaited is gone.
template <class Scope>
void ContextImpl<Scope>::childDestroyed() {
    {
        const std::lock_guard lock(m_mutex);
        --m_dyingChildren;
        if (!m_goesWithLastChild || m_dyingChildren > 0 || !m_children.empty()) return;
    }
    destroy();
}

// ---------------------------------------------------------------------------------------------------------------------
// ContextImpl: state operations

/// What the scope records of the state operations say.
#define FOUNDATION_TAV_TRACE_STATE_OPERATION()                                            \
    FOUNDATION_TAV_TRACE_SCOPE(" typeID=" << typeID << " getName(type)=" << getName(type) \
                                          << " this=" << static_cast<const void*>(this))

template <class Scope>
StatePtr* ContextImpl<Scope>::find(std::uint64_t typeID) {
    const std::lock_guard lock(m_mutex);
    return m_store.find(typeID);
}

template <class Scope>
StatePtr& ContextImpl<Scope>::insert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state) {
    FOUNDATION_TAV_TRACE_STATE_OPERATION();
    constexpr const char* function = memberName<"(anonymous namespace)::ContextImpl", Scope, "insert">;
    const std::lock_guard lock(m_mutex);
    if (m_store.find(typeID)) [[unlikely]]
        reportLocked(this, [&] {
            return ErrorInfo(detail::formatted("State of type '%1%' already inserted. Consider using 'findOrInsert' to "
                                               "safely retrieve the existing state or insert one if absent.",
                                               getName(type)),
                             __FILE__, __LINE__, function);
        });
    return insertNoLock(typeID, type, std::move(state), function);
}

template <class Scope>
StatePtr& ContextImpl<Scope>::findOrInsert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state) {
    FOUNDATION_TAV_TRACE_STATE_OPERATION();
    constexpr const char* function = memberName<"(anonymous namespace)::ContextImpl", Scope, "findOrInsert">;
    const std::lock_guard lock(m_mutex);
    if (StatePtr* const present = m_store.find(typeID)) return *present;
    return insertNoLock(typeID, type, std::move(state), function);
}

/// Stores a state whose slot is empty, on behalf of `function`.
template <class Scope>
StatePtr& ContextImpl<Scope>::insertNoLock(std::uint64_t typeID, const std::type_info& type, StatePtr&& state,
                                           const char* function) {
    // Without the strict switch a context takes states even after its shutdown; hosts rely on that while they stop.
    if (m_state != State::running && isStrictShutdown())
        reportLocked(this, [&] {
            return ErrorInfo(
                detail::formatted("Attempting to insert state of type '%1%' after active context was shutdown.",
                                  getName(type)),
                __FILE__, __LINE__, function);
        });
    return m_store.insert(typeID, std::move(state));
}

template <class Scope>
std::uint64_t ContextImpl<Scope>::erase(std::uint64_t typeID, const std::type_info& type) {
    FOUNDATION_TAV_TRACE_STATE_OPERATION();
    StatePtr extracted = [&] {
        const std::lock_guard lock(m_mutex);
        return m_store.extract(typeID);
    }();  // unlocked again: the deleter may use this context
    if (!extracted) return 0;
    InstanceManager::eraseAndRecord(&typeid(Scope), this, typeID, std::move(extracted));
    return 1;
}

template <class Scope>
template <class StateScope>
std::uint64_t ContextImpl<Scope>::eraseAll(std::uint64_t typeID, const std::type_info& type) {
    FOUNDATION_TAV_TRACE_STATE_OPERATION();
    InstanceManager::StateList extracted;
    {
        const std::lock_guard lock(m_mutex);
        // Tables grow before anything is taken out: from then on nothing can fail.
        forEachStore<StateScope>([=](InstanceManager& store) { store.find(typeID); });
        forEachStore<StateScope>([&](InstanceManager& store) { store.extract(typeID, extracted); });
    }  // unlocked again: the deleters may use the contexts
    for (StatePtr& state : extracted) {
        FOUNDATION_TAV_CHECK(state);
        InstanceManager::eraseAndRecord(&typeid(StateScope), nullptr, typeID, std::move(state));
    }
    return extracted.size();
}

/// The stores of all contexts of a scope that belong to this Process context, in creation order.
template <class Scope>
template <class StateScope, class Operation>
void ContextImpl<Scope>::forEachStore(const Operation& operation) {
    if constexpr (std::is_same_v<Scope, StateScope>)
        operation(m_store);
    else
        for (ChildLink& child : m_children)
            static_cast<Child&>(child).template forEachStore<StateScope>(operation);
}

#undef FOUNDATION_TAV_TRACE_STATE_OPERATION

// ---------------------------------------------------------------------------------------------------------------------
// What the exported operations share

/// The message names the scope of the state, whatever context the operation works on.
template <class StateScope>
[[noreturn, gnu::cold, gnu::noinline]] void reportMissingContext(const std::type_info& type, int line,
                                                                 const char* function) {
    const std::string_view qualifiedName = function;
    const std::string shortName(qualifiedName.substr(qualifiedName.rfind(':') + 1));
    detail::reportError(
        {detail::formatted(
             "Cannot call %1%(): No active TAV context with scope '%2%' (specified for state type '%3%'). ", shortName,
             getName(typeid(StateScope)), getName(type)) +
             detail::contextRequired,
         __FILE__, line, function});
}

template <class ContextScope, class StateScope>
ContextImpl<ContextScope>& requireContext(const std::type_info& type, int line, const char* function) {
    ContextImpl<ContextScope>* const context = requiredContext<ContextScope>();
    if (!context) [[unlikely]]
        reportMissingContext<StateScope>(type, line, function);
    return *context;
}

/// Throws a type error as the host's internal exception.
template <class Error>
[[noreturn, gnu::cold, gnu::noinline]] void throwTypeError(const std::type_info& type) {
    throw foundation::core::except::detail::AnonymousInternalException<Error>(Error(type));
}

template <class Scope>
constinit std::atomic<std::uint64_t> nextTypeID = 0;

}  // namespace

namespace foundation::tav::management {

// ---------------------------------------------------------------------------------------------------------------------
// Context

template <class Scope>
struct Context<Scope>::Pimpl {
    /// The handle's record is there before the child is: once a parent has a child, nothing fails any more.
    template <class ParentScope>
    static std::unique_ptr<Pimpl> makeChildOf(const Context<ParentScope>& parent);

    std::shared_ptr<ContextImpl<Scope>> context;
};

template <class Scope>
template <class ParentScope>
auto Context<Scope>::Pimpl::makeChildOf(const Context<ParentScope>& parent) -> std::unique_ptr<Pimpl> {
    if (!parent.m_pimpl)  // empty, and therefore shut down
        detail::reportError({"Attempting to create a child of a shutdown context.", __FILE__, __LINE__,
                             memberName<"foundation::tav::management::Context", Scope, "Context">});
    auto pimpl = std::make_unique<Pimpl>();
    pimpl->context = parent.m_pimpl->context->createChild();
    return pimpl;
}

template <class Scope>
Context<Scope>::Context(bool activate) requires std::same_as<Scope, scope::Process>
    : m_pimpl(std::make_unique<Pimpl>()) {
    m_pimpl->context = std::make_shared<ContextImpl<Scope>>();
    if (activate) this->activate();
}

template <class Scope>
Context<Scope>::Context(Context<scope::Process>& parent) requires std::same_as<Scope, scope::Zarn>
    : m_pimpl(Pimpl::makeChildOf(parent)) {}

template <class Scope>
Context<Scope>::Context(Context<scope::Zarn>& parent) requires std::same_as<Scope, scope::Workspace>
    : m_pimpl(Pimpl::makeChildOf(parent)) {}

template <class Scope>
Context<Scope>::Context(Context&& other) noexcept : m_pimpl(std::move(other.m_pimpl)) {}

template <class Scope>
Context<Scope>::~Context() {
    if (!m_pimpl) return;
    try {
        m_pimpl->context->goWithLastChild();
        const auto isActive = [&context = *m_pimpl->context] { return context.isActiveNoLock(); };
        if (m_pimpl->context->destroy()) FOUNDATION_TAV_CHECK(!isActive());
    } catch (...) {
        detail::trace(detail::libraryLogger, detail::errorSeverity, [](auto& stream) {
            stream << "Exception caught: " << log::detail::current_exception_chain_as_string();
        });
    }
}

template <class Scope>
void Context<Scope>::activate() requires std::same_as<Scope, scope::Process> {
    constexpr const char* function = memberName<"foundation::tav::management::Context", Scope, "activate">;
    if (isShutdown())
        detail::reportError({"Attempting to activate a shutdown process context", __FILE__, __LINE__, function});
    ContextImpl<Scope>* const context = m_pimpl->context.get();
    ContextImpl<Scope>* const previous = context->enterActivation();
    if (!previous || previous == context) return;
    previous->decRef();
    // Reported last, deliberately: a host whose handler throws goes on with the new context.
    detail::reportError({"Another process context is currently active", __FILE__, __LINE__, function});
}

template <class Scope>
void Context<Scope>::deactivate() requires std::same_as<Scope, scope::Process> {
    if (!m_pimpl) return;
    ContextImpl<Scope>* const previous = activeProcessContext.exchange(nullptr);
    if (!previous) return;
    previous->decRef();
    if (previous != m_pimpl->context.get())
        detail::reportError({"Another process context is currently active", __FILE__, __LINE__,
                             memberName<"foundation::tav::management::Context", Scope, "deactivate">});
}

template <class Scope>
void Context<Scope>::shutdown() {
    if (m_pimpl) m_pimpl->context->shutdown();
}

template <class Scope>
bool Context<Scope>::isShutdown() const {
    return !m_pimpl || m_pimpl->context->isShutdown();
}

template <class Scope>
bool Context<Scope>::isActive() const {
    return m_pimpl && m_pimpl->context->isActive();
}

template <class Scope>
void Context<Scope>::destroy() {
    if (!m_pimpl) return;
    const std::shared_ptr<ContextImpl<Scope>> context = m_pimpl->context;  // a deleter may free this very handle
    const auto isActive = [&context] { return context->isActiveNoLock(); };
    if (context->destroy()) FOUNDATION_TAV_CHECK(!isActive());
}

// Member by member: instantiating the classes whole would instantiate the members of other scopes as well.
template Context<scope::Process>::Context(bool);
template Context<scope::Process>::Context(Context&&) noexcept;
template Context<scope::Process>::~Context();
template void Context<scope::Process>::activate();
template void Context<scope::Process>::deactivate();
template void Context<scope::Process>::shutdown();
template bool Context<scope::Process>::isShutdown() const;
template bool Context<scope::Process>::isActive() const;
template void Context<scope::Process>::destroy();

template Context<scope::Zarn>::Context(Context<scope::Process>&);
template Context<scope::Zarn>::Context(Context&&) noexcept;
template Context<scope::Zarn>::~Context();
template void Context<scope::Zarn>::shutdown();
template bool Context<scope::Zarn>::isShutdown() const;
template bool Context<scope::Zarn>::isActive() const;
template void Context<scope::Zarn>::destroy();

template Context<scope::Workspace>::Context(Context<scope::Zarn>&);
template Context<scope::Workspace>::Context(Context&&) noexcept;
template Context<scope::Workspace>::~Context();
template void Context<scope::Workspace>::shutdown();
template bool Context<scope::Workspace>::isShutdown() const;
template bool Context<scope::Workspace>::isActive() const;
template void Context<scope::Workspace>::destroy();

// ---------------------------------------------------------------------------------------------------------------------
// ContextSet

struct ContextSet::Pimpl {
    std::shared_ptr<ContextImpl<scope::Zarn>> zarn;
    std::shared_ptr<ContextImpl<scope::Workspace>> workspace;  // released first
};

ContextSet::ContextSet() : m_pimpl(std::make_unique<Pimpl>()) {}
ContextSet::ContextSet(const Pimpl& contexts) : m_pimpl(std::make_unique<Pimpl>(contexts)) {}
ContextSet::ContextSet(ContextSet&& other) noexcept = default;
ContextSet& ContextSet::operator=(ContextSet&& other) noexcept = default;
ContextSet::~ContextSet() = default;

ContextSet::operator bool() const { return !isEmpty(); }
bool ContextSet::isEmpty() const { return !m_pimpl || !m_pimpl->zarn; }

bool operator==(const ContextSet& a, const ContextSet& b) {
    if (a.isEmpty() && b.isEmpty()) return true;
    if (!a.m_pimpl || !b.m_pimpl) return false;
    return a.m_pimpl->zarn == b.m_pimpl->zarn && a.m_pimpl->workspace == b.m_pimpl->workspace;
}

bool operator!=(const ContextSet& a, const ContextSet& b) {
    if (a.isEmpty() != b.isEmpty()) return true;
    if (!a.m_pimpl || !b.m_pimpl) return false;
    return a.m_pimpl->zarn != b.m_pimpl->zarn || a.m_pimpl->workspace != b.m_pimpl->workspace;
}

// ---------------------------------------------------------------------------------------------------------------------
// ContextActivator

namespace thisthread {

struct ContextActivator::Pimpl {
    /// Activation. What a failure finds done stays done.
    explicit Pimpl(ContextSet::Pimpl&& contexts);

    /// Once. Restores in reverse, whatever is current meanwhile.
    void deactivate();

    template <class Scope>
    static std::shared_ptr<ContextImpl<Scope>> contextOf(const Context<Scope>& handle) {
        return handle.m_pimpl ? handle.m_pimpl->context : nullptr;
    }
    static ContextSet::Pimpl withParent(std::shared_ptr<ContextImpl<scope::Workspace>> workspace) {
        auto zarn = workspace ? workspace->parent() : nullptr;
        return {std::move(zarn), std::move(workspace)};
    }

    const ContextSet::Pimpl active;
    ContextSet::Pimpl previous;
};

ContextActivator::Pimpl::Pimpl(ContextSet::Pimpl&& contexts) : active(std::move(contexts)) {
    previous.zarn = exchangeCurrent<scope::Zarn>(active.zarn);
    previous.workspace = exchangeCurrent<scope::Workspace>(active.workspace);
    detail::trace(detail::libraryLogger, detail::informationSeverity, [this](auto& stream) {
        stream << "push context  zarn=" << static_cast<const void*>(active.zarn.get())
               << "  workspace=" << static_cast<const void*>(active.workspace.get());
    });
}

void ContextActivator::Pimpl::deactivate() {
    detail::trace(detail::libraryLogger, detail::informationSeverity, [this](auto& stream) {
        stream << "pop context  zarn=" << static_cast<const void*>(active.zarn.get())
               << "  workspace=" << static_cast<const void*>(active.workspace.get())
               << "  restoring  zarn=" << static_cast<const void*>(previous.zarn.get())
               << "  workspace=" << static_cast<const void*>(previous.workspace.get());
    });
    restoreCurrent<scope::Workspace>(previous.workspace);
    restoreCurrent<scope::Zarn>(previous.zarn);
}

ContextActivator::ContextActivator() : ContextActivator(NullContext<scope::Zarn>()) {}
ContextActivator::ContextActivator(Context<scope::Zarn>& context)
    : m_pimpl(std::make_unique<Pimpl>(ContextSet::Pimpl{Pimpl::contextOf(context), nullptr})) {}
ContextActivator::ContextActivator(NullContext<scope::Zarn>) : m_pimpl(std::make_unique<Pimpl>(ContextSet::Pimpl{})) {}
ContextActivator::ContextActivator(Context<scope::Workspace>& context)
    : m_pimpl(std::make_unique<Pimpl>(Pimpl::withParent(Pimpl::contextOf(context)))) {}
ContextActivator::ContextActivator(NullContext<scope::Workspace>)
    : m_pimpl(std::make_unique<Pimpl>(ContextSet::Pimpl{getCurrent<scope::Zarn>(), nullptr})) {}
ContextActivator::ContextActivator(ContextSet contexts)
    : m_pimpl(std::make_unique<Pimpl>(contexts.m_pimpl ? *contexts.m_pimpl : ContextSet::Pimpl{})) {}

// NOLINTNEXTLINE(bugprone-exception-escape): see the header
ContextActivator::~ContextActivator() noexcept(false) { deactivate(); }

void ContextActivator::deactivate() {
    const std::unique_ptr<Pimpl> record = std::move(m_pimpl);  // freed however this ends
    if (record) record->deactivate();
}

ContextSet ContextActivator::getActiveContexts() const {
    if (!m_pimpl)
        detail::reportError({"Error accessing deactivated ContextActivator", __FILE__, __LINE__,
                             "foundation::tav::management::thisthread::ContextActivator::getActiveContexts"});
    return ContextSet(m_pimpl->active);
}

ContextSet ContextActivator::getPreviousContexts() const {
    if (!m_pimpl)
        detail::reportError({"Error accessing deactivated ContextActivator", __FILE__, __LINE__,
                             "foundation::tav::management::thisthread::ContextActivator::getPreviousContexts"});
    return ContextSet(m_pimpl->previous);
}

bool ContextActivator::isActivated() const { return m_pimpl != nullptr; }

template <class Scope>
bool ContextActivator::isActive(const Context<Scope>& context) {
    return context.m_pimpl && requiredContext<Scope>() == context.m_pimpl->context.get();
}

template bool ContextActivator::isActive(const Context<scope::Process>&);
template bool ContextActivator::isActive(const Context<scope::Zarn>&);
template bool ContextActivator::isActive(const Context<scope::Workspace>&);

}  // namespace thisthread
}  // namespace foundation::tav::management

namespace foundation::tav {

// ---------------------------------------------------------------------------------------------------------------------
// Detail

/// The required context of the operation that this stands in; its absence is reported. A macro for the place.
#define FOUNDATION_TAV_REQUIRED_CONTEXT(ContextScope, operation) \
    requireContext<ContextScope, Scope>(type, __LINE__, memberName<"foundation::tav::Detail", Scope, operation>)

template <class Scope>
StatePtr* Detail<Scope>::find(std::uint64_t typeID, const std::type_info& type) {
    return FOUNDATION_TAV_REQUIRED_CONTEXT(Scope, "find").find(typeID);
}

template <class Scope>
StatePtr& Detail<Scope>::findOrFail(std::uint64_t typeID, const std::type_info& type) {
    StatePtr* const state = FOUNDATION_TAV_REQUIRED_CONTEXT(Scope, "findOrFail").find(typeID);
    if (!state) [[unlikely]]
        detail::reportMisuse([&] {
            return ErrorInfo(detail::formatted(detail::doesNotExist, getName(type)), __FILE__, __LINE__,
                             memberName<"foundation::tav::Detail", Scope, "findOrFail">);
        });
    return *state;
}

template <class Scope>
StatePtr& Detail<Scope>::findOrThrow(std::uint64_t typeID, const std::type_info& type) {
    ContextImpl<Scope>* const context = requiredContext<Scope>();
    if (!context) [[unlikely]]
        throwTypeError<NoActiveContextTypeError>(type);
    StatePtr* const state = context->find(typeID);
    if (!state) [[unlikely]]
        throwTypeError<DoesNotExistTypeError>(type);
    return *state;
}

template <class Scope>
StatePtr& Detail<Scope>::findOrInsert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state) {
    return FOUNDATION_TAV_REQUIRED_CONTEXT(Scope, "findOrInsert").findOrInsert(typeID, type, std::move(state));
}

template <class Scope>
StatePtr& Detail<Scope>::insert(std::uint64_t typeID, const std::type_info& type, StatePtr&& state) {
    return FOUNDATION_TAV_REQUIRED_CONTEXT(Scope, "insert").insert(typeID, type, std::move(state));
}

template <class Scope>
bool Detail<Scope>::erase(std::uint64_t typeID, const std::type_info& type) {
    return FOUNDATION_TAV_REQUIRED_CONTEXT(Scope, "erase").erase(typeID, type) != 0;
}

template <class Scope>
std::uint64_t Detail<Scope>::eraseAll(std::uint64_t typeID, const std::type_info& type) {
    return FOUNDATION_TAV_REQUIRED_CONTEXT(scope::Process, "eraseAll").template eraseAll<Scope>(typeID, type);
}

#undef FOUNDATION_TAV_REQUIRED_CONTEXT

template <class Scope>
std::uint64_t Detail<Scope>::getNextID(const std::type_info& type) {
    const std::uint64_t id = nextTypeID<Scope>.fetch_add(1);
    detail::trace(detail::libraryLogger, detail::informationSeverity, [&](auto& stream) {
        stream << "getNextID"
               << "  scope=" << getName(typeid(Scope)) << "  id=" << id << "  type=" << getName(type);
    });
    return id;
}

template <class Scope>
bool Detail<Scope>::isRequiredContextActive() {
    return requiredContext<Scope>() != nullptr;
}

template struct Detail<scope::Process>;
template struct Detail<scope::Zarn>;
template struct Detail<scope::Workspace>;

}  // namespace foundation::tav

// ---------------------------------------------------------------------------------------------------------------------
// Inspection

namespace {

using foundation::tav::management::ContextRecord;
using foundation::tav::management::ContextState;

static_assert(static_cast<State>(ContextState::running) == State::running &&
              static_cast<State>(ContextState::shutdown) == State::shutdown &&
              static_cast<State>(ContextState::destroyed) == State::destroyed);

/// What layers above see of the contexts, and may do to them without their being current.
struct Inspection {
    struct Store {
        std::shared_ptr<InstanceManager> states;  // a share of the context
        const std::type_info* scope;
        const void* context;
    };

    /// Each context before its children, siblings in creation order. The caller holds the Process context's lock.
    template <class Scope, class Operation>
    static void forEachContext(ContextImpl<Scope>& context, const Operation& operation) {
        operation(context);
        if constexpr (!std::is_same_v<Scope, scope::Workspace>)
            for (ChildLink& child : context.m_children)
                forEachContext(static_cast<typename ContextImpl<Scope>::Child&>(child), operation);
    }

    template <class Scope>
    static bool isCurrentElsewhere(const ContextImpl<Scope>& context) {
        return !isProcess<Scope> && context.m_activations > 0 && requiredContext<Scope>() != &context;
    }

    template <class Scope>
    static ContextRecord recordOf(const ContextImpl<Scope>& context) {
        ContextRecord record{&typeid(Scope),
                             &context,
                             context.m_parent.get(),
                             static_cast<ContextState>(context.m_state),
                             context.m_activations,
                             requiredContext<Scope>() == &context,
                             {}};
        for (const InstanceManager::Item& item : context.m_store.m_list)
            record.states.push_back({item.typeID, item.get(), item.get_deleter()});
        return record;
    }

    static std::vector<ContextRecord> records(ContextImpl<scope::Process>& process) {
        std::vector<ContextRecord> records;
        std::unique_lock lock(process.m_mutex, std::defer_lock);
        if (!LockedReport::isUnderWay(&process)) lock.lock();
        forEachContext(process, [&](const auto& context) { records.push_back(recordOf(context)); });
        return records;
    }

    /// The stores that the calling thread may touch.
    static std::vector<Store> stores(ContextImpl<scope::Process>& process) {
        std::vector<Store> stores;
        const std::lock_guard lock(process.m_mutex);
        forEachContext(process, [&]<class Scope>(ContextImpl<Scope>& context) {
            if (!isCurrentElsewhere(context))
                stores.push_back({{context.shared_from_this(), &context.m_store}, &typeid(Scope), &context});
        });
        return stores;
    }

    /// Deletes the newest of the states that match; false if none does.
    template <class Predicate>
    static bool eraseNewest(ContextImpl<scope::Process>& process, const Store& store, const Predicate& matches) {
        InstanceManager::StateList extracted;
        {
            const std::lock_guard lock(process.m_mutex);
            InstanceManager& states = *store.states;
            const auto newest = std::find_if(states.m_list.begin(), states.m_list.end(), matches);
            if (newest == states.m_list.end()) return false;
            states.extract(newest->typeID, extracted);
        }  // unlocked again: the deleter may use the contexts
        for (InstanceManager::Item& state : extracted)
            InstanceManager::eraseAndRecord(store.scope, store.context, state.typeID, std::move(state));
        return !extracted.empty();
    }
};

}  // namespace

namespace foundation::tav::management {

std::vector<ContextRecord> inspectContexts() {
    ContextImpl<scope::Process>* const process = requiredContext<scope::Process>();
    return process ? Inspection::records(*process) : std::vector<ContextRecord>();
}

bool isCurrentElsewhere(const ContextSet& contexts) {
    const auto isRefused = [](const auto& context) {
        return context && !context->isDestroyed() && Inspection::isCurrentElsewhere(*context);
    };
    return contexts.m_pimpl && (isRefused(contexts.m_pimpl->zarn) || isRefused(contexts.m_pimpl->workspace));
}

std::uint64_t eraseStatesDeletedBy(const void* begin, const void* end) {
    ContextImpl<scope::Process>* const process = requiredContext<scope::Process>();
    if (!process) return 0;
    const auto matches = [begin, end](const StatePtr& state) {
        const auto deleter = reinterpret_cast<std::uintptr_t>(state.get_deleter());
        return deleter >= reinterpret_cast<std::uintptr_t>(begin) && deleter < reinterpret_cast<std::uintptr_t>(end);
    };
    // With shares of the contexts, whose handles a deleter may free.
    const std::vector<Inspection::Store> stores = Inspection::stores(*process);
    std::uint64_t erased = 0;
    for (auto store = stores.rbegin(); store != stores.rend(); ++store)
        while (Inspection::eraseNewest(*process, *store, matches))
            ++erased;
    return erased;
}

}  // namespace foundation::tav::management
