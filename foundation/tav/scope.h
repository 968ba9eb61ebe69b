#pragma once

/// @file
/// The three nested scopes at which state lives: one `Process` context for the whole process, any number of `Zarn`
/// contexts below it, and at most one `Workspace` context at a time below each `Zarn` context.
///
/// The tags are never used as values; they select the scope of `management::Context<Scope>` and `Detail<Scope>`.

#include <foundation/tav/export.h>

namespace foundation::tav::scope {

/// State shared by all threads of the process.
struct FOUNDATION_TAV_EXPORT Process {};

/// State of one of several independent units of work inside the process, current on one thread at a time.
struct FOUNDATION_TAV_EXPORT Zarn {};

/// State of the one workspace that is open in a `Zarn` context, current on the same thread as that context.
struct FOUNDATION_TAV_EXPORT Workspace {};

}  // namespace foundation::tav::scope
