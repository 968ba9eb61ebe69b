#pragma once

#include <string>

namespace foundation::core::diag {

/// What this host throws where others would end the process.
struct Terminated {};

[[noreturn]] void terminate(const std::string& message, const char* file, int line, const char* function);
void terminate(const char* expression, const char* file, int line, const char* function);
bool fl_diag_terminate();

namespace detail {

std::string demangle_typeid_name(const char* name, bool);

}  // namespace detail

}  // namespace foundation::core::diag
