// Contexts that several threads create, activate, shut down and destroy.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <random>
#include <string_view>

#include "threads.h"

namespace foundation::tests {
namespace {

class ContextsOfManyThreads : public ThreadsTest {};

using Operation = void (*)(Context<Process>&);

// Everything that is allowed beside the destruction of a Process context.
constexpr Operation operations[] = {
    [](Context<Process>&) { Detail<Process>::find(1, typeid(Counted)); },
    [](Context<Process>&) { Detail<Process>::findOrInsert(2, typeid(Counted), Counted::make(0)); },
    [](Context<Process>&) { Detail<Process>::insert(3, typeid(Counted), Counted::make(0)); },
    [](Context<Process>&) { Detail<Process>::erase(2, typeid(Counted)); },
    [](Context<Process>&) { Detail<Process>::eraseAll(3, typeid(Counted)); },
    [](Context<Process>&) { Detail<Process>::isRequiredContextActive(); },
    [](Context<Process>& process) { static_cast<void>(process.isActive()); },
    [](Context<Process>& process) { static_cast<void>(process.isShutdown()); },
    [](Context<Process>& process) { process.activate(); },
    [](Context<Process>& process) { process.deactivate(); },
    [](Context<Process>& process) { const Context<Zarn> child(process); },
    [](Context<Process>& process) {
        Context<Zarn> child(process);
        const ContextActivator activator(child);
        Detail<Zarn>::insert(0, typeid(Counted), Counted::make(0));
    },
    [](Context<Process>& process) { process.shutdown(); },
    [](Context<Process>& process) { process.destroy(); },
};
constexpr std::size_t lastOperations = 2;

// What may be reported when one of them comes too late or too early.
constexpr std::string_view lateReports[] = {
    "Attempting to activate a shutdown process context",
    "Attempting to activate a destroyed context",
    "Attempting to create a child of a shutdown context.",
    "Cannot destroy context unless existing ",
    "State of type 'foundation::tests::Counted' already inserted. ",
    "Cannot call ",
};

bool isLate(std::string_view message) {
    return std::any_of(std::begin(lateReports), std::end(lateReports),
                       [message](std::string_view beginning) { return message.starts_with(beginning); });
}

// Each thread does what comes, the same in each run; however the context ends, it ends whole: no state outlives it, and
// nothing but lateness is reported.
TEST_P(ContextsOfManyThreads, DestructionRunsBesideEverythingElse) {
    constexpr unsigned rounds = 60;
    constexpr unsigned steps = 150;
    for (unsigned round = 0; round < rounds; ++round) {
        std::optional<Context<Process>> process(std::in_place);
        together(threads(), [&](unsigned index) {
            std::mt19937 random(1000 * round + index);
            std::string message;
            for (unsigned step = 0; step < steps; ++step) {
                const std::size_t choices = std::size(operations) - (step < steps / 2 ? lastOperations : 0);
                const Operation operation = operations[random() % choices];
                if (!succeeds([&] { operation(*process); }, message)) {
                    EXPECT_TRUE(isLate(message)) << message;
                }
            }
        });
        process->destroy();
        EXPECT_TRUE(process->isShutdown());
        EXPECT_FALSE(process->isActive());
        process.reset();
        EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
        ASSERT_EQ(Counted::alive(), 0);
    }
}

// Threads that destroy one handle at once: each state dies once, all come back, and the context is destroyed.
TEST_P(ContextsOfManyThreads, ManyDestroyOneHandle) {
    for (unsigned round = 0; round < 100; ++round) {
        Context<Process> process;
        for (std::uint64_t id = 0; id < 20; ++id)
            Detail<Process>::insert(id, typeid(Counted), Counted::make(0));
        together(threads(), [&process](unsigned) { process.destroy(); });
        EXPECT_TRUE(process.isShutdown());
        EXPECT_FALSE(process.isActive());
        EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
        EXPECT_EQ(Counted::alive(), 0);
    }
}

// Whether it comes before or after, an activation doesn't outlive the destruction of its context.
TEST_P(ContextsOfManyThreads, ActivationLosesAgainstDestruction) {
    for (unsigned round = 0; round < 100; ++round) {
        Context<Process> process(false);
        together(threads(), [&process](unsigned index) {
            if (index == 0) return process.destroy();
            std::string message;
            while (succeeds([&process] { process.activate(); }, message)) {
            }
            EXPECT_TRUE(isLate(message)) << message;
        });
        EXPECT_FALSE(process.isActive());
        ASSERT_FALSE(Detail<Process>::isRequiredContextActive()) << "in round " << round;
    }
}

// One handle is activated and deactivated from many threads at once, and is one or the other in the end.
TEST_P(ContextsOfManyThreads, ActivationOfOneHandleIsTakenAndGivenBackWhole) {
    Context<Process> process(false);
    together(threads(), [&process](unsigned index) {
        for (unsigned step = 0; step < 20000; ++step) {
            if ((index + step) % 2 == 0)
                process.activate();
            else
                process.deactivate();
        }
    });
    EXPECT_EQ(process.isActive(), Detail<Process>::isRequiredContextActive());
    process.deactivate();
    EXPECT_FALSE(process.isActive());
    process.activate();
    EXPECT_TRUE(process.isActive());
    EXPECT_TRUE(Detail<Process>::isRequiredContextActive());
}

// Activation wanders between two contexts, each step reported; in the end one of them has it, or none.
TEST_P(ContextsOfManyThreads, ActivationIsOfOneContextAtATime) {
    Context<Process> contexts[] = {Context<Process>(false), Context<Process>(false)};
    together(threads(), [&contexts](unsigned index) {
        std::string message;
        for (unsigned step = 0; step < 10000; ++step) {
            Context<Process>& context = contexts[(index + step / 2) % 2];
            const bool on = step % 2 == 0;
            if (!succeeds([&] { on ? context.activate() : context.deactivate(); }, message)) {
                EXPECT_EQ(message, "Another process context is currently active");
            }
        }
    });
    EXPECT_EQ(contexts[0].isActive() || contexts[1].isActive(), Detail<Process>::isRequiredContextActive());
    EXPECT_FALSE(contexts[0].isActive() && contexts[1].isActive());
    contexts[0].destroy();
    contexts[1].destroy();
    EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
}

// Families below one Process context live and die on threads of their own.
TEST_P(ContextsOfManyThreads, ChildrenComeAndGoOnTheirOwnThreads) {
    Context<Process> process;
    together(threads(), [&process](unsigned index) {
        for (unsigned step = 0; step < 500; ++step) {
            Context<Zarn> zarn(process);
            Context<Workspace> workspace(zarn);
            const ContextActivator activator(workspace);
            Detail<Zarn>::insert(0, typeid(Counted), Counted::make(index));
            Detail<Workspace>::insert(0, typeid(Counted), Counted::make(index));
            Detail<Process>::findOrInsert(0, typeid(Counted), Counted::make(index));
            EXPECT_EQ(static_cast<Counted*>(Detail<Zarn>::findOrFail(0, typeid(Counted)).get())->owner(), index);
            workspace.destroy();
            EXPECT_FALSE(Detail<Workspace>::isRequiredContextActive());
            zarn.destroy();
            EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
        }
    });
    EXPECT_EQ(Counted::alive(), 1);
    process.destroy();
    EXPECT_EQ(Counted::alive(), 0);
}

// The Process handle is freed while its children are on other threads: the context goes with the last of them.
TEST_P(ContextsOfManyThreads, AParentFreedEarlyGoesWithItsLastChild) {
    for (unsigned round = 0; round < 50; ++round) {
        std::optional<Context<Process>> process(std::in_place);
        Detail<Process>::insert(0, typeid(Counted), Counted::make(0));
        std::vector<std::optional<Context<Zarn>>> children(threads());
        for (auto& child : children) {
            child.emplace(*process);
            const ContextActivator activator(*child);
            Detail<Zarn>::insert(0, typeid(Counted), Counted::make(0));
        }
        together(threads() + 1, [&](unsigned index) {
            if (index == threads())
                process.reset();
            else
                children[index].reset();
        });
        EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
        EXPECT_EQ(Counted::alive(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Threads, ContextsOfManyThreads, testing::Values(2, 4, 16), testing::PrintToStringParamName());

}  // namespace
}  // namespace foundation::tests
