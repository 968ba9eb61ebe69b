#include "reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <system_error>
#include <vector>
#include "timeline_support.h"

namespace timeline::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* push = "push context  zarn=0x1  workspace=0";

// A record that is `microseconds` after the first possible one.
std::string recordAt(int microseconds) { return Trace::time(microseconds) + " 1 [foundation::tav] 16 " + push + '\n'; }

struct Seen {
    std::vector<std::string> records;  // line and microseconds
    std::vector<std::string> problems;
};

Seen read(const std::string& trace) {
    Seen seen;
    Problems problems;
    const Stream stream(trace);
    LineReader lines(stream.get());
    RecordReader records(lines, problems);
    const Time begin = parseRecord(recordAt(0))->time;
    while (const RecordReader::Numbered* const record = records.next()) {
        EXPECT_TRUE(std::holds_alternative<Push>(record->content));
        EXPECT_EQ(record->record.message, push);
        seen.records.push_back(std::to_string(record->line) + " at " + std::to_string(record->record.time - begin));
    }
    seen.problems = problemLines(problems);
    return seen;
}

// Nothing comes of nothing.
TEST(Reader, ReadsAnEmptyTrace) {
    const Seen seen = read("");
    EXPECT_THAT(seen.records, IsEmpty());
    EXPECT_THAT(seen.problems, IsEmpty());
}

// More lines than a block holds, all of them found whole, and the bytes counted.
TEST(Reader, ReadsLinesAcrossBlocks) {
    std::string text;
    for (int i = 0; i != 9000; ++i) {
        text += recordAt(i);
    }
    const Stream stream(text);
    LineReader lines(stream.get());
    std::string_view line;
    LineReader::End end{};
    int count = 0;
    while (lines.next(line, end)) {
        ASSERT_EQ(line, recordAt(count).substr(0, recordAt(count).size() - 1));
        ASSERT_EQ(end, LineReader::End::line);
        ++count;
    }
    EXPECT_EQ(count, 9000);
    EXPECT_EQ(lines.lineNumber(), 9000u);
    EXPECT_EQ(lines.bytesRead(), text.size());
}

// A stream that can't be read is not an empty one.
TEST(Reader, ReportsReadErrors) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> folder(std::fopen("/", "rb"), &std::fclose);
    ASSERT_TRUE(folder);
    LineReader lines(folder.get());
    std::string_view line;
    LineReader::End end{};
    EXPECT_THROW(lines.next(line, end), std::system_error);
}

// Lines of other output, texts of no library, and a trace that ends within a line: each is counted with its number.
TEST(Reader, CountsWhatItCannotRead) {
    const Seen seen = read("Hello\n" + recordAt(1) + "\n" + Trace::time(2) + " 1 [foundation::tav] 16 push\n" +
                           recordAt(3) + recordAt(4).substr(0, 70));
    EXPECT_THAT(seen.records, ElementsAre("2 at 1", "5 at 3"));
    EXPECT_THAT(seen.problems, ElementsAre("lines that are no records: 2 (lines 1, 3)",
                                           "records with a text that the library doesn't write: 1 (line 4)",
                                           "last lines that are cut off: 1 (line 6)"));
}

// Even a last line that reads well may lack the end of an address.
TEST(Reader, DistrustsALineWithoutItsEnd) {
    const Seen seen = read(recordAt(1) + recordAt(2).substr(0, recordAt(2).size() - 1));
    EXPECT_THAT(seen.records, ElementsAre("1 at 1"));
    EXPECT_THAT(seen.problems, ElementsAre("last lines that are cut off: 1 (line 2)"));
}

// A record behind a cut one, or behind other output on its line, is not lost.
TEST(Reader, FindsARecordInADamagedLine) {
    const Seen seen = read(recordAt(1).substr(0, 40) + recordAt(2) + "progress\r" + recordAt(3) + "\x01\xff\n");
    EXPECT_THAT(seen.records, ElementsAre("1 at 2", "2 at 3"));
    EXPECT_THAT(seen.problems, ElementsAre("lines that are no records: 1 (line 3)",
                                           "damaged lines of which only the last record was read: 2 (lines 1, 2)"));
}

// A line too long to be a record takes no memory, and the next one is read.
TEST(Reader, PassesOverEndlessLines) {
    const Seen seen = read(std::string(1'000'000, 'x') + '\n' + recordAt(1));
    EXPECT_THAT(seen.records, ElementsAre("2 at 1"));
    EXPECT_THAT(seen.problems, ElementsAre("lines too long to be read: 1 (line 1)"));
}

// Line ends of another system are line ends.
TEST(Reader, TakesCarriageReturnsOff) {
    std::string text = recordAt(1);
    text.insert(text.size() - 1, "\r");
    EXPECT_THAT(read(text).records, ElementsAre("1 at 1"));
    EXPECT_THAT(read(text).problems, IsEmpty());
}

// One wrong time, too late or too early, moves no other record.
TEST(Reader, MendsSingleTimes) {
    const Seen late = read(recordAt(1) + recordAt(900) + recordAt(3));
    EXPECT_THAT(late.records, ElementsAre("1 at 1", "2 at 1", "3 at 3"));
    const Seen early = read(recordAt(10) + recordAt(2) + recordAt(30));
    EXPECT_THAT(early.records, ElementsAre("1 at 10", "2 at 10", "3 at 30"));
    const auto problem = ElementsAre("records with a wrong time, shown at that of the record before: 1 (line 2)");
    EXPECT_THAT(late.problems, problem);
    EXPECT_THAT(early.problems, problem);
}

// Where the clock was set back, time goes on from there.
TEST(Reader, FollowsAClockThatWasSetBack) {
    const Seen seen = read(recordAt(100) + recordAt(101) + recordAt(10) + recordAt(13));
    EXPECT_THAT(seen.records, ElementsAre("1 at 100", "2 at 101", "3 at 101", "4 at 104"));
    EXPECT_THAT(
        seen.problems,
        ElementsAre("records at which the clock went back; what follows is shown as if it had not: 1 (line 3)"));
}

// Of many lines the first ten are named.
TEST(Problems, NameTheFirstTenLines) {
    const Seen seen = read("1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n");
    EXPECT_THAT(seen.problems,
                ElementsAre("lines that are no records: 12 (lines 1, 2, 3, 4, 5, 6, 7, 8, 9, 10 and 2 more)"));
}

}  // namespace

}  // namespace timeline::tests
