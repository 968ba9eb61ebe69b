#include "options.h"

#include <charconv>
#include <initializer_list>
#include <span>
#include <system_error>
#include <utility>

namespace text_host {

const std::string_view usage =
    "usage: text_host [--plugin FILE] [--threads N] [--teardown] [TRACE] DIR...\n"
    "       text_host --inspect FORMAT|--teardown-report FORMAT [--threads N] [TRACE] DIR...\n"
    "       text_host [TRACE] --misuse NAME|list\n"
    "       text_host --help\n"
    "TRACE: [--trace] [--trace-file FILE]\n"
    "\n"
    "Counts the words of every text file below each DIR, which is a project of its own.\n"
    "\n"
    "  --inspect FORMAT\n"
    "                 show what is alive when all files were read, in the place of the tables: as\n"
    "                 text, json or dot (for Graphviz)\n"
    "  --plugin FILE  add the analysis of a plugin, and show what the plugin leaves behind when\n"
    "                 it is unloaded\n"
    "  --threads N    work on N projects at a time (1 to 256; default: as many as there are\n"
    "                 projects and processors, at most 4)\n"
    "  --teardown     show the order in which the states died\n"
    "  --teardown-report FORMAT\n"
    "                 show how long each state took to die and what its deleter asked for in\n"
    "                 vain, in the place of the tables: as text or json\n"
    "  --trace        show the library's diagnostic trace on standard error\n"
    "  --trace-file FILE\n"
    "                 append the trace to a file, from which tav-timeline makes a page\n"
    "  --misuse NAME  misuse the library on purpose and show what its error handler gets;\n"
    "                 'list' lists the names\n"
    "\n"
    "Exit status: 0 when everything was read, 1 when something was not, 2 for a wrong command line\n"
    "or plugin.\n";

namespace {

constexpr std::size_t mostThreads = 256;

std::size_t parseThreads(const std::string& text) {
    std::size_t threads = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, threads);
    if (error != std::errc() || rest != end || threads < 1 || threads > mostThreads) {
        throw UsageError("--threads takes a number from 1 to 256, not '" + text + "'");
    }
    return threads;
}

std::string parseFormat(const std::string& option, const std::string& text) {
    const bool hasGraph = option == "--inspect";
    if (text != "text" && text != "json" && (!hasGraph || text != "dot")) {
        throw UsageError(option + " takes " + (hasGraph ? "text, json or dot" : "text or json") + ", not '" + text +
                         "'");
    }
    return text;
}

class Parser {
public:
    explicit Parser(std::span<const std::string> arguments) : m_rest(arguments) {}

    Options parse() {
        while (!m_rest.empty()) {
            parseArgument(take());
        }
        check();
        return std::move(m_options);
    }

private:
    std::string take() {
        std::string argument = m_rest.front();
        m_rest = m_rest.subspan(1);
        return argument;
    }

    void parseArgument(const std::string& argument) {
        if (argument == "--") {
            m_options.directories.insert(m_options.directories.end(), m_rest.begin(), m_rest.end());
            m_rest = {};
        } else if (argument.starts_with('-') && argument != "-") {
            parseOption(argument);
        } else {
            m_options.directories.emplace_back(argument);
        }
    }

    void parseOption(const std::string& argument) {
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (name == "--threads") {
            m_options.threads = parseThreads(value(argument, equals));
        } else if (name == "--inspect") {
            m_options.inspect = parseFormat(name, value(argument, equals));
        } else if (name == "--teardown-report") {
            m_options.teardownReport = parseFormat(name, value(argument, equals));
        } else if (name == "--misuse") {
            m_options.misuse = value(argument, equals);
        } else if (name == "--plugin") {
            m_options.plugin = value(argument, equals);
        } else if (name == "--trace-file") {
            m_options.traceFile = value(argument, equals);
        } else {
            flag(argument) = true;
        }
    }

    std::string value(const std::string& argument, std::size_t equals) {
        if (equals != std::string::npos) {
            return argument.substr(equals + 1);
        }
        if (m_rest.empty()) {
            throw UsageError(argument + " takes a value");
        }
        return take();
    }

    bool& flag(const std::string& argument) {
        if (argument == "--help") {
            return m_options.help;
        }
        if (argument == "--teardown") {
            return m_options.teardown;
        }
        if (argument == "--trace") {
            return m_options.trace;
        }
        throw UsageError("unknown option '" + argument + "'");
    }

    void check() const {
        if (m_options.help) {
            return;
        }
        if (!m_options.misuse && m_options.directories.empty()) {
            throw UsageError("no DIR given");
        }
        if (m_options.misuse && !m_options.directories.empty()) {
            throw UsageError("--misuse takes no DIR");
        }
        const Given misuse{"--misuse", m_options.misuse.has_value()};
        const Given inspect{"--inspect", m_options.inspect.has_value()};
        const Given plugin{"--plugin", m_options.plugin.has_value()};
        const Given teardown{"--teardown", m_options.teardown};
        const Given teardownReport{"--teardown-report", m_options.teardownReport.has_value()};
        exclude(misuse, {inspect, plugin, teardownReport});
        exclude(inspect, {plugin, teardownReport});
        exclude(teardownReport, {plugin, teardown});
    }

    struct Given {
        std::string name;
        bool isGiven;
    };

    static void exclude(const Given& option, std::initializer_list<Given> others) {
        for (const Given& other : others) {
            if (option.isGiven && other.isGiven) {
                throw UsageError(option.name + " takes no " + other.name);
            }
        }
    }

    std::span<const std::string> m_rest;
    Options m_options;
};

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) { return Parser(arguments).parse(); }

}  // namespace text_host
