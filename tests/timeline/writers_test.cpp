// What is written of one small trace, as a whole where that can be read, and decoded where it can't.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>
#include "chrome.h"
#include "longest.h"
#include "packed.h"
#include "page.h"
#include "summary.h"
#include "timeline_support.h"

namespace timeline::tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string chromeOf(const std::string& trace) {
    std::ostringstream out;
    ChromeWriter writer(out);
    writer.finish(observe(trace, {&writer}));
    return out.str();
}

std::string summaryOf(const std::string& trace) {
    std::ostringstream out;
    Summary summary;
    const Report report = observe(trace, {&summary});
    summary.write(out, report);
    return out.str();
}

std::string pageOf(const std::string& trace, const PageLimits& limits = {}) {
    std::ostringstream out;
    PageWriter writer(limits);
    const Report report = observe(trace, {&writer});
    writer.write(out, report);
    return out.str();
}

// What stands between the two texts.
std::string between(const std::string& text, const std::string& begin, const std::string& end) {
    const auto at = text.find(begin);
    if (at == std::string::npos) return "no " + begin;
    const auto from = at + begin.size();
    return text.substr(from, text.find(end, from) - from);
}

std::vector<std::uint64_t> unpacked(const std::string& base64) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<std::uint64_t> numbers;
    std::uint32_t bits = 0;
    int count = 0;
    std::uint64_t number = 0;
    unsigned shift = 0;
    for (const char digit : base64) {
        if (digit == '=') break;
        bits = (bits << 6) | static_cast<std::uint32_t>(digits.find(digit));
        count += 6;
        if (count < 8) continue;
        count -= 8;
        const std::uint32_t byte = (bits >> count) & 0xFFu;
        number |= std::uint64_t{byte & 0x7Fu} << shift;
        shift += 7;
        if (byte < 0x80) {
            numbers.push_back(number);
            number = 0;
            shift = 0;
        }
    }
    return numbers;
}

std::vector<std::uint64_t> columnOf(const std::string& page, const std::string& name) {
    return unpacked(between(page, "\"" + name + "\":\"", "\""));
}

// The whole of it, event by event.
TEST(ChromeWriter, WritesEveryEvent) {
    std::ifstream file(TIMELINE_SMALL_TRACE_EVENTS, std::ios::binary);
    std::ostringstream expected;
    expected << file.rdbuf();
    EXPECT_EQ(chromeOf(smallTrace()), expected.str());
}

// An empty trace is an empty list of events, and says so.
TEST(ChromeWriter, WritesATraceWithoutRecords) {
    const std::string text = chromeOf("Hello\n");
    EXPECT_THAT(text, HasSubstr("\"missing\":\"There is no record in it.\""));
    EXPECT_THAT(text, HasSubstr("\"lines that are no records\":\"1 (line 1)\""));
    EXPECT_THAT(text, Not(HasSubstr("\"ph\":\"B\"")));
}

// Ends that are not in the trace are told as such.
TEST(ChromeWriter, TellsWhatHasNotEnded) {
    Trace trace;
    trace.create("Process", "0xa0").insert("Process", "0xa0", "0", "Log").enter(gcc::erase("Process"));
    const std::string text = chromeOf(trace.text());
    EXPECT_THAT(text, HasSubstr("\"args\":{\"left\":\"not left at the end of the trace\"}"));
    EXPECT_THAT(
        text,
        HasSubstr("\"name\":\"Process\",\"cat\":\"context\",\"args\":{\"ended\":\"alive at the end of the trace\"}"));
    EXPECT_THAT(text,
                HasSubstr("\"name\":\"Log\",\"cat\":\"state\",\"args\":{\"ended\":\"alive at the end of the trace\"}"));
}

// The whole summary.
TEST(Summary, HasCountsAndDurations) {
    EXPECT_EQ(summaryOf(smallTrace() + "rubbish\n"),
              R"(a trace
  from 2026-11-21T02:14:10.000000Z to 2026-11-21T02:14:10.000040Z, 40 µs
            41  records
             2  threads
            17  operations entered
            17  operations left
             0  operations not left at the end
             2  activations
             2  activations ended
             1  Process contexts created
             1  Zarn contexts created
             1  Workspace contexts created
             0  contexts from before the trace
             3  contexts destroyed
             0  contexts alive at the end
             2  states inserted
             0  states from before the trace
             2  states deleted
             0  states alive at the end
             0  type ids handed out
             1  errors reported
             0  exceptions caught by destructors
             1  operations left by an exception
             1  late uses of deleted states
             1  deletions over the limit
             0  records of other channels
             1  lines not read, or not whole
longest to destroy
          7 µs  Workspace 1
          5 µs  Process 1
          3 µs  Zarn 1
longest to delete
          1 µs  Text<int, char> of Workspace 1
          1 µs  Log of Process 1
lines that are no records: 1 (line 42)
)");
}

// Only the slowest are named.
TEST(Summary, NamesTenOfMany) {
    Trace trace;
    trace.create("Process", "0xa0");
    std::vector<std::string> ids;
    for (int i = 0; i != 12; ++i) {
        trace.insert("Process", "0xa0", std::to_string(i), "T" + std::to_string(i));
        ids.push_back(std::to_string(i));
    }
    const std::string list =
        between(summaryOf(trace.destroy("Process", "0xa0", ids).text()), "longest to delete\n", "No activation");
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 10);
}

// The counts stand in the page as text, each under its key.
TEST(PageWriter, ShowsTheCounts) {
    const std::string page = pageOf(smallTrace());
    EXPECT_EQ(between(page, "data-count=\"records\"><dd>", "<"), "41");
    EXPECT_EQ(between(page, "data-count=\"operations\"><dd>", "<"), "17");
    EXPECT_EQ(between(page, "data-count=\"errors\"><dd>", "<"), "1");
    EXPECT_EQ(between(page, "data-count=\"lateUses\"><dd>", "<"), "1");
    EXPECT_EQ(between(page, "data-count=\"slowDeletions\"><dd>", "<"), "1");
    EXPECT_EQ(between(page, "data-count=\"typeIds\" class=\"none\"><dd>", "<"), "0");
    EXPECT_EQ(between(page, "<h1>Timeline of <span>", "<"), "a trace");
}

// A page loads nothing, wherever it is opened.
TEST(PageWriter, LoadsNothing) {
    const std::string page = pageOf(smallTrace());
    EXPECT_EQ(between(page, "Content-Security-Policy\" content=\"", "\""),
              "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'");
    for (const char* const reference :
         {"src=", "href=", "url(", "@import", "http:", "https:", "fetch(", "XMLHttpRequest"}) {
        EXPECT_EQ(page.find(reference), std::string::npos) << reference;
    }
}

// The texts that the numbers refer to; names of types and messages can't end the script.
TEST(PageWriter, WritesTexts) {
    const std::string page = pageOf(smallTrace());
    EXPECT_EQ(between(page, "\"texts\":", ",\n\"operations\""),
              R"(["","Process created","Log","Process insert","Zarn created","Workspace created",)"
              R"("Text\u003cint, char>","Workspace insert","Workspace leaves its parent","state deleted",)"
              R"("Workspace destroy","Workspace freed","Zarn leaves its parent","Zarn destroy","Zarn freed",)"
              R"("Process leaves its parent","Process destroy","Process freed"])");
    EXPECT_EQ(
        between(page, "\"marks\":", "}\n"),
        R"x([[0,2,13,14,0,"Twice. \u003cb>\"bug\"\u003c/b> (f, m_file=a.cpp  m_line=7)"],)x"
        "\n"
        R"([2,2,14,15,0,"Workspace insert was left by an exception"],)"
        "\n"
        R"x([3,2,21,22,2,"the deleter of Text\u003cint, char> of Workspace 1 looked for a state of type id 1 in )x"
        R"x(Workspace 1, where it had already been deleted"],)x"
        "\n"
        R"x([4,2,22,23,2,"Text\u003cint, char> of Workspace 1 took 1.50 s; the limit is 1.00 s"]])x");
}

// The numbers of the operations: thread, how many, and for each the time since the one before, the duration, the depth,
// the kind and how it ended, the name, the context and the type.
TEST(PageWriter, PacksOperations) {
    Trace trace;
    trace.create("Process", "0xa0").enter(gcc::destroy("Process"), "this=0xa0");
    trace.enter(gcc::release("Process"), "this=0xa0").leave(gcc::release("Process"), " [throw]");
    EXPECT_THAT(columnOf(pageOf(trace.text()), "operations"),
                ElementsAre(1, 3, 0, 1, 0, 0, 1, 1, 0, 2, 2, 0, 11, 3, 1, 0, 1, 1, 1, 13, 2, 1, 0));
}

// The numbers of contexts, states and activations.
TEST(PageWriter, PacksLives) {
    Trace trace;
    trace.create("Process", "0x7f00a8004830").insert("Process", "0x7f00a8004830", "5", "Log");
    trace.add(16, "push context  zarn=0xb0  workspace=0").destroy("Process", "0x7f00a8004830", {"5"});
    const std::string page = pageOf(trace.text());
    EXPECT_THAT(columnOf(page, "contexts"), ElementsAre(1, 1, 1, 0x7f00, 0xa8004830, 0, 0, 1, 1, 0, 6, 11, 1, 10, 2,  //
                                                        2, 2, 1, 0, 0xb0, 1, 2, 0, 1, 0, 0, 0, 0, 10, 2));
    EXPECT_THAT(columnOf(page, "states"), ElementsAre(3, 9, 9, 2, 5, 1, 1, 1, 1, 0));
    EXPECT_THAT(columnOf(page, "activations"), ElementsAre(1, 2, 2, 4, 10));
}

// What couldn't be read and what is missing stand on the page.
TEST(PageWriter, ShowsProblemsAndGaps) {
    const std::string page = pageOf("<rubbish>\n" + Trace().add(64, "void a()").text());
    EXPECT_EQ(between(page, "not fit together</summary>\n<ul>\n", "</ul>"),
              "<li>lines that are no records: 1 (line 1)</li>\n"
              "<li>exits of operations whose entry is missing: 1 (line 2)</li>\n");
    EXPECT_EQ(
        between(page, "<ul id=\"notes\">\n", "</ul>"),
        "<li>No operation is on record (severities 32 and 64 of the mask): contexts and states are missing.</li>\n"
        "<li>No activation is on record (severity 16 of the mask).</li>\n");
}

// Beyond the limits the shortest are left out, with a note; the counts stay.
TEST(PageWriter, KeepsItsLimits) {
    Trace trace;
    for (int i = 0; i != 8; ++i) {
        trace.call("void a()", "").call("void a()", "");
        trace.enter("void long()").add(16, "push context  zarn=0  workspace=0").leave("void long()");
        trace.add(512, "Exception caught: what");
    }
    const std::string page = pageOf(trace.text(), {.operations = 12, .marks = 3});
    EXPECT_EQ(between(page, "<ul id=\"notes\">\n", "</ul>"),
              "<li>No operation bears its values (severity 2 of the mask): contexts and states are missing.</li>\n"
              "<li>Left out of the drawing: 16 operations of 1 µs or less. The counts include them.</li>\n"
              "<li>Left out: 5 errors, exceptions, late uses and slow deletions after the first 3. The counts include "
              "them.</li>\n");
    EXPECT_EQ(between(page, "data-count=\"operations\"><dd>", "<"), "24");
    EXPECT_EQ(columnOf(page, "operations").at(1), 8u);
}

// A mark leads to its state, wherever that stands among those of the page, or to none if that was left out.
TEST(PageWriter, LeadsFromMarksToStates) {
    Trace trace;
    trace.create("Zarn", "0xb0").insert("Zarn", "0xb0", "0", "A").insert("Zarn", "0xb0", "1", "B").deleteState("0");
    trace.add(16, "slow deletion" + of("Zarn", "0", "0xb0") + "  microseconds=7  limit=5");
    trace.deleteState("1").add(16, "slow deletion" + of("Zarn", "1", "0xb0") + "  microseconds=7  limit=5");
    EXPECT_THAT(pageOf(trace.text()), HasSubstr(R"([4,1,8,9,1,"A of Zarn 1 took 7 µs; the limit is 5 µs"],)"
                                                "\n"
                                                R"([4,1,11,12,2,"B of Zarn 1 took 7 µs; the limit is 5 µs"]])"));
    trace.deleteState("3");
    EXPECT_THAT(pageOf(trace.text(), {.states = 1}), HasSubstr(R"([4,1,8,9,0,"A of Zarn 1)"));
}

struct Span {
    Time begin;
    Time end;
};

// Up to the limit all are kept; beyond it the shorter half goes, and with it all that is no longer.
TEST(Longest, DropsTheShortest) {
    Longest<Span> longest(4);
    for (const Time length : {5, 1, 9, 3}) {
        longest.add({0, length});
    }
    EXPECT_EQ(longest.dropped(), 0u);
    longest.add({0, 7});
    longest.add({0, 5});
    std::vector<Time> lengths;
    for (const Span& span : longest.entries()) {
        lengths.push_back(span.end);
    }
    EXPECT_THAT(lengths, testing::UnorderedElementsAre(9, 7));
    EXPECT_EQ(longest.dropped(), 4u);
    EXPECT_EQ(longest.longestDropped(), 5);
}

// Numbers of every size come back, whatever the padding.
TEST(PackedNumbers, ComeBack) {
    const std::vector<std::uint64_t> numbers{0, 1, 127, 128, 16383, 16384, 0xFFFFFFFFu, 0xFFFFFFFFFFFFFFFFu};
    for (std::size_t count = 0; count <= numbers.size(); ++count) {
        const std::vector<std::uint64_t> some(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(count));
        std::ostringstream out;
        {
            PackedNumbers packed(out);
            for (const std::uint64_t number : some) {
                packed.add(number);
            }
        }
        EXPECT_EQ(unpacked(out.str().substr(1, out.str().size() - 2)), some);
        EXPECT_EQ((out.str().size() - 2) % 4, 0u);
    }
}

}  // namespace

}  // namespace timeline::tests
