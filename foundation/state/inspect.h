#pragma once

/// @file
/// What is alive right now, who owns it, and where is it current: `inspect` takes a snapshot of the contexts and their
/// states as plain values, and three functions write it down: for people, for programs, and as a picture.
///
/// Example: an error handler that shows what there was when things went wrong.
/// @code
/// foundation::state::writeText(std::cerr, foundation::state::inspect());
/// @endcode
/// That writes
/// @code{.unparsed}
/// Process 0x5581e2a0, running, activated 1 time
///     host::Settings, id 0, 48 bytes at 0x5581e310, deleter in /usr/bin/host
///     Zarn 0x5581e3c0, running, current on this thread
///         host::Document, id 0, 120 bytes at 0x5581e440, deleter in /usr/bin/host
/// @endcode

#include <foundation/state/export.h>
#include <foundation/tav/inspect.h>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace foundation::state {

/// One stored state object.
struct StateInfo {
    std::string type;                 ///< Its readable name; "(id 7)" where it was stored without this library.
    std::uint64_t id = 0;             ///< Of the type, in the scope of the context.
    std::optional<std::size_t> size;  ///< Of the type in bytes; none where no module has told its definition.
    const void* address = nullptr;    ///< The object; it may be gone by now.
    std::string module;               ///< The file that its deleter lies in; empty where that is no module.
};

/// One context, with all that is in it. The addresses name contexts as the trace does, and lead nowhere else.
struct ContextInfo {
    std::string scope;              ///< "Process", "Zarn" or "Workspace".
    const void* address = nullptr;  ///< The context's identity.
    const void* parent = nullptr;   ///< The parent's; null for Process.
    tav::management::ContextState state = tav::management::ContextState::running;  ///< How far its life has come.
    std::uint64_t activations = 0;      ///< Zarn, Workspace: 0 or 1, and more only after refused activations.
    bool isCurrent = false;             ///< For the calling thread; for Process, in the whole process.
    std::vector<StateInfo> states;      ///< Newest first.
    std::vector<ContextInfo> children;  ///< In the order of their creation.
};

/// The active Process context, if there is one, and what is below it.
struct Snapshot {
    std::optional<ContextInfo> process;  ///< With its children in it.
};

/// What there is: a context that has left its parent, which is the first step of its destruction, belongs no more.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `inspectContexts` (`foundation/tav/inspect.h`): any thread may call it at any time, before there is a context
/// and after the last as well, where no other thread uses Zarn and Workspace contexts meanwhile; and so may deleters,
/// error handlers and sinks of the trace.
///
/// Linear in the number of contexts and states, times the logarithm of the number of types.
FOUNDATION_STATE_EXPORT Snapshot inspect();

/// Writes a line per context and per state, indented by four blanks per level, or the line "No Process context is
/// active.". The global locale and the stream's have no influence, as in the other two.
FOUNDATION_STATE_EXPORT void writeText(std::ostream& out, const Snapshot& snapshot);

/// Writes one JSON object and a line feed. Its one member, `process`, is null or the Process context. A context has the
/// members of `ContextInfo` under their names: addresses are strings as "0x5581e2a0", `state` is "running", "shutdown"
/// or "destroyed", and what there is none of (a parent, a size) is null. Bytes of file names that are no UTF-8 are
/// written as U+FFFD.
FOUNDATION_STATE_EXPORT void writeJson(std::ostream& out, const Snapshot& snapshot);

/// Writes a graph in Graphviz's language: a box per context, which lists its states, below that of its parent; those
/// current on the calling thread have a thick border, those current on others a dashed one. `dot -Tsvg` draws it.
FOUNDATION_STATE_EXPORT void writeDot(std::ostream& out, const Snapshot& snapshot);

}  // namespace foundation::state
