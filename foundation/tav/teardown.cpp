#include <foundation/tav/detail/messages.h>
#include <foundation/tav/detail/platform.h>
#include <foundation/tav/detail/teardown.h>
#include <foundation/tav/detail/trace.h>
#include <foundation/tav/state_ptr.h>
#include <foundation/tav/teardown.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>
// What the standard containers use:
// IWYU pragma: no_include <memory>

namespace foundation::tav {

using management::DeletionRecord;
using management::LateUseRecord;
using management::TeardownRecord;
using Clock = std::chrono::steady_clock;

namespace detail {

constinit std::atomic<bool> teardownSwitch = false;

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/// A context whose states are being deleted.
struct Destruction {
    const std::type_info* scope;
    const void* context;
    std::set<std::uint64_t> deleted;  // by type id
};

/// What is recorded, for the whole process.
struct Recorder {
    std::mutex mutex;  // held for moments, and no other is taken meanwhile: who calls may have a context locked
    std::size_t recording = 0;  // the number of recordings so far; what follows is of the latest
    TeardownRecord teardown{};
    std::map<const void*, Destruction> destructions;  // by store

    /// Never destroyed: static objects may hold the last contexts.
    static Recorder& instance() {
        static Recorder& recorder = *new Recorder;
        return recorder;
    }

    /// Runs `operation(recorder)`, and counts what there is no memory for.
    template <class Operation>
    static void record(const Operation& operation) noexcept {
        Recorder& recorder = instance();
        const std::lock_guard lock(recorder.mutex);
        try {
            operation(recorder);
        } catch (...) {
            ++recorder.teardown.lost;
        }
    }

    /// Null where there was no memory for it, or another recording has been started since.
    DeletionRecord* find(std::size_t number, std::size_t index) {
        return number == recording && index != none ? &teardown.deletions[index] : nullptr;
    }
};

/// The record with those deletions for which `isWanted(deletion, isOverdue)`; running ones last until now.
template <class Predicate>
TeardownRecord copyIf(const Predicate& isWanted) {
    Recorder& recorder = Recorder::instance();
    const std::lock_guard lock(recorder.mutex);
    const TeardownRecord& teardown = recorder.teardown;
    TeardownRecord copy{teardown.start, teardown.limit, {}, teardown.lost};
    const Clock::time_point now = Clock::now();
    for (const DeletionRecord& deletion : teardown.deletions) {
        const auto duration = deletion.isRunning ? now - deletion.begin : deletion.duration;
        if (!isWanted(deletion, duration > teardown.limit)) continue;
        copy.deletions.emplace_back(deletion).duration = duration;
    }
    return copy;
}

/// The deletion that the calling thread is in.
FOUNDATION_TAV_INITIAL_EXEC constinit thread_local const RecordedDeletion* innermost = nullptr;

std::string moduleOf(StateDeleter deleter) {
    const char* const file = platform::loadedModule(reinterpret_cast<const void*>(deleter)).file;
    return file ? file : "";
}

void add(std::vector<LateUseRecord>& uses, const LateUseRecord& use) {
    const auto known = std::find_if(uses.begin(), uses.end(), [&use](const LateUseRecord& other) {
        return other.context == use.context && other.typeID == use.typeID;
    });
    if (known == uses.end())
        uses.push_back(use);
    else if (use.isInserted)
        known->isInserted = true;
}

/// For the trace, which does without what there is no memory for.
std::optional<DeletionRecord> copyOf(const DeletionRecord& deletion) noexcept try { return deletion; } catch (...) {
    return std::nullopt;
}

/// For the trace: what names the type of a state.
std::string typeText(const std::type_info* scope, std::uint64_t typeID) {
    return "scope=" + (scope ? getName(*scope) : "") + "  id=" + std::to_string(typeID);
}

void traceLateUse(const DeletionRecord& deletion, const LateUseRecord& use) {
    trace(libraryLogger, informationSeverity, [&](auto& stream) {
        stream << (use.isInserted ? "late insert  " : "late find  ") << typeText(use.scope, use.typeID)
               << "  context=" << use.context << "  by  " << typeText(deletion.scope, deletion.typeID);
    });
}

void traceSlowness(const DeletionRecord& deletion, std::chrono::nanoseconds limit) {
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    trace(libraryLogger, informationSeverity, [&](auto& stream) {
        stream << "slow deletion  " << typeText(deletion.scope, deletion.typeID) << "  context=" << deletion.context
               << "  microseconds=" << duration_cast<microseconds>(deletion.duration).count()
               << "  limit=" << duration_cast<microseconds>(limit).count();
    });
}

void traceFindings(const DeletionRecord& deletion, std::chrono::nanoseconds limit) {
    for (const LateUseRecord& use : deletion.lateUses)
        traceLateUse(deletion, use);
    if (deletion.duration > limit) traceSlowness(deletion, limit);
}

}  // namespace

RecordedDeletion::RecordedDeletion(const std::type_info* scope, const void* context, std::uint64_t typeID,
                                   const StatePtr& state) noexcept
    : m_outer(innermost), m_depth(m_outer ? m_outer->m_depth + 1 : 0), m_index(none) {
    innermost = this;
    Recorder::record([&](Recorder& recorder) {
        m_recording = recorder.recording;
        for (auto& [store, destruction] : recorder.destructions)
            if (destruction.context == context) destruction.deleted.insert(typeID);
        std::vector<DeletionRecord>& deletions = recorder.teardown.deletions;
        deletions.push_back({scope,
                             context,
                             typeID,
                             state.get(),
                             moduleOf(state.get_deleter()),
                             std::this_thread::get_id(),
                             m_depth,
                             Clock::now(),
                             {},
                             true,
                             {}});
        m_index = deletions.size() - 1;
    });
}

RecordedDeletion::~RecordedDeletion() {
    const Clock::time_point now = Clock::now();
    innermost = m_outer;
    std::optional<DeletionRecord> ended;  // traced unlocked
    std::chrono::nanoseconds limit{};
    Recorder::record([&](Recorder& recorder) {
        DeletionRecord* const deletion = recorder.find(m_recording, m_index);
        if (!deletion) return;
        deletion->duration = now - deletion->begin;
        deletion->isRunning = false;
        limit = recorder.teardown.limit;
        const bool isFinding = !deletion->lateUses.empty() || deletion->duration > limit;
        if (isFinding && isEnabled(libraryLogger, informationSeverity)) ended = copyOf(*deletion);
    });
    if (ended) traceFindings(*ended, limit);
}

void RecordedDestruction::begin(const std::type_info& scope, const void* context, const void* store) noexcept {
    m_store = store;
    Recorder::record([&](Recorder& recorder) {
        recorder.destructions.insert_or_assign(store, Destruction{&scope, context, {}});
    });
}

void RecordedDestruction::end() noexcept {
    Recorder::record([this](Recorder& recorder) { recorder.destructions.erase(m_store); });
}

void recordLateUse(const void* store, std::uint64_t typeID, bool isInserted) noexcept {
    if (!innermost) return;
    Recorder::record([&](Recorder& recorder) {
        const auto asked = recorder.destructions.find(store);
        if (asked == recorder.destructions.end() || !asked->second.deleted.contains(typeID)) return;
        if (DeletionRecord* const deletion = recorder.find(innermost->m_recording, innermost->m_index))
            add(deletion->lateUses, {asked->second.scope, asked->second.context, typeID, isInserted});
    });
}

}  // namespace detail

namespace management {

void recordTeardown(std::chrono::nanoseconds limit) {
    detail::Recorder& recorder = detail::Recorder::instance();
    const std::lock_guard lock(recorder.mutex);
    ++recorder.recording;
    recorder.teardown = {Clock::now(), std::max(limit, std::chrono::nanoseconds(0)), {}, 0};
    recorder.destructions.clear();
    detail::teardownSwitch.store(true, std::memory_order_relaxed);
}

void stopRecordingTeardown() { detail::teardownSwitch.store(false, std::memory_order_relaxed); }

TeardownRecord recordedTeardown() {
    return detail::copyIf([](const DeletionRecord&, bool) { return true; });
}

TeardownRecord overdueDeletions() {
    return detail::copyIf(
        [](const DeletionRecord& deletion, bool isOverdue) { return deletion.isRunning && isOverdue; });
}

}  // namespace management
}  // namespace foundation::tav
