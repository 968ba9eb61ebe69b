#pragma once

/// @file
/// Feeds the record of `foundation/tav/teardown.h` from where states are deleted. While nothing is recorded, that is a
/// relaxed load for each deletion and for each destruction of a context, and nothing for a lookup.

#include <foundation/tav/state_ptr.h>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <typeinfo>

namespace foundation::tav::detail {

extern std::atomic<bool> teardownSwitch;

inline bool isTeardownRecorded() { return teardownSwitch.load(std::memory_order_relaxed); }

/// One deletion, from before the deleter's call until after it. Made only where teardown is recorded.
class RecordedDeletion {
public:
    /// Scope and context as in `DeletionRecord`.
    RecordedDeletion(const std::type_info* scope, const void* context, std::uint64_t typeID,
                     const StatePtr& state) noexcept;
    ~RecordedDeletion();
    RecordedDeletion(const RecordedDeletion&) = delete;
    RecordedDeletion& operator=(const RecordedDeletion&) = delete;

private:
    friend void recordLateUse(const void* store, std::uint64_t typeID, bool isInserted) noexcept;

    const RecordedDeletion* const m_outer;
    const std::size_t m_depth;
    std::size_t m_recording = 0;
    std::size_t m_index = 0;  // in that recording
};

/// The deletion of all states of a context. While it is recorded, `recordLateUse` has to be told of the states that are
/// looked for in vain in the context's store, and of those that are inserted.
class RecordedDestruction {
public:
    RecordedDestruction(const std::type_info& scope, const void* context, const void* store) noexcept {
        if (isTeardownRecorded()) [[unlikely]]
            begin(scope, context, store);
    }
    ~RecordedDestruction() {
        if (m_store) [[unlikely]]
            end();
    }
    RecordedDestruction(const RecordedDestruction&) = delete;
    RecordedDestruction& operator=(const RecordedDestruction&) = delete;

    bool isRecorded() const { return m_store != nullptr; }

private:
    [[gnu::cold]] void begin(const std::type_info& scope, const void* context, const void* store) noexcept;
    [[gnu::cold]] void end() noexcept;

    const void* m_store = nullptr;
};

/// Counts only within a deleter, and for a type of which a state was deleted since the destruction of the store's
/// context began.
[[gnu::cold]] void recordLateUse(const void* store, std::uint64_t typeID, bool isInserted) noexcept;

}  // namespace foundation::tav::detail
