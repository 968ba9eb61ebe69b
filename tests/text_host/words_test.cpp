#include "words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace text_host::tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    for (std::string word; takeWord(text, word);) {
        words.push_back(word);
    }
    return words;
}

// Everything but an ASCII letter ends a word, digits and apostrophes included.
TEST(Words, AreRunsOfLetters) { EXPECT_THAT(wordsOf("Don't stop, x86_64!"), ElementsAre("don", "t", "stop", "x")); }

// The letters at both ends of the alphabet count, and their neighbours in ASCII don't.
TEST(Words, AreMadeOfExactlyTheAsciiLetters) { EXPECT_THAT(wordsOf("@AZ[`az{"), ElementsAre("az", "az")); }

// Bytes outside ASCII and NUL bytes are no letters, whatever their sign as char.
TEST(Words, AreSeparatedByBytesOutsideAscii) {
    EXPECT_THAT(wordsOf(std::string_view("na\xc3\xafve\0\xff\x80z", 10)), ElementsAre("na", "ve", "z"));
}

// A word needs no separator before or after it.
TEST(Words, MayTouchBothEndsOfTheText) { EXPECT_THAT(wordsOf("word"), ElementsAre("word")); }

// Text without letters has no words, and neither has no text.
TEST(Words, AreAbsentFromTextWithoutLetters) {
    EXPECT_THAT(wordsOf(""), IsEmpty());
    EXPECT_THAT(wordsOf(" \n1 2 3"), IsEmpty());
}

// The last call says so, and takes the rest of the text with it.
TEST(Words, AreTakenFromTheFront) {
    std::string_view text = " one two ";
    std::string word;
    EXPECT_TRUE(takeWord(text, word));
    EXPECT_EQ(word, "one");
    EXPECT_EQ(text, " two ");
    EXPECT_TRUE(takeWord(text, word));
    EXPECT_FALSE(takeWord(text, word));
    EXPECT_EQ(word, "");
    EXPECT_EQ(text, "");
}

// Common words come first, and equally common ones in byte order.
TEST(Commonest, OrdersByCountThenByWord) {
    const Counts counts = {{"b", 2}, {"a", 2}, {"c", 3}, {"ab", 2}};
    EXPECT_THAT(commonest(counts, 10),
                ElementsAre(WordCount{"c", 3}, WordCount{"a", 2}, WordCount{"ab", 2}, WordCount{"b", 2}));
}

// Where words are equally common, the limit keeps those that come first.
TEST(Commonest, KeepsTheFirstOfEquals) {
    const Counts counts = {{"d", 1}, {"c", 1}, {"b", 1}, {"a", 1}};
    EXPECT_THAT(commonest(counts, 2), ElementsAre(WordCount{"a", 1}, WordCount{"b", 1}));
    EXPECT_THAT(commonest(counts, 0), IsEmpty());
}

// No words are no reason to fail.
TEST(Commonest, OfNothingIsEmpty) { EXPECT_THAT(commonest({}, 10), IsEmpty()); }

}  // namespace

}  // namespace text_host::tests
