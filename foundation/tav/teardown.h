#pragma once

/// @file
/// Who dies late: a record of every deletion of a state, with how long its deleter took and which states that were gone
/// already it still asked for. Nothing is recorded until the host switches it on.
///
/// A deleter may use the contexts, and the states that are older than its own are there for it. What it must not rely
/// on are those that its context's destruction has deleted before: it finds none, or, with `findOrInsert`, makes one
/// anew that outlives the teardown's plan. Such *late uses* are noted with the deletion in which they happen.
///
/// Example: what did not end within a second, asked by the host's own watchdog while it hangs.
/// @code
/// management::recordTeardown(std::chrono::seconds(1));
/// // on another thread, later
/// for (const management::DeletionRecord& deletion : management::overdueDeletions().deletions)
///     std::cerr << deletion.typeID << " of " << deletion.context << ", deleter in " << deletion.module << '\n';
/// @endcode
///
/// While it records, the library also writes what it finds to the trace (severity 16), right after a deletion: `late
/// find`, `late insert` and `slow deletion`.
///
/// ## Thread safety
/// Any thread may call these functions at any time.
/// ## Errors
/// They throw `std::bad_alloc`. Recording itself never fails a deletion: what there is no memory for is counted.
/// ## Lifetime
/// What is recorded belongs to the process and is there until the recording is started again: also when the last
/// context is gone, and while static objects are destroyed. The results are the caller's.
/// ## Re-entrancy
/// Deleters, error handlers and sinks of the trace may call them.

#include <foundation/tav/export.h>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

namespace foundation::tav::management {

/// A deleter has asked for a state that had been deleted since its context's destruction began. (States that `eraseAll`
/// deletes meanwhile don't count: their deletions name no context.)
struct LateUseRecord {
    const std::type_info* scope;  ///< `typeid` of the tag of the context that was asked.
    const void* context;          ///< Its identity.
    std::uint64_t typeID;         ///< Of the state asked for.
    bool isInserted;              ///< It was not only looked for, but made anew.
};

/// One deletion. The addresses name what they belonged to, and lead nowhere.
struct DeletionRecord {
    const std::type_info* scope;  ///< `typeid` of the tag of the state's scope; null for one that was stored after its
                                  ///< context's destruction, and deleted when that was freed.
    const void* context;          ///< Its context's identity; null where `eraseAll` deleted it, and where `scope` is.
    std::uint64_t typeID;         ///< Of the state.
    const void* address;          ///< The object.
    std::string module;           ///< The file that the deleter lies in, or lay in; empty where that is no module.
    std::thread::id thread;       ///< On which the deleter was called.
    std::size_t depth;            ///< The number of deleters of that thread that were running already, but for those
                                  ///< that were called while nothing was recorded.
    std::chrono::steady_clock::time_point begin;  ///< When the deleter was called.
    std::chrono::nanoseconds duration;            ///< How long it took, or how long it has been running.
    bool isRunning;                               ///< It has not returned.
    std::vector<LateUseRecord> lateUses;          ///< Each type of a context once, in the order of their first use.
};

/// All deletions since the recording was started.
struct TeardownRecord {
    std::chrono::steady_clock::time_point start;  ///< When it was started, or never (the clock's epoch).
    std::chrono::nanoseconds limit;               ///< A deletion that takes longer is overdue.
    std::vector<DeletionRecord> deletions;        ///< In the order in which they began.
    std::uint64_t lost;                           ///< How often there was no memory to record something.
};

/// Starts the recording, with nothing in it; deletions that are running belong to it no more, and in a destruction that
/// is in progress no use counts as late. A negative limit is taken for zero. What is recorded grows with each deletion,
/// by some hundred bytes.
FOUNDATION_TAV_EXPORT void recordTeardown(std::chrono::nanoseconds limit);

/// Ends the recording. What there is stays, and deletions that are running are recorded to their end.
FOUNDATION_TAV_EXPORT void stopRecordingTeardown();

/// What has been recorded. Linear in the number of deletions.
FOUNDATION_TAV_EXPORT TeardownRecord recordedTeardown();

/// The part of it that is running and has taken longer than the limit. Linear in the number of recorded deletions.
FOUNDATION_TAV_EXPORT TeardownRecord overdueDeletions();

}  // namespace foundation::tav::management
