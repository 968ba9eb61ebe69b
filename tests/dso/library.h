#pragma once

/// @file
/// A library that is loaded for as long as it is wanted.

#include <dlfcn.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::tests {

class Library {
public:
    explicit Library(const std::string& file) : m_handle(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!m_handle) throw std::runtime_error(dlerror());
    }
    ~Library() { unload(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void unload() {
        if (void* const handle = std::exchange(m_handle, nullptr)) dlclose(handle);
    }

    /// Leaves it loaded to the end of the process.
    void keep() { m_handle = nullptr; }

    template <class Function>
    Function symbol(const char* name) const {
        return reinterpret_cast<Function>(dlsym(m_handle, name));
    }

private:
    void* m_handle;
};

}  // namespace foundation::tests
