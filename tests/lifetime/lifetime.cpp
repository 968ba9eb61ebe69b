#include "lifetime.h"

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/error.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/type_error.h>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "../support/recording_sink.h"

namespace foundation::tests {
namespace {

using tav::Detail;
using tav::ErrorInfo;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;
using tav::scope::Process;
using tav::scope::Workspace;
using tav::scope::Zarn;

struct Misuse {};

[[noreturn]] void throwMisuse(const ErrorInfo&) { throw Misuse(); }

[[noreturn]] void sayAndThrow(const ErrorInfo& info) {
    say("reported", info.m_message.c_str());
    throw Misuse();
}

struct Counter {
    Counter() { ++alive; }
    ~Counter() { --alive; }
    Counter(const Counter&) = delete;
    Counter& operator=(const Counter&) = delete;

    static thread_local int alive;
};
constinit thread_local int Counter::alive = 0;

tav::StatePtr counted() {
    return {new Counter, [](void* state) { delete static_cast<Counter*>(state); }};
}

template <class Operation>
bool isMisuse(const Operation& operation) {
    const tav::ErrorHandler previous = tav::setErrorHandler(&throwMisuse);
    bool isReported = false;
    try {
        operation();
    } catch (const Misuse&) {
        isReported = true;
    }
    tav::setErrorHandler(previous);
    return isReported;
}

template <class Scope>
bool useState() {
    const auto id = Detail<Scope>::getNextID(typeid(Counter));
    bool isRight = Detail<Scope>::find(id, typeid(Counter)) == nullptr;
    isRight &= isMisuse([id] { Detail<Scope>::findOrFail(id, typeid(Counter)); });
    try {
        Detail<Scope>::findOrThrow(id, typeid(Counter));
        isRight = false;
    } catch (const tav::DoesNotExistTypeError&) {
    }
    const void* const stored = Detail<Scope>::findOrInsert(id, typeid(Counter), counted()).get();
    isRight &= Detail<Scope>::findOrFail(id, typeid(Counter)).get() == stored;
    isRight &= Detail<Scope>::eraseAll(id, typeid(Counter)) == 1;
    Detail<Scope>::insert(id, typeid(Counter), counted());
    return isRight;
}

bool useContexts() {
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    const ContextActivator activator(workspace);
    const bool isRight = useState<Process>() && useState<Zarn>() && useState<Workspace>() && Counter::alive == 3;
    workspace.destroy();
    zarn.destroy();
    process.destroy();
    return isRight && Counter::alive == 0;
}

// Three ids and a push, a pop, a report per scope, and an exit for each entry.
bool isWhole(const std::vector<Record>& records) {
    const auto count = [&records](unsigned severity) {
        return std::count_if(records.begin(), records.end(),
                             [severity](const Record& record) { return record.severity == severity; });
    };
    return count(16) == 5 && count(32) > 0 && count(32) == count(64) && count(512) == 3;
}

}  // namespace

void say(const char* who, const char* what) {
    std::printf("%s: %s\n", who, what);
    std::fflush(stdout);
}

tav::StatePtr mortal(const char* name) {
    // Deleters get no constant objects; this one changes nothing.
    return {const_cast<char*>(name), [](void* state) { say(static_cast<const char*>(state), "dies"); }};
}

void useEverything(const char* who) {
    RecordingSink sink;
    const ScopedMask mask(2 | 16 | 32 | 64 | 512);
    const bool isRight = useContexts();
    say(who, isRight ? "contexts, states and reports work" : "something is wrong");
    say(who, isWhole(sink.take()) ? "the trace is whole" : "the trace is not whole");
}

void installSayingHandler() { tav::setErrorHandler(&sayAndThrow); }

}  // namespace foundation::tests
