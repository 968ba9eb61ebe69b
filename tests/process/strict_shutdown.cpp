// Usage: strict_shutdown strict|lenient [value]
// Shows that inserting into contexts that were shut down is refused, or goes ahead, as KV_TAV_STRICT_SHUTDOWN says when
// that is first used, and that changing the variable afterwards changes nothing.

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "../support/error_reports.h"
#include "../support/lifetime_log.h"

namespace {

using namespace foundation::tav;
using foundation::tests::LifetimeLog;
using foundation::tests::Reported;

constexpr const char* variable = "KV_TAV_STRICT_SHUTDOWN";
constexpr const char* refusal = "Attempting to insert state of type 'int' after active context was shutdown.";

bool isAsExpected = true;

void expect(bool condition, const std::string& what) {
    if (condition) return;
    isAsExpected = false;
    std::fprintf(stderr, "Not so: %s\n", what.c_str());
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The operation inserts or is refused; the refused state stays with the caller.
template <class Operation>
void expectInsertion(bool isStrict, const std::string& name, LifetimeLog& log, Operation operation) {
    StatePtr offered = log.state("offered");
    try {
        operation(std::move(offered));
        expect(!isStrict, name + " is refused");
        expect(offered == nullptr, name + " takes the state");
    } catch (const Reported& reported) {
        expect(isStrict, name + " goes ahead");
        expect(offered != nullptr, name + " leaves a refused state with the caller");
        expect(reported.message == refusal, name + " says: " + reported.message);
        expect(endsWith(reported.function, "::" + name), name + " gives its own name: " + reported.function);
        expect(reported.file == "foundation/tav/management.cpp" && reported.line > 0, name + " gives its place");
    }
}

// In a context that was shut down, with a state of id 0.
template <class Scope>
void expectScope(bool isStrict, std::uint64_t id, LifetimeLog& log) {
    using State = Detail<Scope>;
    expectInsertion(isStrict, "insert", log,
                    [id](StatePtr&& state) { State::insert(id, typeid(int), std::move(state)); });
    expectInsertion(isStrict, "findOrInsert", log,
                    [id](StatePtr&& state) { State::findOrInsert(id + 1, typeid(int), std::move(state)); });
    expect((State::find(id, typeid(int)) == nullptr) == isStrict, "what was refused is absent");
    StatePtr offered = log.state("offered");
    State::findOrInsert(0, typeid(int), std::move(offered));
    expect(offered != nullptr, "findOrInsert finds a present state whatever the switch says");
    expect(State::find(0, typeid(int)) != nullptr, "lookups go on");
}

}  // namespace

int main(int argc, char** argv) {
    const foundation::tests::ThrowingErrorHandler handler;
    LifetimeLog log;
    const bool isStrict = argc > 1 && argv[1] == std::string("strict");
    management::Context<scope::Process> process;
    management::Context<scope::Zarn> zarn(process);
    management::Context<scope::Workspace> workspace(zarn);
    management::thisthread::ContextActivator activator(workspace);
    // Running contexts don't look at the switch: its value isn't read here yet.
    Detail<scope::Process>::insert(0, typeid(int), log.state("process"));
    Detail<scope::Zarn>::insert(0, typeid(int), log.state("zarn"));
    Detail<scope::Workspace>::findOrInsert(0, typeid(int), log.state("workspace"));
    if (argc > 2) setenv(variable, argv[2], 1);

    workspace.shutdown();
    zarn.shutdown();
    process.shutdown();
    for (const std::uint64_t id : {1u, 3u}) {
        expectScope<scope::Process>(isStrict, id, log);
        expectScope<scope::Zarn>(isStrict, id, log);
        expectScope<scope::Workspace>(isStrict, id, log);
        setenv(variable, isStrict ? "0" : "1", 1);  // for the second round, too late
    }
    expect(Detail<scope::Process>::erase(0, typeid(int)), "erasing goes on");
    return isAsExpected ? EXIT_SUCCESS : EXIT_FAILURE;
}
