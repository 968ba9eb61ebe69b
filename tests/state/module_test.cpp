#include <foundation/state/module.h>

#include <foundation/state/state.h>
#include <gnu/libc-version.h>
#include <array>
#include <latch>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "state_types.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const state::Module& program() {
    static const state::Module module = state::moduleOf(&module);
    return module;
}

/// A module that is never part of the program itself.
state::Module cLibrary() { return state::moduleOf(reinterpret_cast<const void*>(&gnu_get_libc_version)); }

/// Readable: "scope type".
std::vector<std::string> listed(const std::vector<state::OwnedState>& states) {
    std::vector<std::string> lines;
    for (const state::OwnedState& state : states)
        lines.push_back(std::string(state.scope == &typeid(Zarn) ? "Zarn" : "other") + " " + state.type);
    return lines;
}

class ModuleTest : protected DeathList, public ContextsTest {
protected:
    template <class Scope>
    void note(const std::string& name) {
        state::create<Note<Scope>>(deaths, name);
    }
};

// A module is found by whatever lies in it, and nothing else is one.
TEST_F(ModuleTest, KnowsModules) {
    static const int variable = 0;
    EXPECT_THAT(program().file, HasSubstr("state_tests"));
    EXPECT_EQ(state::moduleOf(&variable).begin, program().begin);
    EXPECT_THAT(cLibrary().file, HasSubstr("libc"));
    const auto onHeap = std::make_unique<int>();
    EXPECT_EQ(state::moduleOf(onHeap.get()).file, "");
    EXPECT_EQ(state::moduleOf(onHeap.get()).begin, nullptr);
}

// What a module owns is listed by name, scope and context, and what is stored by id alone by its id.
TEST_F(ModuleTest, ListsStates) {
    EXPECT_THAT(state::statesOf(program()), IsEmpty());
    note<Zarn>("state");
    const std::uint64_t id = Detail<Zarn>::getNextID(typeid(int));
    Detail<Zarn>::insert(id, typeid(int), StatePtr(new int(1), [](void* number) { delete static_cast<int*>(number); }));
    const std::vector<state::OwnedState> owned = state::statesOf(program());
    EXPECT_THAT(listed(owned), ElementsAre("Zarn (id " + std::to_string(id) + ")",
                                           "Zarn foundation::tests::Note<foundation::tav::scope::Zarn>"));
    EXPECT_FALSE(owned[0].isInUse);
    EXPECT_EQ(owned[0].context, owned[1].context);
    process.deactivate();
    EXPECT_THAT(state::statesOf(program()), IsEmpty());
}

// What another module is to delete is not of this one.
TEST_F(ModuleTest, OwnsByDeleter) {
    note<Zarn>("state");
    EXPECT_THAT(state::statesOf(cLibrary()), IsEmpty());
    state::eraseStatesOf(cLibrary());
    EXPECT_THAT(deaths, IsEmpty());
}

// Children go before parents, and a state sees those that are older.
TEST_F(ModuleTest, ErasesInTheOrderOfTeardown) {
    note<Process>("process");
    note<Zarn>("zarn");
    note<Workspace>("workspace");
    state::eraseStatesOf(program());
    EXPECT_THAT(deaths, ElementsAre("workspace", "zarn", "process"));
    EXPECT_THAT(state::statesOf(program()), IsEmpty());
}

// Without an active Process context there is nothing that could be reached.
TEST_F(ModuleTest, ErasesNothingWithoutProcess) {
    note<Zarn>("zarn");
    process.deactivate();
    state::eraseStatesOf(program());
    EXPECT_THAT(deaths, IsEmpty());
}

// States in contexts that another thread works in are reported with type, scope and context, and nothing is touched
// anywhere.
TEST_F(ModuleTest, RefusesToRace) {
    const Watchdog watchdog("erasing what another thread uses");
    note<Process>("process");
    Context<Zarn> busy(process);
    std::latch inUse(1);
    std::latch refused(1);
    std::jthread user([&] {
        const ContextActivator activated(busy);
        note<Zarn>("busy");
        inUse.count_down();
        refused.wait();
    });
    inUse.wait();
    const state::OwnedState state = state::statesOf(program()).at(1);
    EXPECT_TRUE(state.isInUse);
    std::ostringstream address;
    address << state.context;
    EXPECT_THAT(reportOf([] { state::eraseStatesOf(program()); }),
                isStateReport("module.cpp",
                              "Cannot erase the states of '" + program().file +
                                  "': the one of type 'foundation::tests::Note<foundation::tav::scope::Zarn>' is in "
                                  "the context " +
                                  address.str() +
                                  " with scope 'foundation::tav::scope::Zarn', which is current on another thread. "
                                  "Deactivate the context there before the module is unloaded.",
                              "eraseStatesOf"));
    EXPECT_THAT(deaths, IsEmpty());
    refused.count_down();
    user.join();
    state::eraseStatesOf(program());
    EXPECT_THAT(deaths, ElementsAre("busy", "process"));
}

// A guard that the loader knows nothing of would guard nothing.
TEST_F(ModuleTest, GuardsMustBeStatic) {
    EXPECT_THAT(reportOf([] { const auto guard = std::make_unique<state::ModuleGuard>(); }),
                isStateReport("module.cpp", "A module guard must be a static object of the module that it guards.",
                              "ModuleGuard::ModuleGuard"));
}

}  // namespace
}  // namespace foundation::tests
