// Objects of a thread may use the library when it ends, and an activator may be one of them: its end leaves the
// contexts free for other threads. The main thread's objects end before the static ones.

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <optional>
#include <thread>

#include "lifetime.h"

namespace {

using foundation::tav::management::Context;
using foundation::tav::management::thisthread::ContextActivator;
using foundation::tav::scope::Process;
using foundation::tav::scope::Zarn;
using foundation::tests::say;

struct User {
    ~User() {
        if (who) foundation::tests::useEverything(who);
    }
    const char* who = nullptr;
};

User object{.who = "static object"};
thread_local User objectOfThread;
thread_local std::optional<ContextActivator> activatorOfThread;

}  // namespace

int main() {
    bool wasActive = false;
    {
        Context<Process> process(false);
        Context<Zarn> zarn(process);
        std::thread([&] {
            objectOfThread.who = "object of another thread";
            activatorOfThread.emplace(zarn);
            wasActive = zarn.isActive();
        }).join();
        say("main", wasActive && !zarn.isActive() ? "current while the other thread lived and free after it" : "wrong");
    }
    objectOfThread.who = "object of the main thread";
}
