#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>
#include <iostream>
#include <utility>
#include <vector>

// Quoted in the documents; a test keeps both the same.
using namespace foundation::tav;
using State = Detail<scope::Workspace>;
struct Selection {
    std::vector<int> items;
    ~Selection() { std::cout << "selection deleted\n"; }
};

int main() {
    management::Context<scope::Process> process;                   // active at once, for every thread
    management::Context<scope::Zarn> project(process);             // as many as there are projects
    management::Context<scope::Workspace> document(project);       // the one that is open in the project
    management::thisthread::ContextActivator activator(document);  // from here on it is current on this thread

    const auto id = State::getNextID(typeid(Selection));  // once per type
    StatePtr fresh(new Selection{{3, 5, 8}}, [](void* selection) { delete static_cast<Selection*>(selection); });
    State::findOrInsert(id, typeid(Selection), std::move(fresh));
    std::cout << static_cast<Selection*>(State::find(id, typeid(Selection))->get())->items.size() << " items\n";
}  // the document dies before its project, and the selection with it
