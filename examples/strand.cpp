#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <iostream>
#include <string>

// Tasks of one document on a pool of threads: a strand runs them one after the other, whichever thread it takes.

// NOLINTBEGIN(bugprone-exception-escape): what fails here may end the program
namespace {

namespace state = foundation::state;
namespace tav = foundation::tav;
using tav::management::thisthread::ContextActivator;

struct Text {
    using StateScope = tav::scope::Workspace;
    std::string words;
};

}  // namespace

int main() {
    tav::management::Context<tav::scope::Process> process;
    tav::management::Context<tav::scope::Zarn> project(process);
    tav::management::Context<tav::scope::Workspace> document(project);

    boost::asio::thread_pool pool(4);
    const auto strand = boost::asio::make_strand(pool.get_executor());
    for (const char* word : {"one", " two", " three"})
        boost::asio::post(strand, [&document, word] {
            const ContextActivator here(document);
            state::findOrCreate<Text>().words += word;
        });
    pool.join();  // before the contexts go

    const ContextActivator here(document);
    std::cout << state::findOrFail<Text>().words << '\n';
}
// NOLINTEND(bugprone-exception-escape)
