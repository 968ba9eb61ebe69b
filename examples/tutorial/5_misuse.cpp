// Step 5: what happens when state is asked for where there is none.

#include <foundation/log/console.h>
#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/error.h>
#include <foundation/tav/scope.h>
#include <iostream>
#include <stdexcept>

namespace {

namespace state = foundation::state;
namespace tav = foundation::tav;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;

struct Document {
    using StateScope = tav::scope::Workspace;

    int words = 0;
};

// Leaves the failing call by an exception. A handler that returned would end the process.
void throwMisuse(const tav::ErrorInfo& info) { throw std::logic_error(info.m_message); }

void countWord() {
    try {
        std::cout << ++state::findOrFail<Document>().words << " words\n";
    } catch (const std::logic_error& misuse) {
        std::cout << misuse.what() << '\n';
    }
}

void run() {
    Context<tav::scope::Process> process;
    Context<tav::scope::Zarn> project(process);
    Context<tav::scope::Workspace> context(project);
    countWord();  // no document is current on this thread
    const ContextActivator activator(context);
    countWord();  // one is, but it has no such state
    state::create<Document>();
    countWord();
}

}  // namespace

int main() {
    foundation::log::add_console_sink();  // each report is written to standard error, too
    tav::setErrorHandler(&throwMisuse);
    run();
}
