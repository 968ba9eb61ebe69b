#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <cstdio>

int main() {
    using namespace foundation::tav;
    management::Context<scope::Process> process;
    management::Context<scope::Zarn> zarn(process);
    management::thisthread::ContextActivator activator(zarn);

    using State = Detail<scope::Zarn>;
    const std::uint64_t id = State::getNextID(typeid(int));
    StatePtr answer(new int(42), [](void* state) {
        delete static_cast<int*>(state);
        std::puts("deleted");
    });
    State::insert(id, typeid(int), std::move(answer));
    std::printf("found: %d\n", *static_cast<int*>(State::findOrFail(id, typeid(int)).get()));
}
