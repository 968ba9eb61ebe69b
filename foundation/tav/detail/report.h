#pragma once

/// @file
/// The end of every misuse that the library detects.

#include <foundation/tav/error.h>

namespace foundation::tav::detail {

/// Writes the record to the trace, calls the installed handler, and ends the process if that returns. What the handler
/// throws goes to the caller; nothing else comes out.
[[noreturn, gnu::cold]] void reportError(const ErrorInfo& info);

/// Reports the `ErrorInfo` that `describe` returns. Not inlined, so that composing a message takes no registers and
/// stack of operations that go well.
template <class Describe>
[[noreturn, gnu::cold, gnu::noinline]] void reportMisuse(const Describe& describe) {
    reportError(describe());
}

}  // namespace foundation::tav::detail
