#include <foundation/state/teardown.h>

#include <foundation/state/module.h>
#include <foundation/state/state.h>
#include <chrono>
#include <latch>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "../support/locale.h"
#include "../support/names.h"
#include "../support/teardown_recording.h"
#include "state_types.h"

namespace foundation::tests {
namespace {

using state::Deletion;
using state::LateUse;
using state::overdueDeletions;
using state::recordTeardown;
using state::stopRecordingTeardown;
using state::teardownReport;
using state::TeardownReport;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const void* at(std::uintptr_t address) { return reinterpret_cast<const void*>(address); }

template <class Value>
std::string streamed(const Value& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

template <class Writer>
std::string written(const Writer& writer, const TeardownReport& report) {
    std::ostringstream out;
    writer(out, report);
    return out.str();
}

/// A report with one of everything that a writer has to tell apart.
TeardownReport sample() {
    TeardownReport report{milliseconds(100), {}, 2};
    const std::thread::id thread = std::this_thread::get_id();
    report.deletions.push_back({.type = "host::Selection",
                                .id = 0,
                                .scope = "Workspace",
                                .context = at(0x30),
                                .address = at(0x31),
                                .module = "/usr/bin/host",
                                .thread = thread,
                                .depth = 0,
                                .begin = nanoseconds(1),
                                .duration = nanoseconds(12'999),
                                .isRunning = false,
                                .isOverdue = false,
                                .lateUses = {}});
    report.deletions.push_back(
        {.type = "host::Quoted<\"a\\b\">",
         .id = 1234,
         .scope = "Zarn",
         .context = at(0x20),
         .address = at(0x21),
         .module = "/plugins/caf\xe9.so",
         .thread = thread,
         .depth = 0,
         .begin = milliseconds(2),
         .duration = microseconds(1'503'190),
         .isRunning = false,
         .isOverdue = true,
         .lateUses = {{"host::Index", 5, "Zarn", at(0x20), false}, {"(id 6)", 6, "Process", at(0x10), true}}});
    report.deletions.push_back({.type = "(id 7)",
                                .id = 7,
                                .scope = "Process",
                                .context = nullptr,
                                .address = at(0x11),
                                .module = "",
                                .thread = {},
                                .depth = 1,
                                .begin = milliseconds(3),
                                .duration = nanoseconds(0),
                                .isRunning = true,
                                .isOverdue = false,
                                .lateUses = {}});
    report.deletions.push_back({.type = "(id 8)",
                                .id = 8,
                                .scope = "",
                                .context = nullptr,
                                .address = at(0x41),
                                .module = "/lib/a.so",
                                .thread = thread,
                                .depth = 2,
                                .begin = milliseconds(4),
                                .duration = hours(1),
                                .isRunning = true,
                                .isOverdue = true,
                                .lateUses = {{"host::Index", 5, "Workspace", at(0x30), false}}});
    return report;
}

constexpr const char* sampleText =
    "4 deletions, 2 over the limit of 100.000 ms, 3 late uses\n"
    "host::Selection, id 0, of Workspace 0x30: 0.012 ms, deleter in /usr/bin/host\n"
    "host::Quoted<\"a\\b\">, id 1234, of Zarn 0x20: 1503.190 ms, over the limit, deleter in /plugins/caf\xe9.so\n"
    "    looked for host::Index of Zarn 0x20, which was gone\n"
    "    made (id 6) of Process 0x10 anew, which was gone\n"
    "    (id 7), id 7, of a Process context: running for 0.000 ms, deleter in no module\n"
    "        (id 8), id 8, of a destroyed context: running for 3600000.000 ms, over the limit, deleter in /lib/a.so\n"
    "            looked for host::Index of Workspace 0x30, which was gone\n"
    "incomplete: memory was wanting 2 times\n";

/// `THREAD` stands for this thread's number.
constexpr const char* sampleJson = R"text({
  "limitNanoseconds": 100000000,
  "lost": 2,
  "deletions": [
    {
      "type": "host::Selection",
      "id": 0,
      "scope": "Workspace",
      "context": "0x30",
      "address": "0x31",
      "module": "/usr/bin/host",
      "thread": "THREAD",
      "depth": 0,
      "beginNanoseconds": 1,
      "durationNanoseconds": 12999,
      "isRunning": false,
      "isOverdue": false,
      "lateUses": []
    },
    {
      "type": "host::Quoted<\"a\\b\">",
      "id": 1234,
      "scope": "Zarn",
      "context": "0x20",
      "address": "0x21",
      "module": "/plugins/cafREPLACED.so",
      "thread": "THREAD",
      "depth": 0,
      "beginNanoseconds": 2000000,
      "durationNanoseconds": 1503190000,
      "isRunning": false,
      "isOverdue": true,
      "lateUses": [
        {
          "type": "host::Index",
          "id": 5,
          "scope": "Zarn",
          "context": "0x20",
          "isInserted": false
        },
        {
          "type": "(id 6)",
          "id": 6,
          "scope": "Process",
          "context": "0x10",
          "isInserted": true
        }
      ]
    },
    {
      "type": "(id 7)",
      "id": 7,
      "scope": "Process",
      "context": null,
      "address": "0x11",
      "module": "",
      "thread": "thread::id of a non-executing thread",
      "depth": 1,
      "beginNanoseconds": 3000000,
      "durationNanoseconds": 0,
      "isRunning": true,
      "isOverdue": false,
      "lateUses": []
    },
    {
      "type": "(id 8)",
      "id": 8,
      "scope": null,
      "context": null,
      "address": "0x41",
      "module": "/lib/a.so",
      "thread": "THREAD",
      "depth": 2,
      "beginNanoseconds": 4000000,
      "durationNanoseconds": 3600000000000,
      "isRunning": true,
      "isOverdue": true,
      "lateUses": [
        {
          "type": "host::Index",
          "id": 5,
          "scope": "Workspace",
          "context": "0x30",
          "isInserted": false
        }
      ]
    }
  ]
}
)text";

std::string expectedJson() {
    std::string json = std::regex_replace(sampleJson, std::regex("THREAD"), streamed(std::this_thread::get_id()));
    return std::regex_replace(json, std::regex("REPLACED"), "\xef\xbf\xbd");  // U+FFFD
}

// ---------------------------------------------------------------------------------------------------------------------

// The text has a line for each deletion and each late use.
TEST(TeardownWritersTest, WriteText) { EXPECT_EQ(written(state::writeText, sample()), sampleText); }

// Where nothing is recorded there is a heading all the same.
TEST(TeardownWritersTest, WriteTextOfNothing) {
    EXPECT_EQ(written(state::writeText, TeardownReport()), "0 deletions, 0 over the limit of 0.000 ms, 0 late uses\n");
}

// What there is one of is not written as if there were several.
TEST(TeardownWritersTest, WriteTextOfOne) {
    TeardownReport report{microseconds(1), {}, 1};
    Deletion& deletion = report.deletions.emplace_back();
    deletion.type = "host::Cache";
    deletion.id = 1;
    deletion.scope = "Zarn";
    deletion.context = at(0x20);
    deletion.lateUses.push_back({"host::Index", 5, "Zarn", at(0x20), true});
    EXPECT_EQ(written(state::writeText, report),
              "1 deletion, 0 over the limit of 0.001 ms, 1 late use\n"
              "host::Cache, id 1, of Zarn 0x20: 0.000 ms, deleter in no module\n"
              "    made host::Index of Zarn 0x20 anew, which was gone\n"
              "incomplete: memory was wanting 1 time\n");
}

// The members are all there, in the order of the structs.
TEST(TeardownWritersTest, WriteJson) { EXPECT_EQ(written(state::writeJson, sample()), expectedJson()); }

// Of nothing there is an object too.
TEST(TeardownWritersTest, WriteJsonOfNothing) {
    EXPECT_EQ(written(state::writeJson, TeardownReport()),
              "{\n  \"limitNanoseconds\": 0,\n  \"lost\": 0,\n  \"deletions\": []\n}\n");
}

// Programs read what was written, whatever bytes a file's name has.
TEST(TeardownWritersTest, JsonIsReadBack) {
    const nlohmann::json json = nlohmann::json::parse(written(state::writeJson, sample()));
    EXPECT_EQ(json["deletions"][1]["type"], "host::Quoted<\"a\\b\">");
    EXPECT_EQ(json["deletions"][1]["module"], "/plugins/caf\xef\xbf\xbd.so");
    EXPECT_EQ(json["deletions"][1]["durationNanoseconds"], 1'503'190'000);
    EXPECT_TRUE(json["deletions"][3]["scope"].is_null());
}

// Neither the global locale nor the stream's has an influence.
TEST(TeardownWritersTest, KeepOutOfLocales) {
    const std::string json = expectedJson();
    const DigitGroupingLocale locale;
    std::ostringstream out;  // has the global locale
    state::writeText(out, sample());
    EXPECT_EQ(out.str(), sampleText);
    out.str("");
    state::writeJson(out, sample());
    EXPECT_EQ(out.str(), json);
}

// Another locale of the stream alone has none either.
TEST(TeardownWritersTest, KeepOutOfTheStreamsLocale) {
    std::ostringstream out;
    {
        const DigitGroupingLocale locale;
        out.imbue(std::locale());
    }
    state::writeText(out, sample());
    EXPECT_EQ(out.str(), sampleText);
    out.str("");
    state::writeJson(out, sample());
    EXPECT_EQ(out.str(), expectedJson());
}

// ---------------------------------------------------------------------------------------------------------------------

struct Index {
    using StateScope = Zarn;
};

/// Looks for the index when it dies, and makes that anew.
struct Cache {
    using StateScope = Zarn;
    ~Cache() {
        EXPECT_EQ(state::find<Index>(), nullptr);
        state::findOrCreate<Index>();
    }
};

struct Page {
    using StateScope = Workspace;
    ~Page() { EXPECT_TRUE(state::erase<Note<Zarn>>()); }
};

const std::string here = "foundation::tests::(anonymous namespace)::";

class TeardownReportTest : protected DeathList, public ContextsTest {
protected:
    static std::string ownModule() {
        static const int variable = 0;
        return state::moduleOf(&variable).file;
    }

    const TeardownRecording recording;
};

// Scopes, types and contexts have their names, in the order in which the deletions began.
TEST_F(TeardownReportTest, NamesTypes) {
    state::create<Note<Process>>(deaths, "process");
    state::create<Note<Zarn>>(deaths, "zarn");
    state::create<Note<Workspace>>(deaths, "workspace");
    const void* const address = &state::findOrFail<Note<Zarn>>();
    const TeardownReport before = teardownReport();
    EXPECT_THAT(before.deletions, IsEmpty());
    EXPECT_EQ(before.limit, hours(1));
    workspace.destroy();
    zarn.destroy();
    process.destroy();
    const TeardownReport report = teardownReport();
    ASSERT_THAT(report.deletions, SizeIs(3));
    std::vector<std::string> names;
    for (const Deletion& deletion : report.deletions)
        names.push_back(deletion.scope + ": " + deletion.type);
    EXPECT_THAT(names, ElementsAre("Workspace: foundation::tests::Note<foundation::tav::scope::Workspace>",
                                   "Zarn: foundation::tests::Note<foundation::tav::scope::Zarn>",
                                   "Process: foundation::tests::Note<foundation::tav::scope::Process>"));
    const Deletion& deletion = report.deletions[1];
    EXPECT_EQ(deletion.id, state::typeID<Note<Zarn>>());
    EXPECT_NE(deletion.context, nullptr);
    EXPECT_EQ(deletion.address, address);
    EXPECT_EQ(deletion.module, ownModule());
    EXPECT_EQ(deletion.thread, std::this_thread::get_id());
    const tav::management::TeardownRecord recorded = tav::management::recordedTeardown();
    ASSERT_THAT(recorded.deletions, SizeIs(3));
    EXPECT_EQ(deletion.begin, recorded.deletions[1].begin - recorded.start);
    EXPECT_EQ(deletion.duration, recorded.deletions[1].duration);
    EXPECT_GT(deletion.begin, nanoseconds(0));
    EXPECT_GE(report.deletions[2].begin, deletion.begin + deletion.duration);
    EXPECT_FALSE(deletion.isRunning);
    EXPECT_FALSE(deletion.isOverdue);
    EXPECT_EQ(report.lost, 0u);
}

// What was stored by its id alone has that for a name, as has what belongs to no context any more, whatever it was.
TEST_F(TeardownReportTest, NamesStatesWithoutType) {
    const IgnoredAssertions ignoredAssertions;
    put<Zarn>(1234, "bare", [] { Detail<Zarn>::find(1234, typeid(Widget)); });
    std::optional<Context<Zarn>> destroyed(process);
    {
        const ContextActivator elsewhere(*destroyed);
        onOtherThread([&] { destroyed.reset(); });
        state::create<Note<Zarn>>(deaths, "after its context");
    }
    workspace.destroy();
    zarn.destroy();
    const TeardownReport report = teardownReport();
    ASSERT_THAT(report.deletions, SizeIs(2));
    EXPECT_EQ(report.deletions[0].type, "(id " + std::to_string(state::typeID<Note<Zarn>>()) + ")");
    EXPECT_EQ(report.deletions[0].scope, "");
    EXPECT_EQ(report.deletions[0].context, nullptr);
    EXPECT_EQ(report.deletions[1].type, "(id 1234)");
    ASSERT_THAT(report.deletions[1].lateUses, SizeIs(1));
    EXPECT_EQ(report.deletions[1].lateUses[0].type, "(id 1234)");
}

// A whole teardown: a page erases its note; then the cache misses the index, and makes it anew.
TEST_F(TeardownReportTest, TellsOfATeardown) {
    state::create<Cache>();
    state::create<Index>();
    state::create<Note<Zarn>>(deaths, "note");
    state::create<Page>();
    workspace.destroy();
    zarn.destroy();

    const std::string text = written(state::writeText, teardownReport());
    const std::string withoutTimes = std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3} ms"), "TIME");
    const auto line = [](const std::string& type, std::uint64_t id, const std::string& place) {
        return type + ", id " + std::to_string(id) + ", of " + place + " ADDRESS: TIME, deleter in " + ownModule() +
               '\n';
    };
    const std::string index = line(here + "Index", state::typeID<Index>(), "Zarn");
    EXPECT_EQ(std::regex_replace(withoutTimes, std::regex("0x[0-9a-f]+"), "ADDRESS"),
              "5 deletions, 0 over the limit of TIME, 1 late use\n" +
                  line(here + "Page", state::typeID<Page>(), "Workspace") + "    " +
                  line("foundation::tests::Note<foundation::tav::scope::Zarn>", state::typeID<Note<Zarn>>(), "Zarn") +
                  index + line(here + "Cache", state::typeID<Cache>(), "Zarn") + "    made " + here +
                  "Index of Zarn ADDRESS anew, which was gone\n" + index);
}

// A late use names type, scope and context.
TEST_F(TeardownReportTest, NamesLateUses) {
    state::create<Cache>();
    state::create<Index>();
    workspace.destroy();
    zarn.destroy();
    const TeardownReport report = teardownReport();
    ASSERT_THAT(report.deletions, SizeIs(3));
    EXPECT_EQ(report.deletions[1].type, here + "Cache");
    ASSERT_THAT(report.deletions[1].lateUses, SizeIs(1));
    const LateUse& use = report.deletions[1].lateUses.front();
    EXPECT_EQ(use.type, here + "Index");
    EXPECT_EQ(use.id, state::typeID<Index>());
    EXPECT_EQ(use.scope, "Zarn");
    EXPECT_EQ(use.context, report.deletions[1].context);
    EXPECT_TRUE(use.isInserted);
}

/// Dies when it is told to.
struct Hanging {
    using StateScope = Process;
    Hanging(std::latch& dying, std::latch& released) : begin(dying), end(released) {}
    Hanging(const Hanging&) = delete;
    Hanging& operator=(const Hanging&) = delete;
    ~Hanging() {
        begin.count_down();
        end.wait();
    }

    std::latch& begin;
    std::latch& end;
};

// A watchdog learns what is running for too long by its name; of what has ended it learns nothing.
TEST_F(TeardownReportTest, TellsWhatIsOverdue) {
    const Watchdog watchdog("a deleter that hangs");
    recordTeardown(nanoseconds(1));
    state::create<Note<Process>>(deaths, "over");
    state::erase<Note<Process>>();
    std::latch begin{1};
    std::latch end{1};
    state::create<Hanging>(begin, end);
    std::thread thread([] { state::erase<Hanging>(); });
    begin.wait();
    while (overdueDeletions().deletions.empty()) {
    }
    const TeardownReport report = overdueDeletions();
    end.count_down();
    thread.join();
    ASSERT_THAT(report.deletions, SizeIs(1));
    EXPECT_EQ(report.deletions[0].type, here + "Hanging");
    EXPECT_TRUE(report.deletions[0].isRunning);
    EXPECT_TRUE(report.deletions[0].isOverdue);
    EXPECT_THAT(overdueDeletions().deletions, IsEmpty());
    const TeardownReport whole = teardownReport();
    ASSERT_THAT(whole.deletions, SizeIs(2));
    EXPECT_FALSE(whole.deletions[1].isRunning);
    EXPECT_TRUE(whole.deletions[1].isOverdue);
}

// Deleters may look, and handlers that are called with the Process context locked.
TEST_F(TeardownReportTest, HandlersMayLook) {
    const Watchdog watchdog("looking from an error handler");
    static std::size_t seen;
    seen = 0;
    const ScopedErrorHandler looking(+[](const tav::ErrorInfo& info) {
        seen = teardownReport().deletions.size();
        throw Reported(info);
    });
    put<Process>(1000, "dying", [this] {
        EXPECT_THAT(teardownReport().deletions, SizeIs(1));
        state::create<Note<Process>>(deaths, "first");
        reportOf([this] { state::create<Note<Process>>(deaths, "second"); });
    });
    Detail<Process>::erase(1000, typeid(Widget));
    EXPECT_EQ(seen, 1u);
}

// The recording is switched off by the same name.
TEST_F(TeardownReportTest, IsStopped) {
    stopRecordingTeardown();
    state::create<Note<Process>>(deaths, "unrecorded");
    state::erase<Note<Process>>();
    EXPECT_THAT(teardownReport().deletions, IsEmpty());
}

}  // namespace
}  // namespace foundation::tests
