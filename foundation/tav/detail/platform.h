#pragma once

/// @file
/// Whatever the libraries take from the platform beyond C++20 and Boost, but for the marks of what they export, which
/// are each library's `export.h`: of the compiler, of its C++ ABI and of the loader. A port to another platform begins
/// and ends in these files and in the compiler's options (`cmake/FoundationLibrary.cmake`).
///
/// Attributes that are mere hints (`gnu::cold`, `gnu::noinline`) stand where they are meant: compilers pass over those
/// that they don't know.

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <sys/auxv.h>
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <span>
#include <string_view>
#include <typeinfo>

#if !defined(__GNUC__) || !defined(__ELF__) || !defined(__LP64__)
#error "Neither g++ nor clang++ on a 64-bit ELF platform: say here what this one has for each of these."
#endif

/// The enclosing function with its whole signature, as the compiler writes it.
#define FOUNDATION_TAV_SIGNATURE __PRETTY_FUNCTION__

/// Initialises a global before all those of the program that have the default priority, also in a static build.
#define FOUNDATION_TAV_INIT_FIRST [[gnu::init_priority(101)]]

/// Puts a thread-local variable at a fixed distance from the thread pointer, even in a shared library. The loader sets
/// room for a few pointers aside for libraries that are loaded late.
#define FOUNDATION_TAV_INITIAL_EXEC [[gnu::tls_model("initial-exec")]]

namespace foundation::tav::detail::platform {

/// Two pointers in a register, as numbers; may be read from where pointers are.
using PointerPair [[gnu::vector_size(16), gnu::may_alias]] = std::uintptr_t;

/// Where the executable or a shared library lies in memory.
struct LoadedModule {
    const char* file = nullptr;  // as the loader found it; null for what is no module
    const void* begin = nullptr;
    const void* end = nullptr;
};

/// The program, `offset` away from the addresses that it was linked for. Its segments may lie apart, as those for
/// AArch64 do: the loader then knows no more than each of them.
// NOLINTBEGIN(performance-no-int-to-ptr): the kernel and ELF have addresses as numbers
inline LoadedModule program(std::uintptr_t offset) {
    using Header = ElfW(Phdr);
    const std::span headers(reinterpret_cast<const Header*>(getauxval(AT_PHDR)), getauxval(AT_PHNUM));
    std::uintptr_t begin = UINTPTR_MAX;
    std::uintptr_t end = 0;
    for (const Header& header : headers) {
        if (header.p_type != PT_LOAD) continue;
        begin = std::min(begin, offset + header.p_vaddr);
        end = std::max(end, offset + header.p_vaddr + header.p_memsz);
    }
    return {program_invocation_name, reinterpret_cast<const void*>(begin), reinterpret_cast<const void*>(end)};
}
// NOLINTEND(performance-no-int-to-ptr)

/// The module that an address lies in. Takes no lock.
inline LoadedModule loadedModule(const void* address) {
    dl_find_object found{};
    if (_dl_find_object(const_cast<void*>(address), &found) != 0) return {};
    const link_map& module = *found.dlfo_link_map;
    // The loader has no name for the program itself.
    return *module.l_name ? LoadedModule{module.l_name, found.dlfo_map_start, found.dlfo_map_end}
                          : program(module.l_addr);
}

/// Of a pointer's type the type pointed at, complete or not: the Itanium ABI has the one in the other.
inline const std::type_info& pointedAt(const std::type_info& pointer) {
    return *static_cast<const abi::__pbase_type_info&>(pointer).__pointee;
}

/// Whether the type of this mangled name is of an unnamed namespace, or has such a type in its name.
inline bool isOfUnnamedNamespace(std::string_view name) { return name.find("_GLOBAL__N_") != std::string_view::npos; }

}  // namespace foundation::tav::detail::platform
