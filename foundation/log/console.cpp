#include <foundation/log/console.h>

#include <array>
#include <atomic>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/core/record_view.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace foundation::log {

namespace {

// Built with the C library and to_string: streams would format by the global locale.
std::string utcTime(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss<microseconds> clock(floor<microseconds>(time - day));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text.data();
}

// Small numbers in the order of the threads' first records: easier to follow in a log than the system's thread ids.
unsigned threadNumber() {
    static constinit std::atomic<unsigned> last{0};
    thread_local const unsigned number = ++last;
    return number;
}

std::string oneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (const char character : text) {
        if (character == '\n') {
            line += "\\n";
        } else if (character == '\r') {
            line += "\\r";
        } else {
            line += character;
        }
    }
    return line;
}

std::string formatLine(const boost::log::record_view& record) {
    const auto text = [&record](const char* name) {
        return oneLine(boost::log::extract_or_default<std::string>(name, record, std::string()));
    };
    const auto number = [&record](const char* name) {
        return boost::log::extract_or_default<unsigned>(name, record, 0u);
    };
    std::string line = utcTime(std::chrono::system_clock::now());
    line += ' ' + std::to_string(threadNumber());
    line += " [" + text("Channel") + ']';
    line += ' ' + std::to_string(number("Severity")) + ' ';
    line.append(std::size_t{2} * number("Indentation"), ' ');
    line += text("Message") + '\n';
    return line;
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// Fed by one thread at a time: the frontend sees to that.
class LineBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
public:
    explicit LineBackend(File file) : m_file(std::move(file)) {}

    void consume(const boost::log::record_view& record) {
        const std::string line = formatLine(record);
        std::fwrite(line.data(), 1, line.size(), m_file.get());
    }

private:
    File m_file;  // unbuffered: a line is one write, and nothing is left to flush
};

void addSink(File file) {
    using Sink = boost::log::sinks::synchronous_sink<LineBackend>;
    boost::log::core::get()->add_sink(boost::make_shared<Sink>(boost::make_shared<LineBackend>(std::move(file))));
}

}  // namespace

void add_console_sink() {
    addSink(File(stderr, [](std::FILE*) { return 0; }));
}

void add_file_sink(const std::filesystem::path& path) {
    File file(std::fopen(path.string().c_str(), "a"), &std::fclose);
    if (!file) {
        throw std::filesystem::filesystem_error("cannot open the log file", path,
                                                std::error_code(errno, std::generic_category()));
    }
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    addSink(std::move(file));
}

}  // namespace foundation::log
