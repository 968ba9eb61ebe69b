#include "failing_allocation.h"

#include <atomic>
#include <cstdlib>
#include <utility>

namespace foundation::tests {
namespace {

constexpr std::size_t largestSize = std::size_t{1} << 40;

// Without initialisers or destructors to run: operators new and delete are called before the first and after the last.
constinit std::atomic<std::size_t> live = 0;
constinit thread_local std::size_t asked = 0;
constinit thread_local std::size_t left = 0;  // allocations until one fails, with it; 0: none will
constinit thread_local Failures kind = Failures::once;
constinit thread_local bool hasFailed = false;

bool mustFail() {
    if (left != 1) {
        if (left > 1) --left;
        return false;
    }
    if (kind == Failures::once) left = 0;
    hasFailed = true;
    return true;
}

void* allocateUnlimited(std::size_t size, std::size_t alignment) {
    if (alignment <= alignof(std::max_align_t)) return std::malloc(size > 0 ? size : 1);
    return std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
}

}  // namespace

std::size_t liveAllocations() { return live; }
std::size_t allocationCount() { return asked; }

FailingAllocation::FailingAllocation(std::size_t number, Failures failures) {
    left = number;
    kind = failures;
}

FailingAllocation::~FailingAllocation() { left = 0; }

bool FailingAllocation::takeFailure() { return std::exchange(hasFailed, false); }

SparedAllocations::SparedAllocations() : m_left(std::exchange(left, 0)) {}

SparedAllocations::~SparedAllocations() { left = m_left; }

void* allocate(std::size_t size, std::size_t alignment) noexcept {
    ++asked;
    if (size > largestSize || mustFail()) return nullptr;
    void* const memory = allocateUnlimited(size, alignment);
    if (memory) ++live;
    return memory;
}

void release(void* memory) noexcept {
    if (!memory) return;
    --live;
    std::free(memory);
}

}  // namespace foundation::tests
