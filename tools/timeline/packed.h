#pragma once

/// @file
/// Numbers in little space, for a script that reads them back: seven bits a byte, the lowest first, in Base64.

#include <array>
#include <cstdint>
#include <ostream>

namespace timeline {

/// Writes a JSON string.
class PackedNumbers {
public:
    explicit PackedNumbers(std::ostream& out) : m_out(out) { m_out << '"'; }
    PackedNumbers(const PackedNumbers&) = delete;
    PackedNumbers& operator=(const PackedNumbers&) = delete;
    ~PackedNumbers() {
        if (m_size > 0) flush();
        m_out << '"';
    }

    void add(std::uint64_t number) {
        for (; number >= 0x80; number >>= 7) {
            addByte(static_cast<std::uint8_t>((number & 0x7Fu) | 0x80u));
        }
        addByte(static_cast<std::uint8_t>(number));
    }

private:
    void addByte(std::uint8_t byte) {
        m_bytes[m_size++] = byte;
        if (m_size == 3) flush();
    }

    void flush() {
        constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        const std::uint32_t bits = (std::uint32_t{m_bytes[0]} << 16) | (std::uint32_t{m_bytes[1]} << 8) | m_bytes[2];
        const std::array<char, 4> text{digits[bits >> 18], digits[(bits >> 12) & 63u],
                                       m_size > 1 ? digits[(bits >> 6) & 63u] : '=',
                                       m_size > 2 ? digits[bits & 63u] : '='};
        m_out.write(text.data(), text.size());
        m_bytes = {};
        m_size = 0;
    }

    std::ostream& m_out;
    std::array<std::uint8_t, 3> m_bytes{};
    std::size_t m_size = 0;
};

}  // namespace timeline
