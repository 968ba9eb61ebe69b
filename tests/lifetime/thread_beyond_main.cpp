// A thread may go on after main's last context is gone: it is told so, has contexts of its own, and runs on until the
// last static destructor lets the process end.

#include <foundation/tav/context.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/type_error.h>
#include <atomic>
#include <latch>
#include <thread>

#include "lifetime.h"

namespace {

using foundation::tav::Detail;
using foundation::tav::NoActiveContextTypeError;
using foundation::tav::StatePtr;
using foundation::tav::management::Context;
using foundation::tav::scope::Process;
using foundation::tests::say;

std::latch mainIsOver(1);
std::latch threadIsDone(1);
std::atomic<unsigned> rounds = 0;

// Uses state over and over, to the last moment of the process.
[[noreturn]] void run() {
    mainIsOver.wait();
    try {
        Detail<Process>::findOrThrow(0, typeid(int));
    } catch (const NoActiveContextTypeError&) {
        say("thread", "no active context");
    }
    foundation::tests::useEverything("thread");
    const Context<Process> process;
    threadIsDone.count_down();
    for (;; ++rounds) {
        Detail<Process>::findOrInsert(0, typeid(int), StatePtr(&rounds, [](void*) {}));
        Detail<Process>::getNextID(typeid(int));
    }
}

// Constructed after what the thread uses, and so destroyed before it: the process ends under the running thread.
struct Last {
    ~Last() {
        mainIsOver.count_down();
        threadIsDone.wait();
        const unsigned before = rounds;
        while (rounds - before < 100)
            std::this_thread::yield();
        say("destructor", "leaves the thread running");
    }
} last;

}  // namespace

int main() {
    const Context<Process> process;
    std::thread(&run).detach();
    say("main", "leaves");
}
