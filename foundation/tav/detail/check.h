#pragma once

/// @file
/// The check of internal invariants. Its failure is a fault of this library, never of its caller: no trace record, no
/// error handler; the process ends if the host's diagnostics ask for it, and goes on past the check otherwise.

#include <foundation/core/diag.h>
#include <foundation/tav/detail/platform.h>

namespace foundation::tav::detail {

[[gnu::cold]] inline void failCheck(const char* expression, const char* file, int line, const char* signature) {
    if (core::diag::fl_diag_terminate()) core::diag::terminate(expression, file, line, signature);
}

}  // namespace foundation::tav::detail

/// Checks an invariant; a macro for the expression's text and its place.
#define FOUNDATION_TAV_CHECK(expression) \
    ((expression) ? void()               \
                  : ::foundation::tav::detail::failCheck(#expression, __FILE__, __LINE__, FOUNDATION_TAV_SIGNATURE))
