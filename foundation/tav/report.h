#pragma once

/// @file
/// `reportError`: the end of every misuse that is detected, here or in a layer above.

#include <foundation/tav/error.h>
#include <foundation/tav/export.h>

namespace foundation::tav {

/// Writes the record to the trace, calls the installed handler, and ends the process if that returns. What the handler
/// throws goes to the caller; nothing else comes out. Any thread may call it at any time.
///
/// Example:
/// @code
/// if (!document) reportError({"There is no document to save.", __FILE__, __LINE__, "host::save"});
/// @endcode
[[noreturn]] FOUNDATION_TAV_EXPORT void reportError(const ErrorInfo& info);

}  // namespace foundation::tav
