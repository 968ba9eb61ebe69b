#pragma once

/// @file
/// Who dies late: what `foundation/tav/teardown.h` has recorded, with the types by their names, and written down for
/// people and for programs.
///
/// Example: a host that looks at its own end.
/// @code
/// foundation::state::recordTeardown(std::chrono::milliseconds(100));
/// closeEverything();
/// foundation::state::writeText(std::cerr, foundation::state::teardownReport());
/// @endcode
/// That writes
/// @code{.unparsed}
/// 3 deletions, 1 over the limit of 100.000 ms, 1 late use
/// host::Selection, id 0, of Workspace 0x5581e440: 0.012 ms, deleter in /usr/bin/host
/// host::Cache, id 3, of Zarn 0x5581e3c0: 1503.190 ms, over the limit, deleter in /usr/lib/host/cache.so
///     looked for host::Index of Zarn 0x5581e3c0, which was gone
///     host::Page, id 7, of Zarn 0x5581e3c0: 0.002 ms, deleter in /usr/lib/host/cache.so
/// @endcode
/// The deletion of the cache took too long, its deleter would have needed the index, which had been deleted before, and
/// it deleted another state.

#include <foundation/state/export.h>
#include <foundation/tav/teardown.h>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <thread>
#include <vector>

namespace foundation::state {

using tav::management::recordTeardown;
using tav::management::stopRecordingTeardown;

/// A deleter has asked for a state that had been deleted since its context's destruction began.
struct LateUse {
    std::string type;               ///< Of the state asked for; "(id 7)" where it is used without this library.
    std::uint64_t id = 0;           ///< Of the type, in the scope.
    std::string scope;              ///< "Process", "Zarn" or "Workspace".
    const void* context = nullptr;  ///< The context that was asked.
    bool isInserted = false;        ///< It was not only looked for, but made anew.
};

/// One deletion. The addresses name what they belonged to, and lead nowhere.
struct Deletion {
    std::string type;                     ///< Of the state; "(id 7)" where it was stored without this library.
    std::uint64_t id = 0;                 ///< Of the type, in the scope.
    std::string scope;                    ///< Empty for a state that was stored after its context's destruction.
    const void* context = nullptr;        ///< Null where `eraseAll` deleted it, and where `scope` is empty.
    const void* address = nullptr;        ///< The object.
    std::string module;                   ///< The file that the deleter lies in; empty where that is no module.
    std::thread::id thread;               ///< On which the deleter was called.
    std::size_t depth = 0;                ///< The number of deleters of that thread that were running already.
    std::chrono::nanoseconds begin{};     ///< Since the start of the recording.
    std::chrono::nanoseconds duration{};  ///< How long it took, or how long it has been running.
    bool isRunning = false;               ///< It has not returned.
    bool isOverdue = false;               ///< It took longer than the limit.
    std::vector<LateUse> lateUses;        ///< In the order of their first use.
};

/// What has been recorded, or a part of it.
struct TeardownReport {
    std::chrono::nanoseconds limit{};  ///< A deletion that takes longer is overdue.
    std::vector<Deletion> deletions;   ///< In the order in which they began.
    std::uint64_t lost = 0;            ///< How often there was no memory to record something.
};

/// All deletions since the recording was started, those that are running too.
///
/// ## Thread safety
/// ## Errors
/// ## Lifetime
/// ## Re-entrancy
/// As for `recordedTeardown` (`foundation/tav/teardown.h`): any thread may call it at any time, also deleters, error
/// handlers and sinks of the trace; it throws `std::bad_alloc`. A sink must not call it for the trace's record of
/// `getNextID`, since what is known of types is locked then.
///
/// Linear in the number of deletions, times the logarithm of the number of types.
FOUNDATION_STATE_EXPORT TeardownReport teardownReport();

/// Those of them that are running and have taken longer than the limit: for a watchdog of the host, which asks from
/// time to time.
FOUNDATION_STATE_EXPORT TeardownReport overdueDeletions();

/// Writes a line with the numbers, and one for each deletion, indented by four blanks per level; below it, indented
/// further, what its deleter asked for in vain. Deletions of other threads may stand between. The global locale and the
/// stream's have no influence.
FOUNDATION_STATE_EXPORT void writeText(std::ostream& out, const TeardownReport& report);

/// Writes one JSON object and a line feed, with the members of `TeardownReport` under their names. Durations are whole
/// numbers with the unit in the name (`limitNanoseconds`, `beginNanoseconds`, `durationNanoseconds`), addresses strings
/// as "0x5581e2a0", threads strings as `std::thread::id` is streamed; what there is none of (a scope, a context) is
/// null. Bytes of file names that are no UTF-8 are written as U+FFFD.
FOUNDATION_STATE_EXPORT void writeJson(std::ostream& out, const TeardownReport& report);

}  // namespace foundation::state
