#pragma once

/// @file
/// A list that drops its shortest entries rather than grow beyond a limit.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>
#include "record.h"

namespace timeline {

/// `T` has the members `begin` and `end`.
template <class T>
class Longest {
public:
    explicit Longest(std::size_t limit) : m_limit(limit) {}

    void add(T entry) {
        if (m_entries.size() == m_limit && !isTooShort(entry)) dropShorterHalf();
        if (isTooShort(entry)) {
            ++m_dropped;
        } else {
            m_entries.push_back(std::move(entry));
        }
    }

    std::vector<T>& entries() { return m_entries; }
    std::uint64_t dropped() const { return m_dropped; }

    /// No entry that is longer was dropped.
    Time longestDropped() const { return m_longestDropped; }

private:
    static Time length(const T& entry) { return entry.end - entry.begin; }

    bool isTooShort(const T& entry) const { return length(entry) <= m_longestDropped; }

    void dropShorterHalf() {
        const auto middle = m_entries.begin() + static_cast<std::ptrdiff_t>(m_entries.size() / 2);
        std::nth_element(m_entries.begin(), middle, m_entries.end(),
                         [](const T& a, const T& b) { return length(a) < length(b); });
        m_longestDropped = length(*middle);
        m_dropped += std::erase_if(m_entries, [this](const T& entry) { return length(entry) <= m_longestDropped; });
    }

    std::size_t m_limit;
    std::vector<T> m_entries;
    std::uint64_t m_dropped = 0;
    Time m_longestDropped = -1;
};

}  // namespace timeline
