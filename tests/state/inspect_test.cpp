#include <foundation/state/inspect.h>

#include <foundation/state/module.h>
#include <foundation/state/state.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>

#include "../support/locale.h"
#include "../support/names.h"
#include "state_types.h"

namespace foundation::tests {

struct NeverDefined;

}  // namespace foundation::tests

template <>
struct foundation::state::ScopeOf<foundation::tests::NeverDefined> {
    using type = foundation::tav::scope::Process;
};

namespace foundation::tests {
namespace {

using state::ContextInfo;
using state::Snapshot;
using state::StateInfo;
using tav::management::ContextState;
using testing::HasSubstr;
using testing::IsEmpty;

struct Font {
    using StateScope = Workspace;
    char glyphs[24];
};

const void* at(std::uintptr_t address) { return reinterpret_cast<const void*>(address); }

/// A tree with one of everything that a writer has to tell apart.
Snapshot sample() {
    ContextInfo workspace{"Workspace", at(0x30), at(0x20), ContextState::shutdown, 2, false, {}, {}};
    workspace.states = {{"host::Quoted<\"a\\b\">", 4, 1, at(0x31), "/plugins/caf\xe9.so"},
                        {"(id 3)", 3, std::nullopt, at(0x32), ""}};
    const ContextInfo zarn{"Zarn", at(0x20), at(0x10), ContextState::running, 1, true, {}, {workspace}};
    const ContextInfo idle{"Zarn", at(0x40), at(0x10), ContextState::destroyed, 0, false, {}, {}};
    const StateInfo settings{"host::Settings", 0, 48, at(0x11), "/usr/bin/host"};
    return {ContextInfo{"Process", at(0x10), nullptr, ContextState::running, 1, true, {settings}, {zarn, idle}}};
}

constexpr const char* sampleJson = R"text({"process":
    {"scope": "Process", "address": "0x10", "parent": null, "state": "running", "activations": 1, "isCurrent": true,
     "states": [{"type": "host::Settings", "id": 0, "size": 48, "address": "0x11", "module": "/usr/bin/host"}],
     "children": [
        {"scope": "Zarn", "address": "0x20", "parent": "0x10", "state": "running", "activations": 1, "isCurrent": true,
         "states": [],
         "children": [
            {"scope": "Workspace", "address": "0x30", "parent": "0x20", "state": "shutdown", "activations": 2,
             "isCurrent": false,
             "states": [
                {"type": "host::Quoted<\"a\\b\">", "id": 4, "size": 1, "address": "0x31",
                 "module": "/plugins/caf\ufffd.so"},
                {"type": "(id 3)", "id": 3, "size": null, "address": "0x32", "module": ""}],
             "children": []}]},
        {"scope": "Zarn", "address": "0x40", "parent": "0x10", "state": "destroyed", "activations": 0,
         "isCurrent": false, "states": [], "children": []}]}})text";

template <class Writer>
std::string written(const Writer& writer, const Snapshot& snapshot) {
    std::ostringstream out;
    writer(out, snapshot);
    return out.str();
}

class InspectStatesTest : protected DeathList, public ContextsTest {};

// Without a context there is an empty picture, and each writer has something whole to say of it.
TEST(InspectNothingTest, IsEmpty) {
    const Snapshot nothing = state::inspect();
    EXPECT_FALSE(nothing.process);
    EXPECT_EQ(written(state::writeText, nothing), "No Process context is active.\n");
    EXPECT_EQ(written(state::writeJson, nothing), "{\n  \"process\": null\n}\n");
    EXPECT_EQ(written(state::writeDot, nothing),
              "digraph contexts {\n    node [shape=box, fontname=\"sans-serif\"];\n}\n");
}

// The tree has each context below its parent, siblings in the order of their creation.
TEST_F(InspectStatesTest, ShowsTheTree) {
    Context<Zarn> second(process);
    const Context<Workspace> secondWorkspace(second);
    const Snapshot snapshot = state::inspect();
    ASSERT_TRUE(snapshot.process);
    const ContextInfo& root = *snapshot.process;
    EXPECT_EQ(root.scope, "Process");
    EXPECT_EQ(root.parent, nullptr);
    ASSERT_EQ(root.children.size(), 2);
    for (const ContextInfo& child : root.children) {
        EXPECT_EQ(child.scope, "Zarn");
        EXPECT_EQ(child.parent, root.address);
        ASSERT_EQ(child.children.size(), 1);
        EXPECT_EQ(child.children[0].scope, "Workspace");
        EXPECT_EQ(child.children[0].parent, child.address);
        EXPECT_THAT(child.children[0].children, IsEmpty());
    }
    EXPECT_TRUE(root.children[0].isCurrent);
    EXPECT_EQ(root.children[0].activations, 1);
    EXPECT_FALSE(root.children[1].isCurrent);
    EXPECT_EQ(root.children[1].activations, 0);
}

// A state has the name and size of its type, and the module that will delete it; newest first.
TEST_F(InspectStatesTest, ShowsStates) {
    const Font& font = state::create<Font>();
    state::create<Note<Workspace>>(deaths, "note");
    const Snapshot snapshot = state::inspect();
    const std::vector<StateInfo>& states = snapshot.process->children[0].children[0].states;
    ASSERT_EQ(states.size(), 2);
    EXPECT_EQ(states[0].type, "foundation::tests::Note<foundation::tav::scope::Workspace>");
    EXPECT_EQ(states[1].type, "foundation::tests::(anonymous namespace)::Font");
    EXPECT_EQ(states[1].id, state::typeID<Font>());
    EXPECT_EQ(states[1].size, sizeof(Font));
    EXPECT_EQ(states[1].address, &font);
    static const int variable = 0;
    EXPECT_EQ(states[1].module, state::moduleOf(&variable).file);
}

// What was stored by id alone has its id for a name, and no size.
TEST_F(InspectStatesTest, ShowsStatesWithoutType) {
    put<Zarn>(1234, "bare");
    const Snapshot snapshot = state::inspect();
    const StateInfo& bare = snapshot.process->children[0].states.at(0);
    EXPECT_EQ(bare.type, "(id 1234)");
    EXPECT_EQ(bare.id, 1234);
    EXPECT_EQ(bare.size, std::nullopt);
}

// Where no module has shown the definition of a type, its size is unknown.
TEST_F(InspectStatesTest, ShowsDeclaredTypes) {
    put<Process>(state::typeID<NeverDefined>(), "declared");
    const Snapshot snapshot = state::inspect();
    const StateInfo& declared = snapshot.process->states.at(0);
    EXPECT_EQ(declared.type, "foundation::tests::NeverDefined");
    EXPECT_EQ(declared.size, std::nullopt);
}

// A handler may look while it is called with the Process context locked.
TEST_F(InspectStatesTest, HandlersMayLook) {
    const Watchdog watchdog("looking from an error handler");
    static std::string seen;
    const ScopedErrorHandler looking(+[](const tav::ErrorInfo& info) {
        seen = written(state::writeText, state::inspect());
        throw Reported(info);
    });
    state::create<Note<Process>>(deaths, "first");
    reportOf([this] { state::create<Note<Process>>(deaths, "second"); });
    EXPECT_EQ(seen, written(state::writeText, state::inspect()));
    EXPECT_THAT(seen, HasSubstr("foundation::tests::Note<foundation::tav::scope::Process>, id "));
}

// The text has a line for each context and state.
TEST(InspectWritersTest, WriteText) {
    EXPECT_EQ(written(state::writeText, sample()),
              "Process 0x10, running, activated 1 time\n"
              "    host::Settings, id 0, 48 bytes at 0x11, deleter in /usr/bin/host\n"
              "    Zarn 0x20, running, current on this thread\n"
              "        Workspace 0x30, shutdown, current on another thread, activated 2 times\n"
              "            host::Quoted<\"a\\b\">, id 4, 1 byte at 0x31, deleter in /plugins/caf\xe9.so\n"
              "            (id 3), id 3, unknown size at 0x32, deleter in no module\n"
              "    Zarn 0x40, destroyed, not current\n");
}

// Numbers are written alike in all locales.
TEST(InspectWritersTest, KeepOutOfLocales) {
    const DigitGroupingLocale locale;
    Snapshot snapshot = sample();
    snapshot.process->states[0].size = 1234;
    snapshot.process->states[0].id = 5678;
    EXPECT_THAT(written(state::writeText, snapshot), HasSubstr("host::Settings, id 5678, 1234 bytes at 0x11"));
    EXPECT_THAT(written(state::writeJson, snapshot), HasSubstr("\"id\": 5678,\n        \"size\": 1234,"));
    EXPECT_THAT(written(state::writeDot, snapshot), HasSubstr("host::Settings, 1234 bytes"));
}

// The members are all there, in the order of the structs, and read back as they were.
TEST(InspectWritersTest, WriteJson) {
    const std::string text = written(state::writeJson, sample());
    const nlohmann::ordered_json json = nlohmann::ordered_json::parse(text);
    EXPECT_EQ(json, nlohmann::ordered_json::parse(sampleJson));
    EXPECT_EQ(text.back(), '\n');
}

// The graph has a node per context and an edge to each from its parent.
TEST(InspectWritersTest, WriteDot) {
    EXPECT_EQ(written(state::writeDot, sample()),
              "digraph contexts {\n"
              "    node [shape=box, fontname=\"sans-serif\"];\n"
              "    \"0x10\" [penwidth=3, label=\"Process 0x10, running, activated 1 time\\l"
              "host::Settings, 48 bytes\\l\"];\n"
              "    \"0x20\" [penwidth=3, label=\"Zarn 0x20, running, current on this thread\\l\"];\n"
              "    \"0x10\" -> \"0x20\";\n"
              "    \"0x30\" [style=dashed, label=\"Workspace 0x30, shutdown, current on another thread, activated 2 "
              "times\\lhost::Quoted<\\\"a\\\\b\\\">, 1 byte\\l(id 3), unknown size\\l\"];\n"
              "    \"0x20\" -> \"0x30\";\n"
              "    \"0x40\" [style=solid, label=\"Zarn 0x40, destroyed, not current\\l\"];\n"
              "    \"0x10\" -> \"0x40\";\n"
              "}\n");
}

}  // namespace
}  // namespace foundation::tests
