#pragma once

/// @file
/// Memory that ends where a test wants it to. Linking failing_allocation.cpp replaces the program's operators new and
/// delete, those that the libraries call included.

#include <cstddef>

namespace foundation::tests {

/// The number of allocations of the whole program that have not been freed.
std::size_t liveAllocations();

enum class Failures { once, fromThenOn };

/// While it lives, the allocation of that number on the calling thread, counted from 1, throws `std::bad_alloc`, and if
/// asked, all those after it.
class FailingAllocation {
public:
    FailingAllocation(std::size_t number, Failures failures);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether the allocation was asked for.
    static bool wasReached();
};

}  // namespace foundation::tests
