#include <foundation/state/state.h>
#include <foundation/tav/context_activator.h>
#include <cstdio>
#include <latch>
#include <string>
#include <thread>
#include <vector>

// docs/debugging.md quotes the lines between the markers; a test keeps both the same.
// [quick start: begin]
using namespace foundation;

struct Licence {
    using StateScope = tav::scope::Process;
    std::string owner;
};

struct Outline {
    using StateScope = tav::scope::Zarn;
    std::vector<std::string> headings;
};

struct Selection {
    using StateScope = tav::scope::Workspace;
    std::vector<int> items;
};

[[gnu::noinline]] void meanwhile() { std::puts("both threads are at work"); }

int main() {
    using tav::management::thisthread::ContextActivator;
    tav::management::Context<tav::scope::Process> process;
    tav::management::Context<tav::scope::Zarn> letters(process);
    tav::management::Context<tav::scope::Zarn> reports(process);
    tav::management::Context<tav::scope::Workspace> letter(letters);
    state::create<Licence>("Ada");

    std::latch atWork(2);
    std::latch done(1);
    std::thread first([&] {
        const ContextActivator activator(letter);
        state::create<Selection>().items = {3, 5, 8};
        atWork.count_down();
        done.wait();
    });
    std::thread second([&] {
        const ContextActivator activator(reports);
        state::create<Outline>().headings = {"Spring", "Summer"};
        atWork.count_down();
        done.wait();
    });
    atWork.wait();
    meanwhile();  // the place for a breakpoint
    done.count_down();
    first.join();
    second.join();
}
// [quick start: end]
