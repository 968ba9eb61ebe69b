#include "log_support.h"

#include <foundation/log/diagnostic_logger.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <barrier>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::log {
namespace {

using testing::ElementsAre;
using testsupport::Record;
using testsupport::RecordingSink;
using testsupport::ScopedIndentation;
using testsupport::ScopedSeveritySlot;

static_assert(std::is_same_v<diagnostic_logger, basic_diagnostic_logger<char>>);
static_assert(std::is_constructible_v<diagnostic_logger, std::string>);
static_assert(!std::is_copy_constructible_v<diagnostic_logger> && !std::is_copy_assignable_v<diagnostic_logger>);
static_assert(!std::is_move_constructible_v<diagnostic_logger> && !std::is_move_assignable_v<diagnostic_logger>);
static_assert(noexcept(std::declval<const diagnostic_logger&>().mask()));
static_assert(std::is_same_v<decltype(std::declval<const diagnostic_logger&>().mutex()), std::mutex&>);
static_assert(std::is_same_v<decltype(std::declval<const diagnostic_logger&>().core()), boost::log::core_ptr const&>);
static_assert(
    std::is_same_v<decltype(std::declval<const diagnostic_logger&>().attributes()), boost::log::attribute_set const&>);
static_assert(std::is_same_v<decltype(std::declval<diagnostic_logger&>().indentation()), detail::indent_attribute&>);

// Gives the channel's mask back.
class ScopedMask {
public:
    explicit ScopedMask(std::string channel) : m_channel(std::move(channel)), m_before(severity_mask(m_channel)) {}
    ScopedMask(const ScopedMask&) = delete;
    ScopedMask& operator=(const ScopedMask&) = delete;
    ~ScopedMask() { set_severity_mask(m_channel, m_before); }

private:
    std::string m_channel;
    unsigned m_before;
};

// Only errors are written, unless somebody says otherwise.
TEST(SeverityMask, Is512AtStart) {
    EXPECT_EQ(severity_mask("test::untouched"), 512u);
    EXPECT_EQ(diagnostic_logger("test::untouched logger").mask(), 512u);
}

// A change reaches the loggers that exist and those to come.
TEST(SeverityMask, IsSharedByAllLoggersOfTheChannel) {
    const ScopedMask restored("test::shared");
    const diagnostic_logger first("test::shared");
    const diagnostic_logger second("test::shared");
    set_severity_mask("test::shared", 0x270);
    const diagnostic_logger third("test::shared");
    EXPECT_EQ(first.mask(), 0x270u);
    EXPECT_EQ(second.mask(), 0x270u);
    EXPECT_EQ(third.mask(), 0x270u);
    EXPECT_EQ(severity_mask("test::shared"), 0x270u);
    set_severity_mask("test::shared", 0);
    EXPECT_EQ(first.mask(), 0u);
    EXPECT_EQ(third.mask(), 0u);
}

// A mask may be set before the channel's first logger, and outlives its last.
TEST(SeverityMask, BelongsToTheChannelAndNotToItsLoggers) {
    const ScopedMask restored("test::early");
    set_severity_mask("test::early", 0xFFFFFFFF);
    EXPECT_EQ(diagnostic_logger("test::early").mask(), 0xFFFFFFFFu);
    EXPECT_EQ(diagnostic_logger("test::early").mask(), 0xFFFFFFFFu);
}

// Channels don't share masks: not with one whose name begins the same, and not with the one without a name.
TEST(SeverityMask, ChannelsAreApart) {
    const ScopedMask restored("test::a");
    const diagnostic_logger a("test::a");
    const diagnostic_logger b("test::b");
    const diagnostic_logger longer("test::a::b");
    const diagnostic_logger nameless("");
    set_severity_mask("test::a", 1);
    EXPECT_EQ(a.mask(), 1u);
    EXPECT_EQ(b.mask(), 512u);
    EXPECT_EQ(longer.mask(), 512u);
    EXPECT_EQ(nameless.mask(), 512u);
}

// The channel's name is taken by its length, not up to a NUL behind it.
TEST(SeverityMask, ChannelNamesMayBePartsOfOtherTexts) {
    const ScopedMask restored("test::part");
    set_severity_mask(std::string_view("test::part and more").substr(0, 10), 3);
    EXPECT_EQ(severity_mask("test::part"), 3u);
    EXPECT_EQ(severity_mask("test::part and more"), 512u);
}

constexpr unsigned users = 4;

// Loggers made, masks set and masks read on many threads at once.
TEST(SeverityMask, MayBeUsedByManyThreadsAtOnce) {
    const ScopedMask restored("test::threads");
    // Boost.Log makes its table of attribute names at the first use, guarded in a way that the thread sanitizer can't
    // see.
    const diagnostic_logger first("test::threads");
    std::barrier start(users);
    std::vector<std::thread> threads;
    for (unsigned user = 0; user != users; ++user) {
        threads.emplace_back([&start, user] {
            start.arrive_and_wait();
            for (unsigned i = 0; i != 200; ++i) {
                const diagnostic_logger logger("test::threads");
                set_severity_mask("test::threads", user);
                EXPECT_LT(logger.mask(), users);
                EXPECT_EQ(severity_mask("test::threads " + std::to_string(i)), 512u);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_LT(severity_mask("test::threads"), users);
}

// Records go to the process's core and bear the three attributes.
TEST(DiagnosticLogger, RecordsBearSeverityChannelAndIndentation) {
    const RecordingSink sink;
    diagnostic_logger logger("test::record");
    EXPECT_EQ(logger.core(), boost::log::core::get());
    testsupport::write(logger, 16, "message");
    EXPECT_THAT(sink.records(), ElementsAre(Record{16u, "test::record", 0u, "message"}));
}

// The lock is the caller's: the logger is usable while it is held, and each logger has its own.
TEST(DiagnosticLogger, MutexIsTheCallers) {
    const diagnostic_logger logger("test::mutex");
    const diagnostic_logger other("test::mutex");
    const std::lock_guard lock(logger.mutex());
    EXPECT_EQ(logger.mask(), 512u);
    EXPECT_NE(&other.mutex(), &logger.mutex());
    EXPECT_EQ(&logger.mutex(), &logger.mutex());
}

// A record keeps the severity that it was opened with, whatever the slot holds when it is pushed.
TEST(DiagnosticLogger, SeverityIsThatOfTheOpening) {
    const RecordingSink sink;
    const ScopedSeveritySlot slot;
    diagnostic_logger logger("test::severity");
    boost::log::record outer = testsupport::open(logger, 16);
    boost::log::record inner = testsupport::open(logger, 32);
    boost::log::sources::aux::get_severity_level() = 64;
    testsupport::push(std::move(inner), "inner");
    testsupport::push(std::move(outer), "outer");
    EXPECT_THAT(sink.records(),
                ElementsAre(Record{32u, "test::severity", 0u, "inner"}, Record{16u, "test::severity", 0u, "outer"}));
}

// A record keeps severity and depth of the thread that opened it when another thread pushes it.
TEST(DiagnosticLogger, RecordsMayBePushedByAnotherThread) {
    const RecordingSink sink;
    const ScopedSeveritySlot slot;
    diagnostic_logger logger("test::handed over");
    boost::log::record record;
    {
        const ScopedIndentation indented(logger, 2);
        record = testsupport::open(logger, 32);
    }
    std::thread([&] {
        boost::log::sources::aux::get_severity_level() = 16;
        testsupport::push(std::move(record), "message");
    }).join();
    EXPECT_THAT(sink.records(), ElementsAre(Record{32u, "test::handed over", 2u, "message"}));
}

// Depth goes up and down, and a record keeps the depth that it was opened with.
TEST(IndentAttribute, RecordsKeepTheDepthOfTheirOpening) {
    const RecordingSink sink;
    diagnostic_logger logger("test::indent");
    const ScopedSeveritySlot slot;
    boost::log::record flat = testsupport::open(logger, 16);
    {
        const ScopedIndentation indented(logger, 3);
        testsupport::push(std::move(flat), "flat");
        testsupport::write(logger, 16, "deep");
    }
    testsupport::write(logger, 16, "flat again");
    EXPECT_THAT(sink.records(),
                ElementsAre(Record{16u, "test::indent", 0u, "flat"}, Record{16u, "test::indent", 3u, "deep"},
                            Record{16u, "test::indent", 0u, "flat again"}));
}

// A decrease too many is ignored and not remembered.
TEST(IndentAttribute, DepthDoesNotGoBelowZero) {
    const RecordingSink sink;
    diagnostic_logger logger("test::floor");
    logger.indentation().decrease();
    testsupport::write(logger, 16, "at zero");
    const ScopedIndentation indented(logger);
    testsupport::write(logger, 16, "at one");
    EXPECT_THAT(sink.records(),
                ElementsAre(Record{16u, "test::floor", 0u, "at zero"}, Record{16u, "test::floor", 1u, "at one"}));
}

// What one logger writes in another's scope is indented with it.
TEST(IndentAttribute, DepthIsSharedByAllLoggers) {
    const RecordingSink sink;
    diagnostic_logger scopes("test::scopes");
    diagnostic_logger errors("test::errors");
    const ScopedIndentation indented(scopes);
    testsupport::write(errors, 512, "error");
    EXPECT_THAT(sink.records(), ElementsAre(Record{512u, "test::errors", 1u, "error"}));
}

// Two threads with one logger, each at its own depth at the same time.
TEST(IndentAttribute, ThreadsDoNotIndentEachOther) {
    const RecordingSink sink;
    diagnostic_logger logger("test::indent threads");
    std::barrier both(2);
    std::thread other([&] {
        const ScopedIndentation indented(logger, 5);
        both.arrive_and_wait();  // both are indented
        testsupport::write(logger, 16, "other");
        both.arrive_and_wait();  // both have written
    });
    {
        const ScopedIndentation indented(logger, 2);
        both.arrive_and_wait();
        testsupport::write(logger, 32, "this");
        both.arrive_and_wait();
    }
    other.join();
    EXPECT_THAT(sink.records(), testing::UnorderedElementsAre(Record{16u, "test::indent threads", 5u, "other"},
                                                              Record{32u, "test::indent threads", 2u, "this"}));
}

}  // namespace
}  // namespace foundation::log
