#include "failing_allocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace foundation::tests {
namespace {

// Without initialisers or destructors to run: operators new and delete are called before the first and after the last.
constinit std::atomic<std::size_t> live = 0;
constinit thread_local std::size_t allocationsLeft = 0;  // until one fails; 0: none will
constinit thread_local bool failsFromThenOn = false;
constinit thread_local bool hasFailed = false;

bool mustFail() {
    if (hasFailed && failsFromThenOn) return true;
    if (allocationsLeft == 0 || --allocationsLeft > 0) return false;
    hasFailed = true;
    return true;
}

void* allocate(std::size_t size, std::size_t alignment) noexcept {
    if (mustFail()) return nullptr;
    const std::size_t rounded = (size + alignment) / alignment * alignment;
    void* const memory =
        alignment <= alignof(std::max_align_t) ? std::malloc(rounded) : std::aligned_alloc(alignment, rounded);
    if (memory) ++live;
    return memory;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const memory = allocate(size, alignment)) return memory;
    throw std::bad_alloc();
}

void release(void* memory) noexcept {
    if (!memory) return;
    --live;
    std::free(memory);
}

constexpr std::size_t usual = alignof(std::max_align_t);

}  // namespace

std::size_t liveAllocations() { return live; }

FailingAllocation::FailingAllocation(std::size_t number, Failures failures) {
    allocationsLeft = number;
    failsFromThenOn = failures == Failures::fromThenOn;
    hasFailed = false;
}

FailingAllocation::~FailingAllocation() {
    allocationsLeft = 0;
    failsFromThenOn = false;
}

bool FailingAllocation::wasReached() { return hasFailed; }

}  // namespace foundation::tests

using foundation::tests::allocate;
using foundation::tests::allocateOrThrow;
using foundation::tests::release;
using foundation::tests::usual;

void* operator new(std::size_t size) { return allocateOrThrow(size, usual); }
void* operator new[](std::size_t size) { return allocateOrThrow(size, usual); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, usual); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, usual); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { release(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { release(memory); }
