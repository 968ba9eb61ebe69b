#pragma once

/// @file
/// How the host ends the process when something is wrong in its code, and how it names types in messages.
///
/// `terminate` has two forms. The first ends the process over a fault that was reported with a message; the second
/// ends it over a failed assertion, which callers do only if `fl_diag_terminate()` asks for it:
/// @code
/// using namespace foundation::core;
/// diag::terminate(std::string("The index is corrupt."), __FILE__, __LINE__, __func__);
///
/// if (!index && diag::fl_diag_terminate()) {
///     diag::terminate("index", __FILE__, __LINE__, __PRETTY_FUNCTION__);
/// }
/// @endcode
///
/// ## Thread safety
/// Every function may be called from any thread. Reports of several threads do not interleave.

#include <foundation/core/export.h>
#include <string>

namespace foundation::core::diag {

/// Writes the message and the place to standard error, then ends the process through `std::abort()`:
/// @code
/// The index is corrupt.
///   file: foundation/index.cpp
///   line: 42
///   function: foundation::Index::open
/// @endcode
///
/// Allocates nothing, so that it works when memory has run out. A message that is a C string selects the other form:
/// make it a `std::string`.
///
/// @param message the text, up to its first NUL
/// @param file the source file, or null where it is not known
/// @param line the line in it
/// @param function the function, or null where it is not known
[[noreturn]] FOUNDATION_CORE_EXPORT void terminate(const std::string& message, const char* file, int line,
                                                   const char* function);

/// The same for a failed assertion; the first line of the report is "assertion failed: " and the expression. It is not
/// declared as never returning, since hosts may put a version in its place that goes on.
///
/// @param expression the text of the expression that should have been true, or null where it is not known
/// @param file the source file, or null where it is not known
/// @param line the line in it
/// @param function the function, or null where it is not known
FOUNDATION_CORE_EXPORT void terminate(const char* expression, const char* file, int line, const char* function);

/// Whether failed assertions are to end the process: true until `set_fl_diag_terminate(false)`.
FOUNDATION_CORE_EXPORT bool fl_diag_terminate() noexcept;

/// Says whether failed assertions are to end the process.
FOUNDATION_CORE_EXPORT void set_fl_diag_terminate(bool terminates) noexcept;

namespace detail {

/// The readable, fully qualified name of a type: `foundation::tav::scope::Zarn` for the `name()` of its
/// `std::type_info`. A name that can't be demangled is returned as it is.
///
/// The flag is there for hosts whose demangler can be told how much to write; the names made here have one form and
/// the flag changes nothing.
///
/// REQUIRES: `name` is not null.
/// @throws std::bad_alloc
FOUNDATION_CORE_EXPORT std::string demangle_typeid_name(const char* name, bool);

}  // namespace detail

}  // namespace foundation::core::diag
