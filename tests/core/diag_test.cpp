#include <foundation/core/diag.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <barrier>
#include <csignal>
#include <string>
#include <string_view>
#include <thread>
#include <typeinfo>
#include <vector>

namespace diag_test {

struct Plain {};

struct Outer {
    struct Nested {};
};

template <class T, int N>
struct Template {};

const std::type_info& typeOfLocal() {
    struct Local {};
    return typeid(Local);
}

namespace {
struct Unnamed {};
}  // namespace

}  // namespace diag_test

namespace foundation::core::diag {
namespace {

using testing::Eq;
using testing::KilledBySignal;
using testing::Truly;

template <class T>
std::string nameOf() {
    return detail::demangle_typeid_name(typeid(T).name(), false);
}

// Names come out fully qualified, without elaboration.
TEST(DemangleTypeidName, NamesAreFullyQualified) {
    EXPECT_EQ(nameOf<diag_test::Plain>(), "diag_test::Plain");
    EXPECT_EQ(nameOf<diag_test::Outer::Nested>(), "diag_test::Outer::Nested");
    EXPECT_EQ(nameOf<int>(), "int");
}

// Template arguments are named in full, values too.
TEST(DemangleTypeidName, TemplateArgumentsAreNamed) {
    using Inner = diag_test::Template<diag_test::Outer::Nested, 7>;
    EXPECT_EQ(nameOf<Inner>(), "diag_test::Template<diag_test::Outer::Nested, 7>");
    EXPECT_EQ((nameOf<diag_test::Template<Inner, -1>>()),
              "diag_test::Template<diag_test::Template<diag_test::Outer::Nested, 7>, -1>");
}

// A local type is named after its function.
TEST(DemangleTypeidName, LocalTypesAreNamedAfterTheirFunction) {
    EXPECT_EQ(detail::demangle_typeid_name(diag_test::typeOfLocal().name(), false), "diag_test::typeOfLocal()::Local");
}

// A type of an unnamed namespace says so.
TEST(DemangleTypeidName, UnnamedNamespacesAreShown) {
    EXPECT_EQ(nameOf<diag_test::Unnamed>(), "diag_test::(anonymous namespace)::Unnamed");
}

// What is no mangled name comes back as it is.
TEST(DemangleTypeidName, OtherTextsAreReturnedAsTheyAre) {
    EXPECT_EQ(detail::demangle_typeid_name("not a mangled name", false), "not a mangled name");
    EXPECT_EQ(detail::demangle_typeid_name("N9diag_test5Pl", false), "N9diag_test5Pl");
    EXPECT_EQ(detail::demangle_typeid_name("", false), "");
}

// The flag is for other hosts' demanglers.
TEST(DemangleTypeidName, TheFlagChangesNothing) {
    const char* const name = typeid(diag_test::Outer::Nested).name();
    EXPECT_EQ(detail::demangle_typeid_name(name, true), detail::demangle_typeid_name(name, false));
}

class FlDiagTerminate : public testing::Test {
protected:
    void TearDown() override { set_fl_diag_terminate(true); }
};

// Failed assertions end the process unless somebody says otherwise.
TEST_F(FlDiagTerminate, IsTrueAtStart) { EXPECT_TRUE(fl_diag_terminate()); }

// The switch works both ways, and for all threads.
TEST_F(FlDiagTerminate, FollowsTheSwitch) {
    const auto seenByAnotherThread = [] {
        bool seen = false;
        std::thread([&seen] { seen = fl_diag_terminate(); }).join();
        return seen;
    };
    set_fl_diag_terminate(false);
    EXPECT_FALSE(fl_diag_terminate());
    EXPECT_FALSE(seenByAnotherThread());
    set_fl_diag_terminate(true);
    EXPECT_TRUE(fl_diag_terminate());
    EXPECT_TRUE(seenByAnotherThread());
}

class TerminateDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// The first form writes message and place, nothing else, and aborts.
TEST_F(TerminateDeathTest, MessageAndPlaceAreReported) {
    EXPECT_EXIT(terminate(std::string("The index is corrupt: 100 % \xE2\x82\xAC."), "foundation/index.cpp", 42,
                          "foundation::Index::open"),
                KilledBySignal(SIGABRT),
                Eq("The index is corrupt: 100 % \xE2\x82\xAC.\n"
                   "  file: foundation/index.cpp\n"
                   "  line: 42\n"
                   "  function: foundation::Index::open\n"));
}

// The second form names the failed expression.
TEST_F(TerminateDeathTest, FailedAssertionIsReported) {
    EXPECT_EXIT(
        terminate("index % 2 == 0", "foundation/index.cpp", 7, "void foundation::Index::open(std::string_view)"),
        KilledBySignal(SIGABRT),
        Eq("assertion failed: index % 2 == 0\n"
           "  file: foundation/index.cpp\n"
           "  line: 7\n"
           "  function: void foundation::Index::open(std::string_view)\n"));
}

// Reports about places that aren't known are reports still.
TEST_F(TerminateDeathTest, NullPointersAreWrittenAsUnknown) {
    EXPECT_EXIT(terminate(std::string(), nullptr, 0, nullptr), KilledBySignal(SIGABRT),
                Eq("\n  file: (unknown)\n  line: 0\n  function: (unknown)\n"));
    EXPECT_EXIT(terminate(static_cast<const char*>(nullptr), nullptr, -1, nullptr), KilledBySignal(SIGABRT),
                Eq("assertion failed: (unknown)\n  file: (unknown)\n  line: -1\n  function: (unknown)\n"));
}

// The switch is for callers to ask; terminate itself ends the process whatever it says.
TEST_F(TerminateDeathTest, SwitchDoesNotHoldTerminateBack) {
    EXPECT_EXIT(
        {
            set_fl_diag_terminate(false);
            terminate("index", "foundation/index.cpp", 7, "open");
        },
        KilledBySignal(SIGABRT),
        Eq("assertion failed: index\n  file: foundation/index.cpp\n  line: 7\n  function: open\n"));
}

// A long message isn't cut off.
TEST_F(TerminateDeathTest, LongMessagesAreWhole) {
    const std::string message(100'000, 'x');
    EXPECT_EXIT(terminate(message, "file", 1, "function"), KilledBySignal(SIGABRT),
                Eq(message + "\n  file: file\n  line: 1\n  function: function\n"));
}

constexpr int reportingThreads = 4;

void terminateOnSeveralThreads() {
    std::barrier start(reportingThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i != reportingThreads; ++i) {
        threads.emplace_back([&start] {
            start.arrive_and_wait();
            terminate(std::string("The index is corrupt."), "foundation/index.cpp", 42, "open");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// The first to abort ends the process; what came before that are whole reports, one after the other.
TEST_F(TerminateDeathTest, ReportsOfSeveralThreadsDoNotInterleave) {
    const auto isWholeReports = [](std::string_view text) {
        const std::string_view report =
            "The index is corrupt.\n  file: foundation/index.cpp\n  line: 42\n  function: open\n";
        if (text.empty()) return false;
        while (text.starts_with(report)) {
            text.remove_prefix(report.size());
        }
        return text.empty();
    };
    EXPECT_EXIT(terminateOnSeveralThreads(), KilledBySignal(SIGABRT), Truly(isWholeReports));
}

}  // namespace
}  // namespace foundation::core::diag
