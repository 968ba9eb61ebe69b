#pragma once

/// @file
/// Projects as contexts: a Zarn context per project, a Workspace context per document that is open in it, and the
/// threads that work in them.

#include <foundation/tav/context.h>
#include <foundation/tav/context_set.h>
#include <foundation/tav/scope.h>
#include <cstddef>
#include <filesystem>
#include <vector>

namespace text_host {

namespace tav = foundation::tav;

/// An open project. Freeing it destroys its context, and the states in it.
struct OpenProject {
    tav::management::Context<tav::scope::Zarn> context;
    tav::management::ContextSet forWorker;  ///< carries the context to the thread that will work in it
};

/// Opens the directories as projects, in the order given. Those that are none are reported as problems.
///
/// REQUIRES: the Process context is active and holds the states of the run.
std::vector<OpenProject> openProjects(tav::management::Context<tav::scope::Process>& process,
                                      const std::vector<std::filesystem::path>& directories);

/// Analyses the projects, each on one of as many threads as are given, at most one per project. What can't be analysed
/// is reported as a problem and the rest is still done.
///
/// @throws std::system_error where no thread can be started; those that were started have ended by then
void analyseProjects(std::vector<OpenProject>& projects, std::size_t threads);

/// Closes the projects, newest first.
void closeProjects(std::vector<OpenProject>& projects);

}  // namespace text_host
