#include <foundation/state/module.h>
#include <foundation/state/state.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <array>
#include <cstdint>
#include <fstream>
#include <functional>
#include <latch>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "../tav/contexts.h"
#include "library.h"
#include "part.h"
#include "plugin.h"

namespace foundation::tests {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string pluginFile = DSO_PLUGIN;

/// The files that are mapped into the process.
std::string maps() {
    std::ifstream file("/proc/self/maps");
    return {std::istreambuf_iterator<char>(file), {}};
}

const auto pluginDeaths = ElementsAre("workspace 1", "zarn 2", "zarn 1", "process 1", "process 0");

/// Outlives the contexts, whose states write to it.
struct DeathList {
    std::vector<std::string> deaths;
};

class DsoTest : protected DeathList, public ContextsTest {
protected:
    /// All parts of the program, the plugin's last.
    static std::vector<Part> parts(const Library& plugin) {
        using GetPart = const Part* (*)();
        return {*program_part(),          *static_a_part(),  *hidden_a_part(),
                *static_b_in_hidden_a(),  *hidden_b_part(),  *default_a_part(),
                *static_b_in_default_a(), *default_b_part(), *plugin.symbol<GetPart>("plugin_part")()};
    }

    void use(const Library& plugin) { plugin.symbol<UsePlugin>("use")(deaths); }
};

// A type has one id in each scope, whichever part asks.
TEST_F(DsoTest, PartsAgreeOnIds) {
    const Library plugin(pluginFile);
    for (const Part& part : parts(plugin))
        EXPECT_EQ(part.ids(), program_part()->ids()) << part.name;
}

// There is one object for each scope, whichever part makes it and whichever looks.
TEST_F(DsoTest, PartsAgreeOnObjects) {
    const Library plugin(pluginFile);
    for (const Part& maker : parts(plugin)) {
        const std::array<const void*, 3> made = maker.findOrCreate();
        EXPECT_THAT(made, Each(Not(nullptr))) << maker.name;
        for (const Part& part : parts(plugin)) {
            EXPECT_EQ(part.find(), made) << part.name << " doesn't find what " << maker.name << " has made";
            EXPECT_EQ(part.findOrCreate(), made) << part.name << " beside " << maker.name;
        }
        EXPECT_TRUE(state::erase<Shared<Process>>());
        EXPECT_TRUE(state::erase<Shared<Zarn>>());
        EXPECT_TRUE(state::erase<Shared<Workspace>>());
    }
}

// Each part has a type of the same name in an unnamed namespace. They are as many as there are parts.
TEST_F(DsoTest, UnnamedNamespacesAreDistinct) {
    const Library plugin(pluginFile);
    std::set<std::uint64_t> ids;
    for (const Part& part : parts(plugin))
        ids.insert(part.unnamedID());
    EXPECT_EQ(ids.size(), parts(plugin).size());
}

// The deleter of a state lies in the part that made it, and with default visibility no less.
TEST_F(DsoTest, DeletersLieInTheMaker) {
    const Library plugin(pluginFile);
    const state::Module module = state::moduleOf(plugin.symbol<const void*>("use"));
    parts(plugin).back().findOrCreate();
    EXPECT_EQ(state::statesOf(module).size(), 3);
    state::eraseStatesOf(module);
    default_b_part()->findOrCreate();
    EXPECT_THAT(state::statesOf(module), IsEmpty());
    EXPECT_EQ(state::statesOf(state::moduleOf(reinterpret_cast<const void*>(&default_b_part))).size(), 3);
}

// An unloaded plugin is gone from memory, and of its states nothing is left but the host's.
TEST_F(DsoTest, UnloadedPluginLeavesNothing) {
    program_part()->findOrCreate();
    Library plugin(pluginFile);
    const state::Module module = state::moduleOf(plugin.symbol<const void*>("use"));
    EXPECT_EQ(module.file, pluginFile);
    use(plugin);
    EXPECT_EQ(state::statesOf(module).size(), 5);
    EXPECT_THAT(maps(), HasSubstr(pluginFile));
    plugin.unload();
    EXPECT_THAT(maps(), Not(HasSubstr(pluginFile)));
    EXPECT_THAT(deaths, pluginDeaths);
    EXPECT_THAT(state::statesOf(module), IsEmpty());
    EXPECT_EQ(state::findOrFail<Shared<Process>>().number, 1);
    EXPECT_EQ(state::findOrFail<Shared<Zarn>>().number, 1);
    EXPECT_EQ(state::findOrFail<Shared<Workspace>>().number, 1);
}

// Contexts need not be current for the plugin's states in them to be erased.
TEST_F(DsoTest, UnloadReachesContextsThatAreNotCurrent) {
    Library plugin(pluginFile);
    use(plugin);
    const ContextActivator none;
    plugin.unload();
    EXPECT_THAT(deaths, pluginDeaths);
}

// Loaded, used and unloaded again and again: the ids stay, and nothing else does.
TEST_F(DsoTest, ManyRounds) {
    constexpr int rounds = 1000;
    std::set<std::uint64_t> ids;
    std::set<std::uint64_t> unnamedIDs;
    for (int round = 0; round < rounds; ++round) {
        deaths.clear();
        Library plugin(pluginFile);
        use(plugin);
        ids.insert(plugin.symbol<PluginID>("own_id")());
        unnamedIDs.insert(parts(plugin).back().unnamedID());
        plugin.unload();
        ASSERT_THAT(deaths, pluginDeaths) << "round " << round;
    }
    EXPECT_EQ(ids.size(), 1);
    EXPECT_EQ(unnamedIDs.size(), 1);
    EXPECT_THAT(maps(), Not(HasSubstr(pluginFile)));
}

/// What a report says of modules that disagree.
std::string disagreement(const std::string& first, const std::string& second) {
    return "State type 'foundation::tests::Disputed' differs between modules: '" + first + "; '" + second +
           ". Build both with the same definition of the type.";
}

using Operation = void (*)();

const std::string smallDisputed = std::string(DSO_SMALL) +
                                  "' has it with scope 'foundation::tav::scope::Process', size 8, alignment 1 and "
                                  "StateVersion 0";

class DisputedTest : public DsoTest {
protected:
    /// Loads a second definition beside the first, and sees what it does.
    static void expectRefused(const std::string& file, const std::string& description) {
        const Library small(DSO_SMALL);
        const Library other(file);
        small.symbol<Operation>("create")();
        for (const char* const operation : {"find", "create"}) {
            const Reported report = reportOf(other.symbol<Operation>(operation));
            EXPECT_EQ(report.message, disagreement(smallDisputed, file + "' has it with " + description));
            EXPECT_EQ(report.file, "foundation/state/registry.cpp");
            EXPECT_EQ(report.function, "foundation::state::registerType");
        }
        // Nothing was touched: there is the one state, of the one that came first.
        EXPECT_EQ(state::statesOf(state::moduleOf(small.symbol<const void*>("create"))).size(), 1);
        EXPECT_THAT(state::statesOf(state::moduleOf(other.symbol<const void*>("create"))), IsEmpty());
        EXPECT_NO_THROW(small.symbol<Operation>("find")());
    }
};

// Modules that disagree about a type are both named before anything is touched.
TEST_F(DisputedTest, SizesAreCompared) {
    expectRefused(DSO_LARGE, "scope 'foundation::tav::scope::Process', size 16, alignment 1 and StateVersion 0");
}

// A type may have changed its meaning alone: its StateVersion says so.
TEST_F(DisputedTest, VersionsAreCompared) {
    expectRefused(DSO_NEWER, "scope 'foundation::tav::scope::Process', size 8, alignment 1 and StateVersion 1");
}

// A type that lives at two scopes would be two.
TEST_F(DisputedTest, ScopesAreCompared) {
    expectRefused(DSO_ZARN, "scope 'foundation::tav::scope::Zarn', size 8, alignment 1 and StateVersion 0");
}

// When the last module with the old definition is gone, a new one may come, and gets the old id.
TEST_F(DisputedTest, UnloadedDefinitionsAreForgotten) {
    {
        const Library small(DSO_SMALL);
        small.symbol<Operation>("create")();
    }
    const Library large(DSO_LARGE);
    large.symbol<Operation>("create")();
    EXPECT_EQ(state::statesOf(state::moduleOf(large.symbol<const void*>("create"))).size(), 1);
}

/// Unloads the plugin while another thread works in a context that holds one of its states.
void unloadWhileInUse() {
    std::vector<std::string> deaths;
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    Library plugin(pluginFile);
    std::latch inUse(1);
    std::thread([&] {
        const ContextActivator activator(workspace);
        plugin.symbol<UsePlugin>("use")(deaths);
        inUse.count_down();
        std::latch(1).wait();
    }).detach();
    inUse.wait();
    plugin.unload();
}

// Unloading under the feet of another thread ends the process with the reason, a handler that throws or not.
TEST(DsoDeathTest, UnloadWhileInUseEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string reason =
        "Cannot erase the states of '.*plugin.*': the one of type '.*Own<.*Zarn, 2>' is in the "
        "context 0x[0-9a-f]+ with scope 'foundation::tav::scope::Zarn', which is current on "
        "another thread. Deactivate the context there before the module is unloaded.";
    EXPECT_DEATH(unloadWhileInUse(), reason);
    EXPECT_DEATH(
        {
            const ThrowingErrorHandler handler;
            unloadWhileInUse();
        },
        "terminate called after throwing an instance of 'foundation::tests::Reported'");
}

}  // namespace
}  // namespace foundation::tests
