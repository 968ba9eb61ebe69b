#pragma once

/// @file
/// The host of the lessons: an editor with settings, a dictionary for each project, and a selection for each document.

#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <set>
#include <string>
#include <vector>

namespace editor {

using namespace foundation;
using tav::management::thisthread::ContextActivator;

using Application = tav::management::Context<tav::scope::Process>;
using Project = tav::management::Context<tav::scope::Zarn>;
using Document = tav::management::Context<tav::scope::Workspace>;

struct Settings {
    using StateScope = tav::scope::Process;
    bool wrapsLines = true;
};

struct Dictionary {
    using StateScope = tav::scope::Zarn;
    std::set<std::string> words;
};

struct Selection {
    using StateScope = tav::scope::Workspace;
    std::vector<int> items;
};

}  // namespace editor
