#include <foundation/core/except.h>

#include <cstddef>
#include <string_view>

namespace foundation::core::except {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

// What the first byte of a UTF-8 sequence says about the rest of it.
struct Lead {
    int trailing;                  // number of bytes that follow; less than 0: no sequence begins with this byte
    char32_t bits;                 // what the first byte gives to the code point
    unsigned char lowest = 0x80;   // bounds of the second byte: they keep out overlong forms, surrogates and what lies
    unsigned char highest = 0xBF;  // beyond U+10FFFF, so that those end before their second byte
};

Lead readLead(unsigned char byte) {
    if (byte < 0x80) return {.trailing = 0, .bits = byte};
    if (byte < 0xC2 || byte > 0xF4) return {.trailing = -1, .bits = 0};
    if (byte < 0xE0) return {.trailing = 1, .bits = byte & 0x1Fu};
    if (byte < 0xF0) {
        return {.trailing = 2,
                .bits = byte & 0x0Fu,
                .lowest = static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                .highest = static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    }
    return {.trailing = 3,
            .bits = byte & 0x07u,
            .lowest = static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
            .highest = static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
}

// Reads one code point and moves `position` past what was read of it. The decoders at hand (Boost.Nowide's,
// std::codecvt) swallow the byte after a truncated sequence or stop there; this one leaves the byte to be read next.
char32_t readUtf8(std::string_view text, std::size_t& position) {
    Lead lead = readLead(static_cast<unsigned char>(text[position++]));
    if (lead.trailing < 0) return replacementCharacter;
    for (int read = 0; read < lead.trailing; ++read) {
        if (position == text.size()) return replacementCharacter;
        const auto byte = static_cast<unsigned char>(text[position]);
        if (byte < lead.lowest || byte > lead.highest) return replacementCharacter;
        ++position;
        lead = {.trailing = lead.trailing, .bits = lead.bits << 6 | (byte & 0x3Fu)};
    }
    return lead.bits;
}

void appendUtf16(std::u16string& text, char32_t codePoint) {
    if (codePoint < 0x10000) {
        text += static_cast<char16_t>(codePoint);
    } else {
        text += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
        text += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
    }
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

char32_t readUtf16(std::u16string_view text, std::size_t& position) {
    const char16_t unit = text[position++];
    if (isLowSurrogate(unit)) return replacementCharacter;
    if (!isHighSurrogate(unit)) return unit;
    if (position == text.size() || !isLowSurrogate(text[position])) return replacementCharacter;
    const char16_t low = text[position++];
    return 0x10000u + (static_cast<char32_t>(unit - 0xD800) << 10) + static_cast<char32_t>(low - 0xDC00);
}

void appendUtf8(std::string& text, char32_t codePoint) {
    const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto appendTrailing = [&](int shift) { append(0x80 | (codePoint >> shift & 0x3F)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
        appendTrailing(0);
    } else if (codePoint < 0x10000) {
        append(0xE0 | codePoint >> 12);
        appendTrailing(6);
        appendTrailing(0);
    } else {
        append(0xF0 | codePoint >> 18);
        appendTrailing(12);
        appendTrailing(6);
        appendTrailing(0);
    }
}

std::string toUtf8(std::u16string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position != text.size();) {
        appendUtf8(result, readUtf16(text, position));
    }
    return result;
}

}  // namespace

IException::IException() noexcept = default;

// The text stays behind: copying must not throw, and the copy makes its own when asked.
IException::IException(const IException& other) noexcept : clone_base(other), boost::exception(other) {}

IException::~IException() noexcept { delete m_text.load(std::memory_order_acquire); }

// An exception can be in flight on several threads at once through std::exception_ptr. Each may make the text; the
// first to put it down wins, and the others take that one.
const char* IException::what() const noexcept {
    const std::string* text = m_text.load(std::memory_order_acquire);
    if (text) return text->c_str();
    try {
        auto made = std::make_unique<const std::string>(toUtf8(message()));
        if (m_text.compare_exchange_strong(text, made.get(), std::memory_order_acq_rel, std::memory_order_acquire)) {
            text = made.release();
        }
        return text->c_str();
    } catch (...) {
        return "Unknown exception";
    }
}

std::u16string IException::message() const { return u"Unknown exception"; }

std::u16string IException::convert_str(const std::string& text) {
    std::u16string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position != text.size();) {
        appendUtf16(result, readUtf8(text, position));
    }
    return result;
}

IInternalException::IInternalException() noexcept = default;
IInternalException::IInternalException(const IInternalException& other) noexcept = default;
IInternalException::~IInternalException() noexcept = default;

}  // namespace foundation::core::except
