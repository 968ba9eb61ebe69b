#include "text.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>

namespace timeline {

namespace {

bool isContinuation(std::string_view text, std::size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0u) == 0x80u;
}

// The number of bytes of the UTF-8 sequence that the text begins with; 0 if there is none. Overlong forms, surrogates
// and what lies beyond U+10FFFF are none.
std::size_t sequenceLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) return 1;
    const unsigned char second = text.size() > 1 ? static_cast<unsigned char>(text[1]) : 0;
    std::size_t length = 0;
    if (first >= 0xC2 && first <= 0xDF) {
        length = 2;
    } else if (first >= 0xE0 && first <= 0xEF) {
        const bool isBad = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F);
        length = isBad ? 0 : 3;
    } else if (first >= 0xF0 && first <= 0xF4) {
        const bool isBad = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
        length = isBad ? 0 : 4;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text, i)) return 0;
    }
    return length;
}

// Calls `append(result, sequence)` for each character.
template <class Append>
std::string convert(std::string_view text, const Append& append) {
    std::string result;
    result.reserve(text.size() + 2);
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        append(result, length > 0 ? text.substr(0, length) : std::string_view("\xEF\xBF\xBD"));
        text.remove_prefix(length > 0 ? length : 1);
    }
    return result;
}

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    return first < 0x20 || first == 0x7F;
}

void appendJson(std::string& result, std::string_view character) {
    if (character == "\"" || character == "\\") {
        result.append("\\").append(character);
    } else if (isControl(character) || character == "<") {
        result += formatted("\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(character[0])));
    } else {
        result += character;
    }
}

void appendHtml(std::string& result, std::string_view character) {
    if (character == "&") {
        result += "&amp;";
    } else if (character == "<") {
        result += "&lt;";
    } else if (character == "\"") {
        result += "&quot;";
    } else if (isControl(character)) {
        result += "\xEF\xBF\xBD";
    } else {
        result += character;
    }
}

void appendPrintable(std::string& result, std::string_view character) {
    if (isControl(character)) {
        result += formatted("\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(character[0])));
    } else {
        result += character;
    }
}

}  // namespace

std::string jsonString(std::string_view text) { return '"' + convert(text, appendJson) + '"'; }

std::string htmlText(std::string_view text) { return convert(text, appendHtml); }

std::string printable(std::string_view text) { return convert(text, appendPrintable); }

std::string utcTime(Time time) {
    using namespace std::chrono;
    const sys_time<microseconds> point{microseconds(time)};
    const auto day = floor<days>(point);
    const year_month_day date(day);
    const hh_mm_ss<microseconds> clock(point - day);
    return formatted("%04d-%02u-%02uT%02d:%02d:%02d.%06dZ", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                     static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
}

std::string duration(Time microseconds) {
    const auto value = static_cast<double>(microseconds);
    if (microseconds < 1000) return formatted("%.0f µs", value);
    if (microseconds < 1'000'000) return formatted("%.3g ms", value / 1e3);
    return formatted("%.2f s", value / 1e6);
}

std::string addressText(Address address) { return formatted("0x%llx", static_cast<unsigned long long>(address)); }

}  // namespace timeline
