#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "letters.h"

namespace {

namespace state = foundation::state;
namespace tav = foundation::tav;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;

// A signal handler may touch this and nothing of the library.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
volatile std::sig_atomic_t interrupted = 0;

void writeLetters(Context<tav::scope::Zarn>& context, const std::vector<letters::Customer>& customers,
                  const char* format) {
    const ContextActivator activator(context);
    for (const letters::Customer& customer : customers) {
        if (interrupted != 0) return;
        Context<tav::scope::Workspace> correspondence(context);
        const ContextActivator current(correspondence);
        state::create<letters::Customer>(customer);
        std::cout << letters::letter(format) << '\n';
    }
    const auto& company = state::findOrFail<letters::Company>();
    std::cout << company.name << ": " << company.letters << " letters\n";
}

void openCompany(Context<tav::scope::Zarn>& context, const char* name) {
    const ContextActivator activator(context);
    state::create<letters::Company>(name);
}

}  // namespace

int main() {
    std::signal(SIGINT, [](int) { interrupted = 1; });
    Context<tav::scope::Process> process;
    letters::registerFormats();
    Context<tav::scope::Zarn> mill(process);
    Context<tav::scope::Zarn> quarry(process);
    openCompany(mill, "Mill");
    openCompany(quarry, "Quarry");
    writeLetters(mill, {{"Ada"}, {"Bert"}}, letters::defaultFormat);
    writeLetters(quarry, {{"Cleo"}}, "framed");
    std::cout << letters::Journal::instance().lines() << " letters in all\n";
}
