#pragma once

/// @file
/// Allocations that fail when they are told to. A program that has operators.cpp in it replaces the global operators
/// new and delete; they also refuse sizes that no machine has.

namespace foundation::tests::model {

/// Lets one allocation of this thread throw `std::bad_alloc`: the n-th from now, counted from 1; none for 0.
class FailingAllocation {
public:
    explicit FailingAllocation(unsigned n);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether it has come to that on this thread, since this was asked last.
    static bool takeFailure();

private:
    const bool m_isArmed;
};

/// Counts an allocation of this thread. Whether it is to fail.
bool isAllocationToFail();

/// No allocation of this thread fails, or counts, while it lives.
class SparedAllocations {
public:
    SparedAllocations();
    ~SparedAllocations();
    SparedAllocations(const SparedAllocations&) = delete;
    SparedAllocations& operator=(const SparedAllocations&) = delete;

private:
    const unsigned m_left;
};

}  // namespace foundation::tests::model
