#include "options.h"

#include <span>

namespace timeline {

const std::string_view usage =
    "usage: tav-timeline [--html FILE] [--chrome FILE] [--summary] [TRACE]\n"
    "       tav-timeline --help\n"
    "\n"
    "Shows what the diagnostic trace of foundation::tav tells, on a time line. TRACE is a file that\n"
    "the sinks of foundation/log/console.h have written; without it, and for '-', the trace is read\n"
    "from standard input.\n"
    "\n"
    "  --html FILE    write one page for a browser, which loads nothing else\n"
    "  --chrome FILE  write Chrome trace events (JSON), which Perfetto opens\n"
    "  --summary      write counts to standard output (done if nothing else is asked for)\n"
    "\n"
    "Exit status: 0 when all of the trace was read, 1 when some of it was not, 2 for a wrong command\n"
    "line.\n";

const std::string_view help =
    "\n"
    "A trace shows most with the mask 0x272 (FOUNDATION_LOG_MASK=foundation::tav=0x272). What it\n"
    "tells: the operations of each thread and how they nest, contexts made current and restored,\n"
    "contexts created and destroyed, states inserted and deleted, errors, exceptions; where the\n"
    "host records its teardown, also late uses (a deleter used a state that was deleted before) and\n"
    "deletions over the host's limit.\n"
    "\n"
    "What is derived: a Workspace context's parent, from its first activation; other parents, where\n"
    "only one context could be it; whether findOrInsert has inserted; the context of a state that\n"
    "eraseAll or the unloading of a module deletes. Times are those at which records were written.\n"
    "\n"
    "What a trace does not tell: when a Process context was activated or deactivated, calls of\n"
    "shutdown, lookups (find, findOrFail, findOrThrow) that are neither reported as errors nor late,\n"
    "the addresses and sizes of states, and which activator an activation belongs to. A file to\n"
    "which several runs have appended reads as one run.\n";

namespace {

class Parser {
public:
    explicit Parser(std::span<const std::string> arguments) : m_rest(arguments) {}

    Options parse() {
        while (!m_rest.empty()) {
            parseArgument(take());
        }
        if (!m_options.chrome && !m_options.html) m_options.summary = true;
        if (m_options.chrome && m_options.chrome == m_options.html) {
            throw UsageError("--html and --chrome name the same file");
        }
        if (m_options.trace == "-") m_options.trace.reset();
        return std::move(m_options);
    }

private:
    std::string take() {
        std::string argument = m_rest.front();
        m_rest = m_rest.subspan(1);
        return argument;
    }

    void parseArgument(const std::string& argument) {
        if (argument == "--" && !m_isAllTraces) {
            m_isAllTraces = true;
        } else if (argument.starts_with('-') && argument != "-" && !m_isAllTraces) {
            parseOption(argument);
        } else if (m_options.trace) {
            throw UsageError("more than one TRACE given: '" + m_options.trace->native() + "' and '" + argument + "'");
        } else {
            m_options.trace = argument;
        }
    }

    void parseOption(const std::string& argument) {
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (name == "--chrome") {
            m_options.chrome = value(argument, equals);
        } else if (name == "--html") {
            m_options.html = value(argument, equals);
        } else if (argument == "--help") {
            m_options.help = true;
        } else if (argument == "--summary") {
            m_options.summary = true;
        } else {
            throw UsageError("unknown option '" + argument + "'");
        }
    }

    std::string value(const std::string& argument, std::size_t equals) {
        if (equals == std::string::npos && m_rest.empty()) throw UsageError(argument + " takes a value");
        std::string text = equals == std::string::npos ? take() : argument.substr(equals + 1);
        if (text.empty()) throw UsageError(argument.substr(0, equals) + " takes the name of a file");
        return text;
    }

    std::span<const std::string> m_rest;
    bool m_isAllTraces = false;
    Options m_options;
};

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) { return Parser(arguments).parse(); }

}  // namespace timeline
