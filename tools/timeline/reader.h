#pragma once

/// @file
/// Reading a trace: its lines, its records, and times that never go back.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include "problems.h"
#include "record.h"

namespace timeline {

/// The lines of a stream. Needs memory for one of them and a block.
class LineReader {
public:
    static constexpr std::size_t longestLine = std::size_t{64} * 1024;

    enum class End : std::uint8_t { line, tooLong, cutOff };

    /// Reads from where the stream stands, which must outlive the reader.
    explicit LineReader(std::FILE* stream);

    /// The next line without its end; it lasts until the next call. False at the end of the stream.
    ///
    /// @throws std::system_error if the stream can't be read
    bool next(std::string_view& line, End& end);

    std::uint64_t lineNumber() const { return m_lineNumber; }
    std::uint64_t bytesRead() const { return m_bytesRead; }

private:
    bool fill();

    std::FILE* const m_stream;
    std::vector<char> m_block;
    std::string_view m_rest;  // of the block
    std::string m_line;       // one that doesn't lie in the block whole
    std::uint64_t m_lineNumber = 0;
    std::uint64_t m_bytesRead = 0;
};

/// The records of a trace in the order of the lines. What can't be read is entered into the problems.
///
/// Times never go back: one that only a single record has is taken to be wrong, and where the clock was set back the
/// times that follow are moved.
class RecordReader {
public:
    RecordReader(LineReader& lines, Problems& problems) : m_lines(lines), m_problems(problems) {}

    struct Numbered {
        std::uint64_t line = 0;
        std::string text;
        Record record;    // its texts are parts of `text`
        Content content;  // and so are those
    };

    /// The next record, which lasts until the next call; null at the end.
    ///
    /// @throws std::system_error if the stream can't be read
    const Numbered* next();

private:
    bool read(Numbered& record);
    bool parse(std::string_view line, Numbered& record);
    bool take(std::string_view text, Numbered& record);
    void correctTime(Numbered& record, std::optional<Time> next);

    LineReader& m_lines;
    Problems& m_problems;
    Signatures m_signatures;
    std::array<Numbered, 2> m_records;  // the one returned and its successor, in turns
    std::size_t m_successor = 0;
    bool m_hasSuccessor = false;
    bool m_isStarted = false;
    std::optional<Time> m_last;  // as it stands in the trace
    Time m_offset = 0;
};

}  // namespace timeline
