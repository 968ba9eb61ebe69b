#include "run.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <locale>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>
#include "chrome.h"
#include "model.h"
#include "page.h"
#include "progress.h"
#include "reader.h"
#include "report.h"
#include "summary.h"
#include "text.h"

namespace timeline {

namespace {

namespace fs = std::filesystem;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

constexpr std::uint64_t recordsPerUpdate = 1024;

std::string quoted(const fs::path& path) { return "'" + printable(path.native()) + "'"; }

std::string systemMessage(int error) { return std::generic_category().message(error); }

File openTrace(const Options& options) {
    if (!options.trace) return {stdin, [](std::FILE*) { return 0; }};
    File file(std::fopen(options.trace->c_str(), "rb"), &std::fclose);
    if (!file) throw std::runtime_error("cannot open " + quoted(*options.trace) + ": " + systemMessage(errno));
    return file;
}

std::string traceName(const Options& options) {
    return options.trace ? options.trace->native() : std::string("standard input");
}

std::optional<std::uint64_t> sizeOf(const std::optional<fs::path>& trace) {
    std::error_code error;
    if (!trace || !fs::is_regular_file(*trace, error)) return std::nullopt;
    const std::uint64_t size = fs::file_size(*trace, error);
    return error ? std::nullopt : std::optional(size);
}

// A file that is written. It is made at once: a name that can't be is told before the trace is read.
class Output {
public:
    Output(const fs::path& path, const std::optional<fs::path>& trace) : m_path(path) {
        std::error_code ignored;
        if (trace && fs::equivalent(path, *trace, ignored)) {
            throw UsageError("the trace " + quoted(*trace) + " would be overwritten");
        }
        m_stream.open(path, std::ios::binary);
        if (!m_stream) throw std::runtime_error("cannot write " + quoted(path) + ": " + systemMessage(errno));
        m_stream.imbue(std::locale::classic());
    }

    std::ostream& stream() { return m_stream; }

    void close() {
        m_stream.close();
        if (!m_stream) throw std::runtime_error("cannot write " + quoted(m_path) + ": " + systemMessage(errno));
    }

private:
    fs::path m_path;
    std::ofstream m_stream;
};

// What is asked for, and where it goes.
struct Writers {
    explicit Writers(const Options& options) {
        if (options.chrome) {
            chromeFile.emplace(*options.chrome, options.trace);
            chrome.emplace(chromeFile->stream());
        }
        if (options.html) {
            pageFile.emplace(*options.html, options.trace);
            page.emplace();
        }
        if (options.summary) summary.emplace();
    }

    std::vector<Observer*> observers() {
        std::vector<Observer*> all;
        if (chrome) all.push_back(&*chrome);
        if (page) all.push_back(&*page);
        if (summary) all.push_back(&*summary);
        return all;
    }

    void finish(const Report& report, std::ostream& out) {
        if (chrome) {
            chrome->finish(report);
            chromeFile->close();
        }
        if (page) {
            page->write(pageFile->stream(), report);
            pageFile->close();
        }
        if (summary) summary->write(out, report);
    }

    std::optional<Output> chromeFile;
    std::optional<ChromeWriter> chrome;
    std::optional<Output> pageFile;
    std::optional<PageWriter> page;
    std::optional<Summary> summary;
};

void readAll(LineReader& lines, Problems& problems, Model& model, Progress& progress) {
    RecordReader records(lines, problems);
    while (const RecordReader::Numbered* const record = records.next()) {
        model.add(*record);
        const std::uint64_t count = model.counts().records;
        if (count % recordsPerUpdate == 0) progress.show(lines.bytesRead(), count);
    }
    model.finish();
}

}  // namespace

bool run(const Options& options, std::ostream& out, std::ostream& errors, bool isTerminal) {
    const File trace = openTrace(options);
    Writers writers(options);
    Report report;
    report.trace = traceName(options);
    LineReader lines(trace.get());
    Model model(writers.observers(), report.problems);
    Progress progress(errors, isTerminal, sizeOf(options.trace));
    try {
        readAll(lines, report.problems, model, progress);
    } catch (const std::system_error& error) {
        throw std::runtime_error("cannot read '" + printable(report.trace) + "': " + error.code().message());
    }
    progress.end();
    report.counts = model.counts();
    writers.finish(report, out);
    report.problems.forEach([&](Problem problem, const Problems::Occurrences& occurrences) {
        errors << "tav-timeline: " << problemLine(problem, occurrences) << '\n';
    });
    if (report.counts.records == 0)
        errors << "tav-timeline: there is no record in '" << printable(report.trace) << "'\n";
    return report.counts.records > 0 && report.problems.unreadableLines() == 0;
}

}  // namespace timeline
