#include "log_support.h"

#include <foundation/log/console.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <barrier>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/sources/logger.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <locale>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::log {
namespace {

using testing::ElementsAre;
using testsupport::ScopedIndentation;
using testsupport::ScopedSinks;
using testsupport::write;

// A line taken apart where its form varies.
struct Line {
    std::string time{};
    unsigned thread = 0;
    std::string rest{};  // from the channel on; the whole line if it doesn't begin with time and thread
};

Line parse(const std::string& line) {
    static const std::regex beginning(R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z) ([1-9]\d*) (?=\[))");
    std::smatch match;
    if (!std::regex_search(line, match, beginning, std::regex_constants::match_continuous)) return {.rest = line};
    return {.time = match[1], .thread = static_cast<unsigned>(std::stoul(match[2])), .rest = match.suffix()};
}

std::vector<Line> parseLines(const std::string& text) {
    std::vector<Line> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(parse(line));
    }
    return lines;
}

std::vector<std::string> restsOf(const std::string& text) {
    std::vector<std::string> rests;
    for (const Line& line : parseLines(text)) {
        rests.push_back(line.rest);
    }
    return rests;
}

// What the function makes the console sink write.
template <class Function>
std::string consoleTextOf(Function function) {
    const ScopedSinks sinks;
    add_console_sink();
    testing::internal::CaptureStderr();
    function();
    return testing::internal::GetCapturedStderr();
}

// A folder of its own, gone at the end.
class ScopedFolder {
public:
    ScopedFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "log_tests_XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), name);
        m_path = name;
    }
    ScopedFolder(const ScopedFolder&) = delete;
    ScopedFolder& operator=(const ScopedFolder&) = delete;
    ~ScopedFolder() { std::filesystem::remove_all(m_path); }

    std::filesystem::path operator/(const char* name) const { return m_path / name; }
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The whole form of a line, field by field.
TEST(ConsoleSink, LineHasTimeThreadChannelSeverityAndMessage) {
    diagnostic_logger logger("foundation::tav");
    const std::string text = consoleTextOf([&] { write(logger, 32, "message"); });
    EXPECT_TRUE(std::regex_match(
        text, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z [1-9]\d* \[foundation::tav\] 32 message\n)")))
        << text;
}

// Two blanks per level stand between the severity and the message, after the one that separates them.
TEST(ConsoleSink, IndentationIsTwoBlanksPerLevel) {
    diagnostic_logger logger("foundation::tav");
    const std::string text = consoleTextOf([&] {
        write(logger, 32, "none");
        const ScopedIndentation one(logger);
        write(logger, 32, "one");
        const ScopedIndentation three(logger, 2);
        write(logger, 64, "three");
    });
    EXPECT_THAT(restsOf(text), ElementsAre("[foundation::tav] 32 none", "[foundation::tav] 32   one",
                                           "[foundation::tav] 64       three"));
}

// Standard output is the application's own.
TEST(ConsoleSink, WritesToStandardErrorOnly) {
    diagnostic_logger logger("test");
    testing::internal::CaptureStdout();
    const std::string text = consoleTextOf([&] { write(logger, 16, "message"); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(restsOf(text), ElementsAre("[test] 16 message"));
}

// A record without a message, a channel without a name, a severity of 0 and the largest.
TEST(ConsoleSink, EmptyFieldsKeepTheirPlaces) {
    diagnostic_logger nameless("");
    const std::string text = consoleTextOf([&] {
        write(nameless, 0, "");
        write(nameless, 0xFFFFFFFF, "x");
    });
    EXPECT_THAT(restsOf(text), ElementsAre("[] 0 ", "[] 4294967295 x"));
}

// One record, one line: ends of lines are written out, everything else as it is.
TEST(ConsoleSink, LineEndsAreWrittenOut) {
    diagnostic_logger logger("two\nlines");
    const std::string text = consoleTextOf([&] { write(logger, 16, "a\nb\r\nc\\n\t\xE2\x82\xAC\n"); });
    EXPECT_THAT(restsOf(text), ElementsAre("[two\\nlines] 16 a\\nb\\r\\nc\\n\t\xE2\x82\xAC\\n"));
}

// A message longer than any buffer on the way.
TEST(ConsoleSink, LongMessagesAreWhole) {
    diagnostic_logger logger("test");
    const std::string message(200'000, 'x');
    EXPECT_THAT(restsOf(consoleTextOf([&] { write(logger, 16, message); })), ElementsAre("[test] 16 " + message));
}

// Records of other sources, which have none of our attributes.
TEST(ConsoleSink, RecordsWithoutAttributesAreWritten) {
    boost::log::sources::logger other;
    const std::string text = consoleTextOf([&] { BOOST_LOG(other) << "from elsewhere"; });
    EXPECT_THAT(restsOf(text), ElementsAre("[] 0 from elsewhere"));
}

// Records of other sources, whose attributes have our names and other types.
TEST(ConsoleSink, AttributesOfOtherTypesCountAsAbsent) {
    boost::log::sources::logger other;
    other.add_attribute("Severity", boost::log::attributes::constant<std::string>("high"));
    other.add_attribute("Channel", boost::log::attributes::constant<int>(5));
    other.add_attribute("Indentation", boost::log::attributes::constant<double>(2.5));
    const std::string text = consoleTextOf([&] { BOOST_LOG(other) << "from elsewhere"; });
    EXPECT_THAT(restsOf(text), ElementsAre("[] 0 from elsewhere"));
}

// Digit by digit, as unfriendly as a locale can be.
class GroupedDigits : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\1"; }
};

class ScopedGroupingLocale {
public:
    ScopedGroupingLocale() : m_before(std::locale::global(std::locale(std::locale(), new GroupedDigits))) {}
    ScopedGroupingLocale(const ScopedGroupingLocale&) = delete;
    ScopedGroupingLocale& operator=(const ScopedGroupingLocale&) = delete;
    ~ScopedGroupingLocale() { std::locale::global(m_before); }

private:
    std::locale m_before;
};

// Numbers are plain under every global locale, set before the sink or after it.
TEST(ConsoleSink, GlobalLocaleHasNoInfluence) {
    diagnostic_logger logger("test");
    const ScopedSinks sinks;
    const ScopedFolder folder;
    add_file_sink(folder / "before");
    const ScopedGroupingLocale grouping;
    std::ostringstream proof;
    proof << 512;
    ASSERT_EQ(proof.str(), "5'1'2");
    add_file_sink(folder / "after");
    write(logger, 16384, "message");
    EXPECT_THAT(restsOf(contentsOf(folder / "before")), ElementsAre("[test] 16384 message"));
    EXPECT_THAT(restsOf(contentsOf(folder / "after")), ElementsAre("[test] 16384 message"));
}

// Sets the local time zone and gives it back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) m_before = before;
        setenv("TZ", zone, 1);
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;
    ~ScopedTimeZone() {
        if (m_before) {
            setenv("TZ", m_before->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    std::optional<std::string> m_before;
};

std::chrono::microseconds sinceEpoch(const std::string& time) {
    std::tm calendar{};
    std::istringstream stream(time);
    char point = 0;
    long micros = 0;
    stream >> std::get_time(&calendar, "%Y-%m-%dT%H:%M:%S") >> point >> micros;
    return std::chrono::seconds(timegm(&calendar)) + std::chrono::microseconds(micros);
}

// The time is that of writing, in UTC wherever the computer stands.
TEST(ConsoleSink, TimeIsUtc) {
    using namespace std::chrono;
    const ScopedTimeZone farEast("FAR-14");
    diagnostic_logger logger("test");
    const auto now = [] { return floor<microseconds>(system_clock::now().time_since_epoch()); };
    const microseconds before = now();
    const std::string text = consoleTextOf([&] {
        write(logger, 16, "first");
        write(logger, 16, "second");
    });
    const microseconds after = now();
    const std::vector<Line> lines = parseLines(text);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_LE(before, sinceEpoch(lines[0].time));
    EXPECT_LE(sinceEpoch(lines[0].time), sinceEpoch(lines[1].time));
    EXPECT_LE(sinceEpoch(lines[1].time), after);
}

// A thread has one number for all its records, and each new thread has the next one.
TEST(ConsoleSink, ThreadsAreNumberedInTheOrderOfTheirFirstRecords) {
    diagnostic_logger logger("test");
    const auto writeOnAnotherThread = [&](int records) {
        std::thread([&] {
            for (int i = 0; i != records; ++i) {
                write(logger, 16, "message");
            }
        }).join();
    };
    const std::string text = consoleTextOf([&] {
        write(logger, 16, "message");
        writeOnAnotherThread(2);
        std::thread([] {}).join();
        writeOnAnotherThread(1);
        write(logger, 16, "message");
    });
    const std::vector<Line> lines = parseLines(text);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_GE(lines[0].thread, 1u);
    EXPECT_EQ(lines[2].thread, lines[1].thread);
    EXPECT_EQ(lines[3].thread, lines[1].thread + 1);
    EXPECT_EQ(lines[4].thread, lines[0].thread);
}

// Each call adds a sink of its own.
TEST(ConsoleSink, EveryCallAddsOne) {
    diagnostic_logger logger("test");
    const std::string text = consoleTextOf([&] {
        add_console_sink();
        write(logger, 16, "message");
    });
    EXPECT_THAT(restsOf(text), ElementsAre("[test] 16 message", "[test] 16 message"));
}

// The same lines as on the console, in the file as soon as the record is pushed.
TEST(FileSink, LinesAreInTheFileAtOnce) {
    const ScopedSinks sinks;
    const ScopedFolder folder;
    diagnostic_logger logger("foundation::tav");
    add_file_sink(folder / "log");
    EXPECT_EQ(contentsOf(folder / "log"), "");
    write(logger, 32, "first");
    EXPECT_THAT(restsOf(contentsOf(folder / "log")), ElementsAre("[foundation::tav] 32 first"));
    const ScopedIndentation indented(logger);
    write(logger, 32, "second\n");
    EXPECT_THAT(restsOf(contentsOf(folder / "log")),
                ElementsAre("[foundation::tav] 32 first", "[foundation::tav] 32   second\\n"));
}

// What the file held before stays, and so does what another sink appended.
TEST(FileSink, AppendsToTheFile) {
    const ScopedSinks sinks;
    const ScopedFolder folder;
    diagnostic_logger logger("test");
    std::ofstream(folder / "log") << "yesterday\n";
    add_file_sink(folder / "log");
    write(logger, 16, "today");
    boost::log::core::get()->remove_all_sinks();
    add_file_sink(folder / "log");
    add_file_sink(folder / "log");
    write(logger, 16, "twice");
    EXPECT_THAT(restsOf(contentsOf(folder / "log")),
                ElementsAre("yesterday", "[test] 16 today", "[test] 16 twice", "[test] 16 twice"));
}

// The error of a path that can't be opened.
std::filesystem::filesystem_error errorOf(const std::filesystem::path& path) {
    try {
        add_file_sink(path);
    } catch (const std::filesystem::filesystem_error& error) {
        return error;
    }
    return {"opened", std::error_code()};
}

// A file that can't be opened is named with the reason, and leaves no sink behind.
TEST(FileSink, FilesThatCantBeOpenedAreReported) {
    const ScopedSinks sinks;
    const ScopedFolder folder;
    const std::filesystem::filesystem_error isFolder = errorOf(folder.path());
    EXPECT_EQ(isFolder.path1(), folder.path());
    EXPECT_EQ(isFolder.code(), std::errc::is_a_directory);
    EXPECT_EQ(std::string(isFolder.what()),
              "filesystem error: cannot open the log file: Is a directory [" + folder.path().string() + "]");
    const std::filesystem::filesystem_error isAbsent = errorOf(folder / "absent/log");
    EXPECT_EQ(isAbsent.path1(), folder / "absent/log");
    EXPECT_EQ(isAbsent.code(), std::errc::no_such_file_or_directory);
    diagnostic_logger logger("test");
    add_file_sink(folder / "log");
    write(logger, 16, "message");
    EXPECT_THAT(restsOf(contentsOf(folder / "log")), ElementsAre("[test] 16 message"));
}

// A disk that is full loses lines, and nothing else happens.
TEST(FileSink, LinesThatCantBeWrittenAreLost) {
    const std::filesystem::path fullDisk = "/dev/full";
    ASSERT_TRUE(std::filesystem::exists(fullDisk));
    const ScopedSinks sinks;
    const ScopedFolder folder;
    diagnostic_logger logger("test");
    add_file_sink(fullDisk);
    add_file_sink(folder / "log");
    EXPECT_NO_THROW(write(logger, 16, "message"));
    EXPECT_THAT(restsOf(contentsOf(folder / "log")), ElementsAre("[test] 16 message"));
}

// Lines of several threads are whole, each thread has a number of its own, and times don't go back.
TEST(FileSink, ThreadsDoNotInterleave) {
    constexpr unsigned writers = 4;
    constexpr unsigned records = 100;
    const ScopedSinks sinks;
    const ScopedFolder folder;
    diagnostic_logger logger("test");
    add_file_sink(folder / "log");
    std::barrier start(writers);
    std::vector<std::thread> threads;
    for (unsigned writer = 0; writer != writers; ++writer) {
        threads.emplace_back([&, writer] {
            const ScopedIndentation indented(logger, writer);
            start.arrive_and_wait();
            for (unsigned i = 0; i != records; ++i) {
                write(logger, 16, "message");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::set<std::pair<unsigned, std::string>> kinds;
    const std::vector<Line> lines = parseLines(contentsOf(folder / "log"));
    for (const Line& line : lines) {
        kinds.emplace(line.thread, line.rest);
    }
    EXPECT_EQ(lines.size(), std::size_t{writers} * records);
    EXPECT_EQ(kinds.size(), writers);
    std::multiset<std::string> rests;
    for (const auto& [thread, rest] : kinds) {
        rests.insert(rest);
    }
    EXPECT_THAT(rests, ElementsAre("[test] 16       message", "[test] 16     message", "[test] 16   message",
                                   "[test] 16 message"));
}

}  // namespace
}  // namespace foundation::log
