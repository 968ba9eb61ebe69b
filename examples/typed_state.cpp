#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <iostream>
#include <vector>

// Quoted in the documents; a test keeps both the same.
using namespace foundation;

struct Selection {
    using StateScope = tav::scope::Workspace;  // each document has its own
    std::vector<int> items;
};

int main() {
    tav::management::Context<tav::scope::Process> process;
    tav::management::Context<tav::scope::Zarn> project(process);
    tav::management::Context<tav::scope::Workspace> document(project);
    tav::management::thisthread::ContextActivator activator(document);

    state::findOrCreate<Selection>().items = {3, 5, 8};
    if (const Selection* const selection = state::find<Selection>()) std::cout << selection->items.size() << " items\n";
    std::cout << (state::erase<Selection>() ? "erased" : "absent") << '\n';
}
