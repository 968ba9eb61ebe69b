#include <foundation/state/hand_off.h>
#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <iostream>
#include <string>
#include <thread>

// NOLINTBEGIN(bugprone-exception-escape): what fails here may end the program
// Quoted in the documents; a test keeps both the same.
using namespace foundation;
using tav::management::thisthread::ContextActivator;

struct Text {
    using StateScope = tav::scope::Workspace;
    std::string words;
};

int main() {
    tav::management::Context<tav::scope::Process> process;
    tav::management::Context<tav::scope::Zarn> project(process);
    tav::management::Context<tav::scope::Workspace> document(project);
    const auto append = [](const char* word) { return [word] { state::findOrCreate<Text>().words += word; }; };

    ContextActivator here(document);
    append("one")();
    std::thread(state::bind(state::handOff(here), append(" two"))).join();  // current there, and no longer here

    boost::asio::thread_pool pool(2);
    ContextActivator again(document);
    boost::asio::post(pool, state::bind(state::handOff(again), append(" three")));
    pool.join();

    const ContextActivator last(document);
    std::cout << state::findOrFail<Text>().words << '\n';
}
// NOLINTEND(bugprone-exception-escape)
