#include "text.h"

#include <gtest/gtest.h>
#include <string>

namespace timeline::tests {

namespace {

// Quotes, backslashes and control characters are escaped, and no text can end the script that it stands in.
TEST(Text, JsonIsEscaped) {
    EXPECT_EQ(jsonString("a\"b\\c"), R"("a\"b\\c")");
    EXPECT_EQ(jsonString("a\n\x01\x7F"), R"("a\u000a\u0001\u007f")");
    EXPECT_EQ(jsonString("</script>"), R"("\u003c/script>")");
    EXPECT_EQ(jsonString("µ…😀"), "\"µ…😀\"");
}

// Whatever is no UTF-8 becomes the replacement character: stray, cut, overlong, surrogates, too large.
TEST(Text, BadBytesAreReplaced) {
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(printable("a\xFF"
                        "b"),
              "a" + replaced + "b");
    EXPECT_EQ(printable("\x80"), replaced);
    EXPECT_EQ(printable("\xC3"), replaced);
    EXPECT_EQ(printable("\xE2\x82"), replaced + replaced);
    EXPECT_EQ(printable("\xC0\xAF"), replaced + replaced);
    EXPECT_EQ(printable("\xE0\x80\x80"), replaced + replaced + replaced);
    EXPECT_EQ(printable("\xED\xA0\x80"), replaced + replaced + replaced);
    EXPECT_EQ(printable("\xF0\x80\x80\x80"), replaced + replaced + replaced + replaced);
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), replaced + replaced + replaced + replaced);
    EXPECT_EQ(printable("\xF5\x80\x80\x80"), replaced + replaced + replaced + replaced);
}

// No text can be a tag, end an attribute or command a terminal.
TEST(Text, HtmlAndTerminalsAreSafe) {
    EXPECT_EQ(htmlText("<b a=\"x\">&\x1b"), "&lt;b a=&quot;x&quot;>&amp;\xEF\xBF\xBD");
    EXPECT_EQ(printable("a\x1b[2J\n"), "a\\x1b[2J\\x0a");
}

// Times, durations and addresses as users read them.
TEST(Text, NumbersHaveUnits) {
    EXPECT_EQ(utcTime(1795227250123456), "2026-11-21T02:14:10.123456Z");
    EXPECT_EQ(utcTime(0), "1970-01-01T00:00:00.000000Z");
    EXPECT_EQ(duration(0), "0 µs");
    EXPECT_EQ(duration(999), "999 µs");
    EXPECT_EQ(duration(1500), "1.5 ms");
    EXPECT_EQ(duration(123'456), "123 ms");
    EXPECT_EQ(duration(12'345'678), "12.35 s");
    EXPECT_EQ(addressText(0x7f00a8004830), "0x7f00a8004830");
}

}  // namespace

}  // namespace timeline::tests
