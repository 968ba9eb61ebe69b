#pragma once

/// @file
/// What a trace tells, as the model finds it: operations, contexts, states, and who sees them.

#include <cstdint>
#include <optional>
#include <string_view>
#include "record.h"

namespace timeline {

using ContextId = std::uint32_t;  ///< in the order of first mention, from 1; 0 for none or an unknown one
using Thread = unsigned;

/// One call of a traced operation.
struct Operation {
    enum class Ending : std::uint8_t { exit, thrown, exitMissing, unfinished };

    const Signature* signature = nullptr;
    Thread thread = 0;
    unsigned depth = 0;  ///< the number of operations around it
    ContextId context = 0;
    std::string_view type;  ///< of the state; empty if unknown. Lasts as long as the model.
    Time begin = 0;
    Time end = 0;
    Ending ending = Ending::unfinished;
};

/// The life of a context.
struct Context {
    enum class Ending : std::uint8_t { freed, endMissing, alive };
    enum class ParentSource : std::uint8_t { unknown, recorded, onlyOneAlive };

    ContextId id = 0;
    Scope scope = Scope::unknown;
    std::uint32_t number = 0;  ///< among those of its scope, from 1
    Address address = 0;
    ContextId parent = 0;
    ParentSource parentSource = ParentSource::unknown;
    bool isBeginKnown = false;  ///< or else it begins with its first mention
    Thread creator = 0;
    Time begin = 0;
    std::optional<Time> destroyBegin;
    std::optional<Time> destroyEnd;
    Thread destroyer = 0;
    Time end = 0;
    Ending ending = Ending::alive;
};

/// The life of a state object.
struct State {
    enum class Ending : std::uint8_t { deleted, beingDeleted, endMissing, alive };

    std::uint32_t id = 0;  ///< in the order of first mention, from 1
    ContextId context = 0;
    Scope scope = Scope::unknown;
    std::uint32_t contextNumber = 0;
    std::string_view type;  ///< lasts as long as the model
    std::uint64_t typeId = 0;
    bool isBeginKnown = false;
    Thread inserter = 0;
    Time begin = 0;
    std::optional<Time> deleteBegin;  ///< when its deleter was called
    Thread deleter = 0;
    Time end = 0;
    Ending ending = Ending::alive;
};

/// Something without duration.
struct Mark {
    enum class Kind : std::uint8_t { error, caughtException, thrown, lateUse, slowDeletion };

    Kind kind = Kind::error;
    Thread thread = 0;
    Time time = 0;
    std::uint64_t line = 0;
    std::uint32_t state = 0;  ///< the id of the one whose deletion it is about; 0 for none or an unknown one
    std::string_view text;    ///< for the call only
};

/// Sees what a trace tells, in the order of the records. What is told twice has its end added.
class Observer {
public:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    virtual ~Observer() = default;

    virtual void traceBegan(Time) {}
    virtual void threadAppeared(Thread) {}
    virtual void operationBegan(const Operation&) {}
    virtual void operationEnded(const Operation&) {}
    virtual void contextBegan(const Context&) {}
    virtual void contextEnded(const Context&) {}
    virtual void stateBegan(const State&) {}
    virtual void stateEnded(const State&) {}
    /// Another context of the scope, or none (0), is current on the thread from now on.
    virtual void currentChanged(Thread, Scope, ContextId, Time) {}
    virtual void marked(const Mark&) {}
};

}  // namespace timeline
