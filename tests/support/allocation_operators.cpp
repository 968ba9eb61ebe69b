// The operators new and delete of the programs that have this file among their sources. ThreadSanitizer keeps them to
// itself: such programs are none of its builds.

#include <cstddef>
#include <new>

#include "failing_allocation.h"

using foundation::tests::allocate;
using foundation::tests::release;

namespace {

constexpr std::size_t usual = alignof(std::max_align_t);

void* orThrow(void* memory) {
    if (!memory) throw std::bad_alloc();
    return memory;
}

std::size_t number(std::align_val_t alignment) { return static_cast<std::size_t>(alignment); }

}  // namespace

// All of them: a sanitizer's runtime has them too, and one that is wanting here would bring the others along.
void* operator new(std::size_t size) { return orThrow(allocate(size, usual)); }
void* operator new[](std::size_t size) { return orThrow(allocate(size, usual)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, usual); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, usual); }
void* operator new(std::size_t size, std::align_val_t to) { return orThrow(allocate(size, number(to))); }
void* operator new[](std::size_t size, std::align_val_t to) { return orThrow(allocate(size, number(to))); }
void* operator new(std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
    return allocate(size, number(to));
}
void* operator new[](std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
    return allocate(size, number(to));
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
