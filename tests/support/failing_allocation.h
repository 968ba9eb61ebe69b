#pragma once

/// @file
/// Memory that ends where a test wants it to, for programs that have allocation_operators.cpp among their sources: it
/// replaces the operators new and delete, those that the libraries call included. Sizes that no machine has are refused
/// without asking for them.

#include <cstddef>

namespace foundation::tests {

/// The number of allocations of the whole program that have not been freed.
std::size_t liveAllocations();

/// The number of allocations that this thread has asked for.
std::size_t allocationCount();

enum class Failures { once, fromThenOn };

/// While it lives, the allocation of that number on the calling thread, counted from 1, throws `std::bad_alloc`, and if
/// asked, all those after it; none for 0. One at a time, but for what a `SparedAllocations` encloses.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t number, Failures failures = Failures::once);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether it has come to that on this thread, since this was asked last.
    static bool takeFailure();
};

/// While it lives, no allocation of the calling thread fails, or is counted towards the one that is to.
class SparedAllocations {
public:
    SparedAllocations();
    ~SparedAllocations();
    SparedAllocations(const SparedAllocations&) = delete;
    SparedAllocations& operator=(const SparedAllocations&) = delete;

private:
    const std::size_t m_left;
};

/// What the operators do. Null where memory has ended.
void* allocate(std::size_t size, std::size_t alignment) noexcept;
void release(void* memory) noexcept;

}  // namespace foundation::tests
