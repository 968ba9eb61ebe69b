#include "state.h"

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace text_host::tests {

namespace {

using tav::management::Context;
using tav::management::thisthread::ContextActivator;
using testing::ElementsAre;

template <class ScopeTag, int number = 0>
struct Labelled {
    using Scope = ScopeTag;

    std::string text;

    explicit Labelled(std::string text_) : text(std::move(text_)) {}
    std::string label() const { return text; }
};

using Shared = Labelled<tav::scope::Process>;
using PerZarn = Labelled<tav::scope::Zarn>;
using PerWorkspace = Labelled<tav::scope::Workspace>;
using OtherPerWorkspace = Labelled<tav::scope::Workspace, 1>;

// What was inserted is found, as the very object, by type and in the context that is current.
TEST(State, IsFoundByTypeInTheCurrentContext) {
    Context<tav::scope::Process> process;
    Context<tav::scope::Zarn> first(process);
    Context<tav::scope::Zarn> second(process);
    {
        const ContextActivator activator(first);
        auto& inserted = insertState<PerZarn>("first");
        EXPECT_EQ(&state<PerZarn>(), &inserted);
        EXPECT_EQ(findState<PerZarn>(), &inserted);
    }
    const ContextActivator activator(second);
    EXPECT_EQ(findState<PerZarn>(), nullptr);
    insertState<PerZarn>("second");
    EXPECT_EQ(state<PerZarn>().text, "second");
}

// A type has one id for the whole run, its own within its scope.
TEST(State, HasOneIdPerType) {
    EXPECT_EQ(stateID<PerWorkspace>(), stateID<PerWorkspace>());
    EXPECT_NE(stateID<PerWorkspace>(), stateID<OtherPerWorkspace>());
}

// The log has every death, in order, with its own as the last.
TEST(TeardownLog, SeesEveryStateDie) {
    std::vector<std::string> deaths;
    {
        Context<tav::scope::Process> process;
        insertState<TeardownLog>(deaths);
        insertState<Shared>("shared");
        Context<tav::scope::Zarn> zarn(process);
        Context<tav::scope::Workspace> workspace(zarn);
        const ContextActivator activator(workspace);
        insertState<PerZarn>("of the project");
        insertState<PerWorkspace>("older");
        insertState<OtherPerWorkspace>("newer");
    }
    EXPECT_THAT(deaths, ElementsAre("Workspace  newer", "Workspace  older", "Zarn  of the project", "Process  shared",
                                    "Process  TeardownLog"));
}

// Without a log, states die all the same, and nothing is written.
TEST(TeardownLog, IsNotNeeded) {
    Context<tav::scope::Process> process;
    insertState<Shared>("shared");
    process.destroy();
    EXPECT_FALSE(process.isActive());
}

}  // namespace

}  // namespace text_host::tests
