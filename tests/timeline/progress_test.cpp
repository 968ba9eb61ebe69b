#include "progress.h"

#include <gtest/gtest.h>
#include <chrono>
#include <sstream>

namespace timeline::tests {

namespace {

constexpr std::chrono::hours once(1);
constexpr std::chrono::milliseconds always(0);

// Where nobody watches, nothing is shown.
TEST(Progress, IsSilentWithoutTerminal) {
    std::ostringstream out;
    Progress progress(out, false, 100, always);
    progress.show(50, 7);
    progress.end();
    EXPECT_EQ(out.str(), "");
}

// The bar grows with the share that was read, from nothing to all of it, and is taken away at the end.
TEST(Progress, ShowsTheShare) {
    std::ostringstream out;
    {
        Progress progress(out, true, 200, always);
        progress.show(0, 0);
        progress.show(50, 1234);
        progress.show(300, 5000);
    }
    EXPECT_EQ(out.str(),
              "\r\x1b[K[                              ]   0 %  0 records"
              "\r\x1b[K[#######                       ]  25 %  1234 records"
              "\r\x1b[K[##############################] 100 %  5000 records"
              "\r\x1b[K");
}

// Of standard input nobody knows the size.
TEST(Progress, CountsWhereTheTotalIsUnknown) {
    std::ostringstream out;
    Progress progress(out, true, std::nullopt, always);
    progress.show(50, 7);
    EXPECT_EQ(out.str(), "\r\x1b[K7 records");
}

// Within an interval only the first update is shown, and an end without one shows nothing.
TEST(Progress, HoldsFrequentUpdatesBack) {
    std::ostringstream out;
    Progress progress(out, true, std::nullopt, once);
    progress.end();
    progress.show(1, 1);
    progress.show(2, 2);
    progress.end();
    progress.end();
    EXPECT_EQ(out.str(), "\r\x1b[K1 records\r\x1b[K");
}

}  // namespace

}  // namespace timeline::tests
