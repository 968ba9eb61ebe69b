#include "reader.h"

#include <cerrno>
#include <system_error>

namespace timeline {

namespace {

constexpr std::size_t blockSize = std::size_t{256} * 1024;

}  // namespace

LineReader::LineReader(std::FILE* stream) : m_stream(stream), m_block(blockSize) {}

bool LineReader::fill() {
    const std::size_t size = std::fread(m_block.data(), 1, m_block.size(), m_stream);
    if (size == 0 && std::ferror(m_stream)) throw std::system_error(errno, std::generic_category());
    m_bytesRead += size;
    m_rest = {m_block.data(), size};
    return size > 0;
}

bool LineReader::next(std::string_view& line, End& end) {
    m_line.clear();
    std::size_t length = 0;
    while (!m_rest.empty() || fill()) {
        const std::size_t at = m_rest.find('\n');
        const std::string_view part = m_rest.substr(0, at);
        length += part.size();
        const bool isWhole = at != std::string_view::npos;
        if (isWhole && length == part.size()) {
            line = part;
        } else {
            if (length <= longestLine) m_line += part;
            line = m_line;
        }
        m_rest.remove_prefix(part.size() + (isWhole ? 1 : 0));
        if (isWhole) {
            ++m_lineNumber;
            end = length > longestLine ? End::tooLong : End::line;
            return true;
        }
    }
    if (length == 0) return false;
    ++m_lineNumber;
    end = End::cutOff;
    return true;
}

const RecordReader::Numbered* RecordReader::next() {
    if (!m_isStarted) {
        m_isStarted = true;
        m_hasSuccessor = read(m_records[m_successor]);
    }
    if (!m_hasSuccessor) return nullptr;
    Numbered& current = m_records[m_successor];
    m_successor = 1 - m_successor;
    m_hasSuccessor = read(m_records[m_successor]);
    correctTime(current, m_hasSuccessor ? std::optional(m_records[m_successor].record.time) : std::nullopt);
    return &current;
}

bool RecordReader::read(Numbered& record) {
    std::string_view line;
    LineReader::End end{};
    while (m_lines.next(line, end)) {
        record.line = m_lines.lineNumber();
        if (end == LineReader::End::cutOff) {
            m_problems.add(Problem::cutOff, record.line);
        } else if (end == LineReader::End::tooLong) {
            m_problems.add(Problem::tooLong, record.line);
        } else if (parse(line, record)) {
            return true;
        }
    }
    return false;
}

// A line that isn't a record as a whole may be one that was cut off, or other output, with a record behind it.
bool RecordReader::parse(std::string_view line, Numbered& record) {
    if (line.ends_with('\r')) line.remove_suffix(1);  // the sinks write none: the file was copied as text
    if (take(line, record)) return true;
    const auto later = findLaterRecord(line);
    if (later && take(line.substr(*later), record)) {
        m_problems.add(Problem::damagedLine, record.line);
        return true;
    }
    m_problems.add(parseRecord(line) ? Problem::unknownText : Problem::noRecord, record.line);
    return false;
}

bool RecordReader::take(std::string_view text, Numbered& record) {
    record.text = text;
    const auto parsed = parseRecord(record.text);
    if (!parsed) return false;
    const auto content = parseContent(*parsed, m_signatures);
    if (!content) return false;
    record.record = *parsed;
    record.content = *content;
    return true;
}

void RecordReader::correctTime(Numbered& record, std::optional<Time> next) {
    Time& time = record.record.time;
    const Time last = m_last.value_or(time);
    const bool isAlone = next && *next >= last && (time < last || *next < time);
    if (isAlone) {
        m_problems.add(Problem::wrongTime, record.line);
        time = last;
    } else if (time < last) {
        m_problems.add(Problem::clockWentBack, record.line);
        m_offset += last - time;
    }
    m_last = time;
    time += m_offset;
}

}  // namespace timeline
