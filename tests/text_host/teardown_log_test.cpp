#include "teardown_log.h"

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace text_host::tests {

namespace {

using tav::management::Context;
using tav::management::thisthread::ContextActivator;
using testing::ElementsAre;

template <class Scope, int number = 0>
struct Labelled {
    using StateScope = Scope;

    std::string text;

    explicit Labelled(std::string text_) : text(std::move(text_)) {}
    std::string label() const { return text; }
};

using Shared = Labelled<tav::scope::Process>;
using PerZarn = Labelled<tav::scope::Zarn>;
using PerWorkspace = Labelled<tav::scope::Workspace>;
using OtherPerWorkspace = Labelled<tav::scope::Workspace, 1>;

// What was created is the state of its type.
TEST(LoggedState, IsFound) {
    const Context<tav::scope::Process> process;
    auto& created = createLogged<Shared>("shared");
    EXPECT_EQ(created.text, "shared");
    EXPECT_EQ(state::find<Shared>(), &created);
}

// The log has every death, in order, with its own as the last.
TEST(TeardownLog, SeesEveryStateDie) {
    std::vector<std::string> deaths;
    {
        Context<tav::scope::Process> process;
        createLogged<TeardownLog>(deaths);
        createLogged<Shared>("shared");
        Context<tav::scope::Zarn> zarn(process);
        Context<tav::scope::Workspace> workspace(zarn);
        const ContextActivator activator(workspace);
        createLogged<PerZarn>("of the project");
        createLogged<PerWorkspace>("older");
        createLogged<OtherPerWorkspace>("newer");
    }
    EXPECT_THAT(deaths, ElementsAre("Workspace  newer", "Workspace  older", "Zarn  of the project", "Process  shared",
                                    "Process  TeardownLog"));
}

// Without a log, states die all the same, and nothing is written.
TEST(TeardownLog, IsNotNeeded) {
    Context<tav::scope::Process> process;
    createLogged<Shared>("shared");
    process.destroy();
    EXPECT_FALSE(process.isActive());
}

}  // namespace

}  // namespace text_host::tests
