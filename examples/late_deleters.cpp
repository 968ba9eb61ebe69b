#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <foundation/state/teardown.h>
#include <foundation/tav/context.h>
#include <foundation/tav/scope.h>
#include <chrono>
#include <functional>
#include <iostream>
#include <latch>
#include <string>
#include <thread>
#include <vector>

// NOLINTBEGIN(bugprone-exception-escape): what fails here may end the program
// Quoted in the documents; a test keeps both the same.
using namespace foundation;

struct Connection {
    using StateScope = tav::scope::Process;
    std::latch closed{1};
    ~Connection() { closed.wait(); }  // the other side takes its time
};

struct Journal {
    using StateScope = tav::scope::Process;
    std::vector<std::string> lines;
};

struct Settings {
    using StateScope = tav::scope::Process;
    ~Settings() {
        if (auto* const journal = state::find<Journal>()) journal->lines.emplace_back("saved");
    }
};

// The host's own watchdog: waits for a deletion that takes too long, names it, and helps it on.
void watch(std::latch& closed) {
    state::TeardownReport overdue;
    while (overdue.deletions.empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        overdue = state::overdueDeletions();
    }
    std::cout << overdue.deletions.front().type << " hangs\n";
    closed.count_down();
}

int main() {
    state::recordTeardown(std::chrono::milliseconds(500));
    tav::management::Context<tav::scope::Process> process;
    state::create<Settings>();
    state::create<Journal>();  // after the settings, and therefore gone before them
    std::latch& closed = state::create<Connection>().closed;

    std::thread watchdog(watch, std::ref(closed));
    process.destroy();
    watchdog.join();

    for (const state::Deletion& deletion : state::teardownReport().deletions) {
        std::cout << deletion.type << (deletion.isOverdue ? " took too long\n" : " was deleted\n");
        for (const state::LateUse& use : deletion.lateUses)
            std::cout << "    and looked for " << use.type << ", which was gone\n";
    }
}
// NOLINTEND(bugprone-exception-escape)
