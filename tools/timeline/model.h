#pragma once

/// @file
/// What the records of a trace amount to.
///
/// What the trace doesn't say is derived where there is only one possibility, and otherwise left open:
/// - A Workspace context's parent is recorded by its first activation. Any other parent is taken to be the only context
///   of the scope that is alive, if it is the only one.
/// - `findOrInsert` has inserted a state if none of the type is known in the context.
/// - A deleted state is one of the context in whose operation its deleter ran; within `eraseAll` it is that of the
///   oldest context that has one of the type, and outside of all operations the only one of the type.
/// - A late use or slow deletion is one of the state that the thread's last operation has deleted, if it has that type.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>
#include "events.h"
#include "problems.h"
#include "reader.h"

namespace timeline {

inline constexpr std::size_t kindCount = 10;
inline constexpr std::size_t scopeCount = 4;

/// How much of everything there is.
struct Counts {
    std::uint64_t records = 0;
    std::uint64_t entries = 0;
    std::uint64_t exits = 0;
    std::uint64_t activations = 0;
    std::uint64_t deactivations = 0;
    std::uint64_t typeIds = 0;
    std::uint64_t errors = 0;
    std::uint64_t caughtExceptions = 0;
    std::uint64_t thrown = 0;
    std::uint64_t lateUses = 0;
    std::uint64_t slowDeletions = 0;
    std::uint64_t otherChannels = 0;
    std::uint64_t threads = 0;
    std::uint64_t unfinished = 0;
    std::array<std::uint64_t, kindCount> operations{};       // by kind
    std::array<std::uint64_t, scopeCount> contexts{};        // by scope: created
    std::array<std::uint64_t, scopeCount> contextsUnseen{};  // by scope: there before the trace began
    std::array<std::uint64_t, scopeCount> contextsDestroyed{};
    std::array<std::uint64_t, scopeCount> contextsAlive{};  // by scope: at the end
    std::uint64_t statesInserted = 0;
    std::uint64_t statesUnseen = 0;
    std::uint64_t statesDeleted = 0;
    std::uint64_t statesAlive = 0;
    Time begin = 0;
    Time end = 0;
};

class Model {
public:
    Model(std::vector<Observer*> observers, Problems& problems)
        : m_observers(std::move(observers)), m_problems(problems) {}

    void add(const RecordReader::Numbered& numbered);

    /// After the last record: ends what is still going on.
    void finish();

    const Counts& counts() const { return m_counts; }

private:
    struct Frame {
        Operation operation;
        unsigned indentation = 0;
        std::optional<std::uint64_t> typeId;
        bool hasReleasedParent = false;
        std::optional<State> dying;
    };

    struct LiveContext {
        Context context;
        std::map<std::uint64_t, State> states;  // by type id
    };

    struct ThreadState {
        std::vector<Frame> frames;
        std::array<ContextId, scopeCount> current{};
        std::optional<LiveContext> freed;  // with states left, which are deleted after the exit of its destructor
        std::size_t freedDepth = 0;        // the number of operations around that
        std::optional<State> deleted;      // by the operation that was the last to end
    };

    // Where the record that is being added stands.
    struct Place {
        Thread thread = 0;
        unsigned indentation = 0;
        Time time = 0;
        std::uint64_t line = 0;
    };

    void handle(const Entry& entry);
    void handle(const Exit& exit);
    void handle(const Push& push);
    void handle(const Pop& pop);
    void handle(const TypeId& typeId);
    void handle(const LateUse& use);
    void handle(const SlowDeletion& deletion);
    void handle(const Error& error);
    void handle(const CaughtException& exception);
    void handle(const OtherChannel&);

    ThreadState& threadState();
    void closeLost(ThreadState& thread, bool isExit);
    void closeTop(ThreadState& thread, Operation::Ending ending);
    void applyEntry(ThreadState& thread, Frame& frame, const Entry& entry);
    void applyEnding(ThreadState& thread, const Frame& frame);
    void applyParentReleased(ThreadState& thread, const Frame& frame);
    void applyDestroyed(const Frame& frame);

    ContextId contextAt(Address address, Scope scope);
    LiveContext& beginContext(Address address, Scope scope, bool isBeginKnown);
    void endContext(LiveContext live, Context::Ending ending);
    void freeContext(ThreadState& thread, ContextId id);
    void forgetFreed(ThreadState& thread);
    LiveContext* find(ContextId id);
    const Context* shownAt(const ThreadState& thread, Address address, Scope scope);
    ContextId onlyAlive(Scope scope) const;

    void insertState(const Frame& frame);
    State takeState(ThreadState& thread, std::uint64_t typeId);
    LiveContext* ownerOf(ThreadState& thread, std::uint64_t typeId);
    LiveContext* ownerInEraseAll(const Frame& frame, std::uint64_t typeId);
    LiveContext* onlyOwner(std::uint64_t typeId);
    State newState(const Context& context, std::uint64_t typeId);
    void endState(State state, State::Ending ending);
    void endStates(LiveContext& live, State::Ending ending);

    void makeCurrent(const Push& contexts);
    void setCurrent(Scope scope, ContextId id);
    std::string_view keep(std::string_view text);
    std::string_view typeName(const TypeKey& key) const;
    std::string typeText(const TypeKey& key) const;
    std::string deletedText(const ThreadState& thread, const TypeKey& key, Address context, const State* state);
    std::string contextText(const ThreadState& thread, Scope scope, Address address, const State* state);
    void mark(Mark::Kind kind, std::string_view text, const State* state = nullptr);

    template <class Function>
    void tell(const Function& function) {
        for (Observer* const observer : m_observers) {
            function(*observer);
        }
    }

    std::vector<Observer*> m_observers;
    Problems& m_problems;
    Counts m_counts;
    Place m_place;
    std::map<Thread, ThreadState> m_threads;
    std::map<ContextId, LiveContext> m_contexts;  // those alive, oldest first
    std::unordered_map<Address, ContextId> m_addresses;
    std::array<std::uint32_t, scopeCount> m_numbers{};
    ContextId m_lastContext = 0;
    std::uint32_t m_lastState = 0;
    std::set<std::string, std::less<>> m_texts;
    std::map<TypeKey, std::string_view> m_types;
};

}  // namespace timeline
