// What a process does once, at its start or at its end: read FOUNDATION_LOG_MASK, log before main() and after it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace foundation::log {
namespace {

// Sets an environment variable, or unsets it, and gives it back.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::optional<std::string>& value) : m_name(name) {
        if (const char* before = std::getenv(name)) m_before = before;
        set(value);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { set(m_before); }

private:
    void set(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_name, value->c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }

    const char* m_name;
    std::optional<std::string> m_before;
};

struct Outcome {
    bool exitedWithZero = false;
    std::string output;  // of both streams, in the order of writing
};

Outcome run(const std::string& command) {
    Outcome outcome;
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return outcome;
    std::vector<char> buffer(4096);
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        outcome.output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    outcome.exitedWithZero = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return outcome;
}

// The whole output of a process that has this environment and asks for the masks of the channels.
std::string masksWith(const std::optional<std::string>& environment, const std::string& channels) {
    const ScopedVariable variable("FOUNDATION_LOG_MASK", environment);
    const Outcome outcome = run(std::string("'") + LOG_MASKS_PROGRAM + "' " + channels);
    EXPECT_TRUE(outcome.exitedWithZero);
    return outcome.output;
}

// What a process says about a bad pair.
std::string ignored(const std::string& pair, const std::string& reason) {
    return "FOUNDATION_LOG_MASK: '" + pair + "' is ignored: " + reason +
           "; expected channel=mask, the mask decimal or 0x hexadecimal and at most 0xffffffff\n";
}

// Without the variable, and with an empty one, every mask is the usual one.
TEST(FoundationLogMask, MasksAre512WithoutIt) {
    EXPECT_EQ(masksWith(std::nullopt, "a b"), "a=512\nb=512\n");
    EXPECT_EQ(masksWith("", "a b"), "a=512\nb=512\n");
}

// Decimal and hexadecimal, in both cases of the digits, up to the largest.
TEST(FoundationLogMask, MasksAreDecimalOrHexadecimal) {
    EXPECT_EQ(masksWith("foundation::tav=0x270", "foundation::tav other"), "foundation::tav=624\nother=512\n");
    EXPECT_EQ(masksWith("a=0;b=96;c=0xfF;d=010;e=4294967295;f=0xffffffff", "a b c d e f"),
              "a=0\nb=96\nc=255\nd=10\ne=4294967295\nf=4294967295\n");
}

// Of two pairs for a channel the later one holds.
TEST(FoundationLogMask, LaterPairsReplaceEarlierOnes) { EXPECT_EQ(masksWith("a=1;b=2;a=3", "a b"), "a=3\nb=2\n"); }

// Semicolons may separate nothing.
TEST(FoundationLogMask, EmptyPiecesAreNoPairs) {
    EXPECT_EQ(masksWith("a=1;", "a"), "a=1\n");
    EXPECT_EQ(masksWith(";;a=1;;b=2;;", "a b"), "a=1\nb=2\n");
    EXPECT_EQ(masksWith(";", "a"), "a=512\n");
}

// Channels are taken literally, blanks included.
TEST(FoundationLogMask, ChannelsAreTakenAsTheyStand) {
    EXPECT_EQ(masksWith("a b=1; c=2", "'a b' c ' c'"), "a b=1\nc=512\n c=2\n");
}

// A pair that says nothing is reported, and the others hold.
TEST(FoundationLogMask, PairsWithoutChannelOrMaskAreReported) {
    EXPECT_EQ(masksWith("a=1;b;c=3", "a b c"), ignored("b", "there is no '='") + "a=1\nb=512\nc=3\n");
    EXPECT_EQ(masksWith("=1;c=3", "'' c"), ignored("=1", "the channel is empty") + "=512\nc=3\n");
    EXPECT_EQ(masksWith("a=;c=3", "a c"), ignored("a=", "the mask is empty") + "a=512\nc=3\n");
    EXPECT_EQ(masksWith("=;c=3", "c"), ignored("=", "the channel is empty") + "c=3\n");
}

// A mask is a number from its first character to its last.
TEST(FoundationLogMask, MasksThatAreNoNumbersAreReported) {
    for (const std::string mask : {"x", "-1", "+1", " 1", "1 ", "12x", "1.5", "0x", "0xg", "0x1g", "0x0x1", "0x-1",
                                   "x10", "0X10", "ff", "1=2"}) {
        EXPECT_EQ(masksWith("b=2;a=" + mask, "a b"),
                  ignored("a=" + mask, "the mask is no such number") + "a=512\nb=2\n");
    }
}

// A mask that doesn't fit isn't cut to fit.
TEST(FoundationLogMask, MasksThatOverflowAreReported) {
    for (const std::string mask : {"4294967296", "0x100000000", "99999999999999999999999999"}) {
        EXPECT_EQ(masksWith("b=2;a=" + mask, "a b"), ignored("a=" + mask, "the mask is too large") + "a=512\nb=2\n");
    }
}

// Each bad pair has a line of its own, in the order of the pairs; a bad one doesn't undo an earlier good one.
TEST(FoundationLogMask, EveryBadPairIsReportedOnOneLine) {
    EXPECT_EQ(masksWith("a=1;a;=;a=0x1ffffffff;b=7", "a b"),
              ignored("a", "there is no '='") + ignored("=", "the channel is empty") +
                  ignored("a=0x1ffffffff", "the mask is too large") + "a=1\nb=7\n");
    EXPECT_EQ(masksWith("a\nb\x1B[31m", "a"), ignored("a?b?[31m", "there is no '='") + "a=512\n");
}

// Static initialisers and destructors log like anybody else; threads are numbered from 1; masks are there to the end.
TEST(StaticLifetime, LoggingWorksBeforeAndAfterMain) {
    const ScopedVariable variable("FOUNDATION_LOG_MASK", "statics=32;oops");
    const Outcome outcome = run(std::string("'") + LOG_STATICS_PROGRAM + "'");
    EXPECT_TRUE(outcome.exitedWithZero);
    const std::string withoutTimes =
        std::regex_replace(outcome.output, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z)"), "TIME");
    EXPECT_EQ(withoutTimes, ignored("oops", "there is no '='") +
                                "TIME 1 [statics] 16 static initialiser\n"
                                "TIME 1 [statics] 16 main\n"
                                "TIME 1 [late] 16 logger made by a static destructor\n"
                                "TIME 1 [statics] 32 static destructor\n"
                                "mask after all: 7\n");
}

}  // namespace
}  // namespace foundation::log
