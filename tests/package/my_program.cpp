// The program of every consumer: it uses all four libraries, through what their headers declare and what they inline.

#include <foundation/core/diag.h>
#include <foundation/core/except.h>
#include <foundation/log/diagnostic_logger.h>
#include <foundation/state/state.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <cstdio>
#include <typeinfo>
#include <utility>

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

    try {
        State::findOrThrow(State::getNextID(typeid(Question)), typeid(Question));
    } catch (const foundation::core::except::IInternalException& error) {
        std::printf("caught: %s\n", error.what());
    }
    std::printf("named: %s\n",
                foundation::core::diag::detail::demangle_typeid_name(typeid(process).name(), false).c_str());
    const foundation::log::diagnostic_logger logger("my_program");
    std::printf("mask: %u, attributes: %zu\n", logger.mask(), logger.attributes().size());
}
