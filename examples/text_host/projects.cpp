#include "projects.h"

#include <foundation/state/hand_off.h>
#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <algorithm>
#include <atomic>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include "analysis.h"
#include "documents.h"
#include "states.h"
#include "teardown_log.h"

namespace text_host {

namespace fs = std::filesystem;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;

namespace {

// The context is current on this thread only while its states are put into it; then it is handed off to the worker.
OpenProject openProject(Context<tav::scope::Process>& process, const fs::path& directory) {
    Context<tav::scope::Zarn> context(process);
    ContextActivator activator(context);
    createLogged<Project>(directory);
    createLogged<ProjectIndex>(directory);
    return {std::move(context), state::handOff(activator)};
}

// The activator ends before the context that it made current is destroyed: declared later, gone earlier.
void analyseDocument(Context<tav::scope::Zarn>& project, const fs::path& path) {
    std::string text = readDocument(path);
    Context<tav::scope::Workspace> workspace(project);
    const ContextActivator activator(workspace);
    createLogged<Document>(path, std::move(text));
    countWords();
    indexDocument();
    runPluginAnalysis();
}

// One failure is no reason to leave out the rest.
void tryWith(const fs::path& path, const std::function<void(const fs::path&)>& work) {
    try {
        work(path);
    } catch (const std::exception& error) {
        reportProblem({path, error.what()});
    }
}

void analyseFolder(Context<tav::scope::Zarn>& project, const fs::path& folder) {
    const Listing listing = listDocuments(folder);
    for (const Problem& problem : listing.problems) {
        reportProblem(problem);
    }
    for (const fs::path& path : listing.documents) {
        tryWith(path, [&project](const fs::path& document) { analyseDocument(project, document); });
    }
}

void analyseProject(OpenProject& project) {
    const ContextActivator activator(std::move(project.forWorker));
    tryWith(state::findOrFail<Project>().directory,
            [&project](const fs::path& folder) { analyseFolder(project.context, folder); });
}

}  // namespace

std::vector<OpenProject> openProjects(Context<tav::scope::Process>& process, const std::vector<fs::path>& directories) {
    std::vector<OpenProject> projects;
    for (const fs::path& directory : directories) {
        if (const auto reason = whyNoDirectory(directory)) {
            reportProblem({directory, *reason});
        } else {
            projects.push_back(openProject(process, directory));
        }
    }
    return projects;
}

void analyseProjects(std::vector<OpenProject>& projects, std::size_t threads) {
    std::atomic<std::size_t> next = 0;
    const auto work = [&projects, &next] {
        for (std::size_t index = next++; index < projects.size(); index = next++) {
            analyseProject(projects[index]);
        }
    };
    std::vector<std::jthread> workers;  // joined when they go
    for (std::size_t count = std::min(threads, projects.size()); count > 0; --count) {
        workers.emplace_back(work);
    }
}

void closeProjects(std::vector<OpenProject>& projects) {
    while (!projects.empty()) {
        projects.pop_back();
    }
}

}  // namespace text_host
