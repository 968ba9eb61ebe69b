#include "console.h"

#include <gtest/gtest.h>
#include <chrono>
#include <sstream>

namespace text_host::tests {

namespace {

constexpr std::chrono::milliseconds always{0};
constexpr std::chrono::hours once{1};

// A problem is one line, with the path quoted and made harmless.
TEST(Console, ShowsProblemsAsLines) {
    std::ostringstream out;
    Console console(out, false);
    console.showProblem({"some/file", "Permission denied"});
    console.showProblem({"\x1b", "binary"});
    EXPECT_EQ(out.str(), "text_host: 'some/file': Permission denied\ntext_host: '\\x1b': binary\n");
}

// Where nobody watches there is no progress, and nothing to take away.
TEST(Console, ShowsNoProgressOffTheTerminal) {
    std::ostringstream out;
    Console console(out, false, always);
    console.showProgress(1, 2);
    console.endProgress();
    EXPECT_EQ(out.str(), "");
}

// The line is rewritten in place and leaves nothing behind.
TEST(Console, RewritesTheProgress) {
    std::ostringstream out;
    Console console(out, true, always);
    console.showProgress(9, 10);
    console.showProgress(10, 11);
    console.endProgress();
    EXPECT_EQ(out.str(), "documents: 9  words: 10\r\x1b[Kdocuments: 10  words: 11\r\x1b[K");
}

// Within an interval only the first update is shown.
TEST(Console, HoldsFrequentProgressBack) {
    std::ostringstream out;
    Console console(out, true, once);
    console.showProgress(1, 2);
    console.showProgress(2, 3);
    EXPECT_EQ(out.str(), "documents: 1  words: 2");
}

// A problem takes the progress off the line first, and an end without progress takes nothing off.
TEST(Console, KeepsProblemsApartFromProgress) {
    std::ostringstream out;
    Console console(out, true, once);
    console.showProgress(1, 2);
    console.showProblem({"file", "binary"});
    console.endProgress();
    EXPECT_EQ(out.str(), "documents: 1  words: 2\r\x1b[Ktext_host: 'file': binary\n");
}

}  // namespace

}  // namespace text_host::tests
