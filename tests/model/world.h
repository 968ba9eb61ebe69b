#pragma once

/// @file
/// The library itself under the calls of a program: real objects on real threads, and everything that is seen to
/// happen.

#include "model.h"

#include "../support/recording_sink.h"

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/context_set.h>
#include <foundation/tav/error.h>
#include <foundation/tav/state_ptr.h>
#include <array>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace foundation::tests::model {

/// A thread that does what it is given, while the giver waits.
class Worker {
public:
    Worker() : m_thread([this] { work(); }) {}
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void run(const std::function<void()>& task);

private:
    void work();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    const std::function<void()>* m_task = nullptr;
    bool m_isOver = false;
    std::thread m_thread;
};

/// The objects of one program. One at a time.
class World {
public:
    struct Seen {
        std::string result;
        std::vector<Event> events;
        bool hasAllocationFailed = false;
    };

    /// `layer`: the one that the state operations are made through.
    World(Layer layer, Recording recording);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// Whether inserts into contexts that were shut down are refused in this process.
    static bool isStrict();

    const std::array<std::uint64_t, 3>& nextIDs() const { return m_nextIDs; }

    /// Makes the call on its thread; the n-th allocation in it fails, none for 0. `atDeath`: what deleters call.
    Seen perform(const Action& action, unsigned failingAllocation, const DeathCalls& atDeath);

    /// Every observable that there is between calls, worded as the model words it.
    std::string observe(const LookupCounts& lookups);

    /// What a snapshot taken on the thread shows, worded likewise.
    std::string inspect(int thread);

private:
    template <class Scope>
    using Handles = std::vector<tav::management::Context<Scope>*>;
    using Activator = tav::management::thisthread::ContextActivator;
    using ContextSet = tav::management::ContextSet;

    struct Payload {
        World& world;
        const int number;
    };

    /// A state of the typed layer.
    template <class Scope, int type>
    struct Typed : Payload {
        using StateScope = Scope;
        Typed(World& owner, int state) : Payload{owner, state} { world.noteBirth(*this); }
        ~Typed() { world.noteDeath(*this); }
        Typed(const Typed&) = delete;
        Typed& operator=(const Typed&) = delete;
    };

    template <class Scope, int... types>
    static void giveIDs(std::integer_sequence<int, types...>);
    static bool giveIDs();

    static void die(void* address);
    template <int handler>
    static void handle(const tav::ErrorInfo& info);
    static void noteAssertion(const char* expression);

    void note(Event::Kind kind, std::string text);
    void noteRecords();
    void noteBirth(const Payload& state);
    void noteDeath(const Payload& state);
    void noteDeletion(const Payload& state);
    void noteDeletions();

    std::string resultOf(const Action& action);
    template <class Scope>
    std::string contextOperation(const Action& action, Handles<Scope>& handles);
    std::string construct(const Action& action, Handles<tav::scope::Process>& handles);
    std::string construct(const Action& action, Handles<tav::scope::Zarn>& handles);
    std::string construct(const Action& action, Handles<tav::scope::Workspace>& handles);
    std::string processOperation(const Action& action);
    template <class Scope>
    std::string stateOperation(const Action& action);
    template <class Scope>
    std::string offer(const Action& action);
    template <class Scope, int... types>
    std::string typedOperation(const Action& action, std::integer_sequence<int, types...>);
    template <class Type>
    std::string operationOn(const Action& action);
    template <class Type>
    std::string typedOffer(const Action& action);
    template <class Type, class Pointer>
    std::string typedInsert(Pointer offered);
    std::string setOperation(const Action& action);
    std::string activatorOperation(const Action& action);
    static std::string hostOperation(const Action& action);

    template <class Call>
    std::string attempt(const Call& call);
    template <class Object, class Construct>
    std::string fill(Object*& place, const Construct& construct);
    template <class Object, class... Arguments>
    std::string make(Object*& place, Arguments&&... arguments);
    template <class Object>
    std::string free(Object*& place);
    std::string describe(const tav::StatePtr* state);
    std::string describe(const Payload* state) const;
    static std::string describe(bool value) { return value ? "true" : "false"; }
    static std::string describe(std::uint64_t value) { return std::to_string(value); }

    template <class Scope>
    void observeHandles(std::string& seen, const Handles<Scope>& handles) const;
    std::string observeSets() const;
    int numberOf(const std::string& address) const;
    template <class Scope>
    void observeThread(std::string& seen, int thread, std::size_t idCount);
    template <class Object>
    void discard(Object*& place);

    static World* s_current;  // handlers, deleters and observers are plain functions

    const Layer m_layer;
    const Recording m_recording;
    const tav::ErrorHandler m_previousHandler;
    RecordingSink m_sink;
    std::array<std::uint64_t, 3> m_nextIDs{};
    std::array<Worker, threadCount> m_workers;

    Handles<tav::scope::Process> m_processes = Handles<tav::scope::Process>(handleCounts[0]);
    Handles<tav::scope::Zarn> m_zarns = Handles<tav::scope::Zarn>(handleCounts[1]);
    Handles<tav::scope::Workspace> m_workspaces = Handles<tav::scope::Workspace>(handleCounts[2]);
    std::array<ContextSet*, setCount> m_sets{};
    std::array<Activator*, activatorCount> m_activators{};
    std::array<int, activatorCount> m_threadOf{};  // by activator

    std::unordered_map<const void*, int> m_living;           // states by address
    std::unordered_map<int, const tav::StatePtr*> m_places;  // where states were found before

    // of the call in progress
    const DeathCalls* m_atDeath = nullptr;
    unsigned m_failingAllocation = 0;
    std::vector<Event> m_events;
};

}  // namespace foundation::tests::model
