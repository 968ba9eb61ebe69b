// text_host: an application whose state lives in contexts. See states.h for what there is, projects.cpp for the
// contexts and threads, analysis.cpp for code that works in them, plugin.cpp for code that is added while it runs,
// misuse.cpp for what happens when it goes wrong.

#include <foundation/log/console.h>
#include <foundation/log/diagnostic_logger.h>
#include <foundation/state/inspect.h>
#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <foundation/state/teardown.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/error.h>
#include <foundation/tav/scope.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>
#include "analysis.h"
#include "console.h"
#include "document_analysis.h"
#include "documents.h"
#include "misuse.h"
#include "options.h"
#include "plugin.h"
#include "projects.h"
#include "report.h"
#include "states.h"
#include "teardown_log.h"

namespace text_host {

namespace {

constexpr int success = 0;
constexpr int incomplete = 1;
constexpr int wrongUsage = 2;

// No state of this host has a reason to take longer to die.
constexpr std::chrono::milliseconds deletionLimit(100);

// Details (2), information (16), scope entry (32) and exit (64), errors (512).
constexpr unsigned fullTrace = 2 | 16 | 32 | 64 | 512;

// Without a sink of the application's own, Boost.Log would write the library's records to standard output. What is
// written to a file only doesn't fill the terminal too.
void setUpTrace(const Options& options) {
    if (options.traceFile) {
        foundation::log::add_file_sink(*options.traceFile);
    }
    if (options.trace || !options.traceFile) {
        foundation::log::add_console_sink();
    }
    if (options.trace || options.traceFile) {
        foundation::log::set_severity_mask("foundation::tav", fullTrace);
    }
}

std::size_t threadsFor(const Options& options) {
    constexpr unsigned most = 4;
    return options.threads.value_or(std::clamp(std::thread::hardware_concurrency(), 1u, most));
}

// The oldest states die last: the teardown log has to see all the others go.
void createRunStates(const Options& options, std::vector<std::string>& deaths) {
    if (options.teardown) {
        createLogged<TeardownLog>(deaths);
    }
    createLogged<Console>(std::cerr, !options.trace && isatty(STDERR_FILENO) != 0);
    createLogged<Dictionary>();
    createLogged<RunSummary>();
}

void writeReport(std::vector<OpenProject>& projects) {
    for (OpenProject& project : projects) {
        const tav::management::thisthread::ContextActivator activator(project.context);
        writeProject(std::cout);
    }
    writeTotals(std::cout, projects.size());
}

// All projects are open, and none is current on another thread any more.
void writeInspection(const std::string& format) {
    const state::Snapshot snapshot = state::inspect();
    if (format == "json") {
        state::writeJson(std::cout, snapshot);
    } else if (format == "dot") {
        state::writeDot(std::cout, snapshot);
    } else {
        state::writeText(std::cout, snapshot);
    }
}

// When the last context is gone.
void writeTeardownReport(const std::string& format) {
    const state::TeardownReport report = state::teardownReport();
    if (format == "json") {
        state::writeJson(std::cout, report);
    } else {
        state::writeText(std::cout, report);
    }
}

// Unloaded while all projects are open: nothing but the plugin itself has to take its states away.
void endPlugin(Plugin& plugin, std::vector<OpenProject>& projects) {
    std::cout << "\nplugin: " << state::findOrFail<DocumentAnalysis>().name() << '\n';
    for (OpenProject& project : projects) {
        const tav::management::thisthread::ContextActivator activator(project.context);
        writePluginResult(std::cout);
    }
    writePluginStates(std::cout, "before it is unloaded", plugin.states());
    plugin.unload();
    writePluginStates(std::cout, "after it was unloaded", plugin.states());
    if (plugin.isInMemory()) {
        reportProblem({plugin.file(), "still in memory after it was unloaded"});
    }
}

int analyse(const Options& options, std::vector<std::string>& deaths) {
    tav::management::Context<tav::scope::Process> process;
    createRunStates(options, deaths);
    std::optional<Plugin> plugin;
    if (options.plugin) {
        plugin.emplace(*options.plugin);
    }
    std::vector<OpenProject> projects = openProjects(process, options.directories);
    analyseProjects(projects, threadsFor(options));
    state::findOrFail<Console>().endProgress();
    if (options.inspect) {
        writeInspection(*options.inspect);
    } else if (!options.teardownReport) {
        writeReport(projects);
    }
    if (plugin) {
        endPlugin(*plugin, projects);
    }
    closeProjects(projects);
    return state::findOrFail<RunSummary>().totals().problems == 0 ? success : incomplete;
}

int runAnalysis(const Options& options) {
    if (options.teardownReport) {
        state::recordTeardown(deletionLimit);
    }
    std::vector<std::string> deaths;  // outlives every context
    const int status = analyse(options, deaths);
    if (options.teardownReport) {
        writeTeardownReport(*options.teardownReport);
    }
    if (options.teardown) {
        writeTeardown(std::cout, deaths);
    }
    return status;
}

void writeMisuseNames(std::ostream& out) {
    for (const std::string_view name : misuseNames()) {
        out << name << '\n';
    }
}

int runMisuse(const std::string& name) {
    if (name == "list") {
        writeMisuseNames(std::cout);
        return success;
    }
    const tav::ErrorInfo info = provoke(name);
    std::cout << "message: " << info.m_message << "\nfile: " << info.m_file << "\nline: " << info.m_line
              << "\nfunction: " << info.m_function << '\n';
    return success;
}

int run(const Options& options) {
    if (options.help) {
        std::cout << usage;
        return success;
    }
    setUpTrace(options);
    return options.misuse ? runMisuse(*options.misuse) : runAnalysis(options);
}

int runChecked(const std::vector<std::string>& arguments) {
    const int status = run(parseOptions(arguments));
    if (!std::cout.flush()) {
        throw std::runtime_error("cannot write to standard output");
    }
    return status;
}

}  // namespace

}  // namespace text_host

int main(int argc, char** argv) {
    using namespace text_host;
    try {
        return runChecked(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& error) {
        std::cerr << "text_host: " << error.what() << "\n\n" << usage;
        return wrongUsage;
    } catch (const UnusablePlugin& error) {
        std::cerr << "text_host: " << error.what() << '\n';
        return wrongUsage;
    } catch (const UnknownMisuse& error) {
        std::cerr << "text_host: " << error.what() << "; there are\n";
        writeMisuseNames(std::cerr);
        return wrongUsage;
    } catch (const std::exception& error) {
        std::cerr << "text_host: " << error.what() << '\n';
        return incomplete;
    }
}
