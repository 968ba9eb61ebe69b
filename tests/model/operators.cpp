#include "failing_allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t largest = std::size_t{1} << 40;

void* allocate(std::size_t size, std::align_val_t alignment = std::align_val_t(alignof(std::max_align_t))) noexcept {
    if (size > largest || foundation::tests::model::isAllocationToFail()) return nullptr;
    const auto boundary = static_cast<std::size_t>(alignment);
    return std::aligned_alloc(boundary, (size / boundary + 1) * boundary);
}

void* orThrow(void* memory) {
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

// All of them: a sanitizer's runtime has them too, and one that is wanting here would bring the others along.
void* operator new(std::size_t size) { return orThrow(allocate(size)); }
void* operator new[](std::size_t size) { return orThrow(allocate(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t to) { return orThrow(allocate(size, to)); }
void* operator new[](std::size_t size, std::align_val_t to) { return orThrow(allocate(size, to)); }
void* operator new(std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept { return allocate(size, to); }
void* operator new[](std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept {
    return allocate(size, to);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept { std::free(memory); }
