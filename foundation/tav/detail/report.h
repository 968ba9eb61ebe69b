#pragma once

/// @file
/// The library's own operations report as the layers above do.

#include <foundation/tav/report.h>

namespace foundation::tav::detail {

using tav::reportError;

/// Reports the `ErrorInfo` that `describe` returns. Not inlined, so that composing a message takes no registers and
/// stack of operations that go well.
template <class Describe>
[[noreturn, gnu::cold, gnu::noinline]] void reportMisuse(const Describe& describe) {
    reportError(describe());
}

}  // namespace foundation::tav::detail
