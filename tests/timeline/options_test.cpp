#include "options.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace timeline::tests {

namespace {

std::string complaintAbout(const std::vector<std::string>& arguments) {
    try {
        parseOptions(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no complaint";
}

// Without arguments standard input is summed up.
TEST(Options, SumUpStandardInput) {
    const Options options = parseOptions({});
    EXPECT_TRUE(options.summary);
    EXPECT_FALSE(options.help);
    EXPECT_EQ(options.trace, std::nullopt);
    EXPECT_EQ(options.chrome, std::nullopt);
    EXPECT_EQ(options.html, std::nullopt);
    EXPECT_EQ(parseOptions({"-"}).trace, std::nullopt);
}

// What is asked for is done, and a summary only if it is that.
TEST(Options, HoldWhatIsAskedFor) {
    const Options options = parseOptions({"--chrome", "a", "t", "--html=b"});
    EXPECT_EQ(options.chrome, "a");
    EXPECT_EQ(options.html, "b");
    EXPECT_EQ(options.trace, "t");
    EXPECT_FALSE(options.summary);
    EXPECT_TRUE(parseOptions({"--html", "b", "--summary"}).summary);
    EXPECT_TRUE(parseOptions({"--help"}).help);
}

// After two dashes nothing is an option any more.
TEST(Options, EndAtTwoDashes) {
    EXPECT_EQ(parseOptions({"--", "--html"}).trace, "--html");
    EXPECT_EQ(parseOptions({"--", "--"}).trace, "--");
}

// What makes no sense is refused with the reason.
TEST(Options, RefuseWhatMakesNoSense) {
    EXPECT_EQ(complaintAbout({"--hmtl", "a"}), "unknown option '--hmtl'");
    EXPECT_EQ(complaintAbout({"-h"}), "unknown option '-h'");
    EXPECT_EQ(complaintAbout({"--summary=1"}), "unknown option '--summary=1'");
    EXPECT_EQ(complaintAbout({"--html"}), "--html takes a value");
    EXPECT_EQ(complaintAbout({"--html="}), "--html takes the name of a file");
    EXPECT_EQ(complaintAbout({"--chrome", ""}), "--chrome takes the name of a file");
    EXPECT_EQ(complaintAbout({"a", "b"}), "more than one TRACE given: 'a' and 'b'");
    EXPECT_EQ(complaintAbout({"--html", "a", "--chrome=a"}), "--html and --chrome name the same file");
}

}  // namespace

}  // namespace timeline::tests
