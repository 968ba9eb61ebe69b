#include <foundation/state/state.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <cstdio>

struct Question {
    using StateScope = foundation::tav::scope::Zarn;
    int factors[2];
};

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
    const Question& question = foundation::state::findOrCreate<Question>(6, 7);
    std::printf("asked: %d x %d\n", question.factors[0], question.factors[1]);
    std::printf("found: %d\n", *static_cast<int*>(State::findOrFail(id, typeid(int)).get()));
}
