#pragma once

/// @file
/// The end of every misuse that the library detects.

#include <foundation/tav/error.h>

namespace foundation::tav::detail {

/// Writes the record to the trace, calls the installed handler, and ends the process if that returns. What the handler
/// throws goes to the caller; nothing else comes out.
[[noreturn, gnu::cold]] void reportError(const ErrorInfo& info);

}  // namespace foundation::tav::detail
