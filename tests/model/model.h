#pragma once

/// @file
/// What the library is documented to do, in the plainest form: contexts are numbers, shares are counted by hand, lists
/// are vectors. It makes no call to the library, and is a value: a copy of it can be asked what would happen.

#include "operation.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace foundation::tests::model {

/// A call with its operands chosen among the objects that there are.
struct Action {
    Kind kind;
    int thread = 0;
    int from = -1;  ///< the object that is operated on or read
    int to = -1;    ///< the place that is filled
    std::uint64_t typeID = 0;
    int type = 0;
    bool flag = false;  ///< construct: activates; setTrace: the core is enabled
    unsigned mask = 0;
    int handler = 0;
    int state = 0;  ///< the number of the state that is offered
    Offer offer = Offer::statePtr;

    friend bool operator==(const Action&, const Action&) = default;
};

std::ostream& operator<<(std::ostream& stream, const Action& action);

/// Something that can be seen to happen during a call. The address of a context reads "@" and its number.
struct Event {
    enum class Kind : std::uint8_t { birth, death, report, assertion, record, call, result, release, deletion };

    Kind kind;
    std::string text;
};

std::ostream& operator<<(std::ostream& stream, const Event& event);

/// By thread and scope: the number of ids, of the first in `typeIDs`, that are looked up.
using LookupCounts = std::array<std::array<std::size_t, 3>, threadCount>;

/// By state: what its deleter calls, if anything.
using DeathCalls = std::map<int, std::optional<Action>>;

/// What a call does.
struct Effect {
    std::string result;
    std::vector<Event> events;
    DeathCalls atDeath;        ///< of the states that die
    bool isDefined = true;     ///< false: the library leaves open what happens, now or later
    std::vector<Kind> nested;  ///< the calls made by deleters
};

class Model {
public:
    /// `nextIDs`: those that `getNextID` returns next, by scope.
    Model(Layer layer, Recording recording, bool isStrict, const std::array<std::uint64_t, 3>& nextIDs)
        : m_layer(layer), m_recording(recording), m_isStrict(isStrict), m_nextIDs(nextIDs) {}

    /// The call with its operands, unless there are no objects that it could be made with.
    std::optional<Action> resolve(const Operation& operation);

    Effect perform(const Action& action);

    /// What a call does that is left by a failed allocation before it does anything else; `isMade`: than to construct
    /// the state, if that is up to the call.
    Effect abandon(const Action& action, bool isMade);

    /// Whether the thread has a Zarn or Workspace context current.
    bool hasCurrent(int thread) const;

    /// Whether everything is gone: objects, contexts and states.
    bool isClean() const;

    /// Every observable that there is between calls.
    std::string observe() const;

    /// The contexts below the active Process context, as the thread sees them: each before its children, its states
    /// newest first. Empty without one.
    std::string inspect(int thread) const;

    /// Which states can be looked up without enlarging a context's table.
    LookupCounts lookups() const;

    struct Handle {
        bool isThere = false;
        int context = 0;  // 0: moved from
    };
    struct Contexts {
        int zarn = 0;
        int workspace = 0;

        friend bool operator==(const Contexts&, const Contexts&) = default;
    };
    struct Set {
        bool isThere = false;
        bool isBusy = false;  // an operation on it is in progress: it may not be touched
        bool hasRecord = false;
        Contexts contexts{};

        bool isEmpty() const { return !hasRecord || contexts.zarn == 0; }
    };
    struct Activator {
        bool isThere = false;
        bool isBusy = false;
        bool isActivated = false;
        int thread = 0;
        Contexts active{};
        Contexts previous{};
    };

private:
    enum class State : std::uint8_t { running, shutdown, destroyed };

    struct Stored {
        std::uint64_t typeID;
        int state;
    };
    struct Context {
        Scope scope;
        State state = State::running;
        bool isDestroying = false;
        bool goesWithLastChild = false;
        int parent = 0;
        std::vector<int> children{};
        int dyingChildren = 0;  // no longer among the children, but with states that are being deleted
        std::uint64_t activations = 0;
        std::vector<Stored> stored{};       // oldest first
        std::set<std::uint64_t> deleted{};  // by type id: in its name, while it is being destroyed
        std::uint64_t slots = 0;            // of the table
        int shares = 0;
    };
    struct LateUse {
        int context;
        Scope scope;
        std::uint64_t typeID;
        bool isInserted;
    };
    struct Deletion {
        std::optional<Scope> scope;  // none: of a context that was destroyed before
        int context;                 // 0: of none, or of one that isn't told
        std::uint64_t typeID;
        std::size_t depth;
        std::vector<LateUse> lateUses{};
    };
    struct Living {
        std::optional<Call> atDeath{};
        bool isMade = false;  // false: it may yet be constructed by the call in progress
    };
    struct Thread {
        std::array<int, 3> current{};  // by scope; none for Process
        unsigned indentation = 0;
    };

    class Share;
    class Busy;
    class ScopeRecord;
    class RecordedDeletion;

    std::optional<Action> resolve(const Call& call, int thread, bool isNested) const;
    void adopt(const Action& action, const std::optional<Call>& atDeath);
    void resolveStateOperation(const Call& call, Action& action) const;
    bool resolveContextOperation(const Call& call, Action& action) const;
    bool resolveSetOperation(const Call& call, Action& action) const;
    bool resolveActivatorOperation(const Call& call, Action& action, bool isNested) const;

    std::string resultOf(const Action& action);
    std::string contextOperation(const Action& action);
    std::string stateOperation(const Action& action);
    std::string offer(const Action& action);
    std::string take(const Action& action);
    std::string refuse(const Action& action);
    std::string setOperation(const Action& action);
    std::string activatorOperation(const Action& action);
    std::string hostOperation(const Action& action);

    // Context<Scope>
    void construct(const Action& action);
    void freeHandle(const Action& action);
    void activate(int context);
    void deactivate(int context);
    void destroyHandle(int context);

    // contexts
    int makeContext(Scope scope, int parent);
    void release(int context);
    void end(int context);
    int createChild(int parent);
    void incRef(int context);
    void decRef(int context);
    bool destroy(int context);
    void releaseParent(int context);
    void destroyStates(int context);
    void leaveActivation(int context);
    void childDestroyed(int context);
    void deleteNewest(int context);

    // states
    int requiredContext(Scope scope) const;
    int requireContext(Scope contextScope, const Action& action);
    int requireContext(Scope contextScope, const Action& action, Verb verb);
    int find(int context, std::uint64_t typeID);
    int stateIn(int context, std::uint64_t typeID) const;
    int currentOn(int thread, Scope scope) const;
    std::string insert(int context, const Action& action);
    std::string findOrInsert(int context, const Action& action);
    void store(int context, const Action& action, const std::string& function);
    bool erase(int context, const Action& action);
    std::uint64_t eraseAll(int process, const Action& action);
    int extract(int context, std::uint64_t typeID);
    void makeState(int state);
    void deleteState(std::optional<Scope> scope, int context, std::uint64_t typeID, int state);
    void noteLateUse(int context, std::uint64_t typeID, bool isInserted);
    void noteDeletions();
    void die(int state);
    std::vector<int> contextsBelow(int context, Scope scope) const;
    std::string stateDetails(const Action& action, int context) const;
    std::string typeName(const Action& action) const;
    std::string doesNotExist(const Action& action) const;

    // sets and activators
    void releaseContexts(const Contexts& contexts);
    Contexts share(const Contexts& contexts);
    Contexts takeSet(int index);
    Contexts asked(const Action& action);
    void beginActivator(const Action& action, const Contexts& active);
    void endActivator(Activator& activator);
    int getCurrent(Scope scope);
    int exchangeCurrent(Scope scope, int requested);
    Contexts contextsOf(const Activator& activator, Verb verb);

    static std::string comparisons(const std::vector<Set>& sets);
    std::string inspect(int context, int thread, std::size_t depth) const;

    // what can be seen
    void note(Event::Kind kind, std::string text);
    void trace(unsigned severity, const std::string& text);
    void write(unsigned severity, const std::string& text);
    [[noreturn]] void report(const std::string& function, const std::string& message,
                             const std::string& file = "foundation/tav/management.cpp");
    void check(bool holds, const char* expression);

    Thread& here() { return m_threads[static_cast<std::size_t>(m_thread)]; }
    const Thread& here() const { return m_threads[static_cast<std::size_t>(m_thread)]; }
    Handle& handle(Scope scope, int index);
    const Handle& handle(Scope scope, int index) const;

    Layer m_layer;
    Recording m_recording;
    bool m_isStrict;
    std::array<std::uint64_t, 3> m_nextIDs;
    std::map<int, Context> m_contexts;
    int m_lastContext = 0;
    int m_active = 0;  // the active Process context
    std::array<std::vector<Handle>, 3> m_handles = {std::vector<Handle>(handleCounts[0]),
                                                    std::vector<Handle>(handleCounts[1]),
                                                    std::vector<Handle>(handleCounts[2])};
    std::array<Set, setCount> m_sets;
    std::array<Activator, activatorCount> m_activators;
    std::array<Thread, threadCount> m_threads;
    std::map<int, Living> m_living;  // states
    int m_lastState = 0;
    int m_handler = 0;
    unsigned m_mask = 0;
    bool m_isCoreEnabled = true;

    int m_thread = 0;                    // of the call in progress
    Effect m_effect;                     // of the call in progress
    std::vector<Deletion> m_deletions;   // by the call in progress
    std::vector<std::size_t> m_running;  // those that are within one another
};

// The wording of observations, the same on both sides.

std::string handleLine(Scope scope, int index, bool isActive, bool isShutdown);
std::string activatorLine(int index, bool isActivated);
std::string setLine(int index, bool isTrue, bool isEmpty);
std::string threadLine(int thread, Scope scope, bool isActive, const std::array<int, storableIDs>& states);
std::string contextLine(std::size_t depth, const std::string& scope, const std::string& state,
                        std::uint64_t activations, bool isCurrent);
std::string storedLine(std::size_t depth, std::uint64_t typeID, int state);
std::string deletionLine(std::size_t depth, const std::string& scope, std::uint64_t typeID);
std::string lateUseText(const std::string& scope, std::uint64_t typeID, bool isInserted);
std::string comparisonLine(const std::string& comparisons);
char comparison(bool isEqual, bool isUnequal);
std::string countLine(std::size_t living);

}  // namespace foundation::tests::model
