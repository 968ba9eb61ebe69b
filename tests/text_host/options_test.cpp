#include "options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace text_host::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string complaintAbout(const std::vector<std::string>& arguments) {
    try {
        parseOptions(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no complaint";
}

// Without options there are only directories, in the order given, and all defaults.
TEST(Options, HoldTheDirectories) {
    const Options options = parseOptions({"b", "a", "b"});
    EXPECT_THAT(options.directories, ElementsAre("b", "a", "b"));
    EXPECT_FALSE(options.help);
    EXPECT_FALSE(options.teardown);
    EXPECT_FALSE(options.trace);
    EXPECT_EQ(options.traceFile, std::nullopt);
    EXPECT_EQ(options.threads, std::nullopt);
    EXPECT_EQ(options.misuse, std::nullopt);
    EXPECT_EQ(options.inspect, std::nullopt);
    EXPECT_EQ(options.teardownReport, std::nullopt);
    EXPECT_EQ(options.plugin, std::nullopt);
}

// Options may stand before, between and after the directories.
TEST(Options, MayStandAnywhere) {
    const Options options = parseOptions({"--trace", "a", "--threads", "2", "b", "--teardown"});
    EXPECT_THAT(options.directories, ElementsAre("a", "b"));
    EXPECT_TRUE(options.teardown);
    EXPECT_TRUE(options.trace);
    EXPECT_EQ(options.threads, 2U);
}

// Both spellings of a value mean the same; what stands after the first sign of equality is the value.
TEST(Options, TakeValuesInTwoSpellings) {
    EXPECT_EQ(parseOptions({"--threads", "3", "a"}).threads, 3U);
    EXPECT_EQ(parseOptions({"--threads=3", "a"}).threads, 3U);
    EXPECT_EQ(parseOptions({"--misuse", "list"}).misuse, "list");
    EXPECT_EQ(parseOptions({"--misuse=a=b"}).misuse, "a=b");
    EXPECT_EQ(parseOptions({"--inspect", "json", "a"}).inspect, "json");
    EXPECT_EQ(parseOptions({"--inspect=dot", "a"}).inspect, "dot");
    EXPECT_EQ(parseOptions({"--teardown-report", "json", "a"}).teardownReport, "json");
    EXPECT_EQ(parseOptions({"--teardown-report=text", "a"}).teardownReport, "text");
    EXPECT_EQ(parseOptions({"--plugin", "p.so", "a"}).plugin, "p.so");
    EXPECT_EQ(parseOptions({"--plugin=p.so", "a"}).plugin, "p.so");
    EXPECT_EQ(parseOptions({"--trace-file", "t", "a"}).traceFile, "t");
    EXPECT_EQ(parseOptions({"--trace-file=t", "a"}).traceFile, "t");
}

// After two dashes nothing is an option any more; a single dash never is.
TEST(Options, EndAtTwoDashes) {
    EXPECT_THAT(parseOptions({"-", "--", "--trace", "--"}).directories, ElementsAre("-", "--trace", "--"));
    EXPECT_EQ(complaintAbout({"--"}), "no DIR given");
}

// Who asks for help needs no directory.
TEST(Options, NeedNoDirectoryForHelp) {
    const Options options = parseOptions({"--help"});
    EXPECT_TRUE(options.help);
    EXPECT_THAT(options.directories, IsEmpty());
}

// The number of threads has limits, and nothing may stand around it.
TEST(Options, RefuseThreadsOutsideTheLimits) {
    for (const char* const text : {"", "0", "257", "-1", "+1", " 1", "1 ", "1.0", "x", "99999999999999999999"}) {
        EXPECT_EQ(complaintAbout({"--threads", text, "a"}),
                  std::string("--threads takes a number from 1 to 256, not '") + text + "'");
    }
    EXPECT_EQ(parseOptions({"--threads", "1", "a"}).threads, 1U);
    EXPECT_EQ(parseOptions({"--threads", "256", "a"}).threads, 256U);
}

// What makes no sense is refused with the reason.
TEST(Options, RefuseWhatMakesNoSense) {
    EXPECT_EQ(complaintAbout({}), "no DIR given");
    EXPECT_EQ(complaintAbout({"-t", "a"}), "unknown option '-t'");
    EXPECT_EQ(complaintAbout({"--trace=1", "a"}), "unknown option '--trace=1'");
    EXPECT_EQ(complaintAbout({"a", "--threads"}), "--threads takes a value");
    EXPECT_EQ(complaintAbout({"--misuse"}), "--misuse takes a value");
    EXPECT_EQ(complaintAbout({"--misuse", "list", "a"}), "--misuse takes no DIR");
    EXPECT_EQ(complaintAbout({"--misuse", "list", "--plugin", "p.so"}), "--misuse takes no --plugin");
    EXPECT_EQ(complaintAbout({"a", "--plugin"}), "--plugin takes a value");
    EXPECT_EQ(complaintAbout({"a", "--inspect"}), "--inspect takes a value");
    EXPECT_EQ(complaintAbout({"a", "--inspect", "xml"}), "--inspect takes text, json or dot, not 'xml'");
    EXPECT_EQ(complaintAbout({"a", "--teardown-report"}), "--teardown-report takes a value");
    EXPECT_EQ(complaintAbout({"a", "--teardown-report", "dot"}), "--teardown-report takes text or json, not 'dot'");
    EXPECT_EQ(complaintAbout({"a", "--inspect", "dot", "--plugin", "p.so"}), "--inspect takes no --plugin");
    EXPECT_EQ(complaintAbout({"--misuse", "list", "--inspect", "dot"}), "--misuse takes no --inspect");
    EXPECT_EQ(complaintAbout({"--misuse", "list", "--teardown-report", "text"}), "--misuse takes no --teardown-report");
    EXPECT_EQ(complaintAbout({"a", "--inspect", "dot", "--teardown-report", "text"}),
              "--inspect takes no --teardown-report");
    EXPECT_EQ(complaintAbout({"a", "--teardown-report", "text", "--plugin", "p.so"}),
              "--teardown-report takes no --plugin");
    EXPECT_EQ(complaintAbout({"a", "--teardown-report", "text", "--teardown"}),
              "--teardown-report takes no --teardown");
}

}  // namespace

}  // namespace text_host::tests
