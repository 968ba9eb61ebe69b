#include "trace_points.h"

#include <foundation/tav/detail/scope_trace.h>
#include <foundation/tav/detail/trace.h>
#include <atomic>

namespace foundation::tests {

namespace {

constinit std::atomic<std::uint64_t> counter = 0;

}  // namespace

std::uint64_t next() { return counter.fetch_add(1); }

std::uint64_t nextTraced() {
    const std::uint64_t number = counter.fetch_add(1);
    tav::detail::trace(tav::detail::libraryLogger, tav::detail::informationSeverity,
                       [&](auto& stream) { stream << "next  number=" << number; });
    return number;
}

std::uint64_t nextInScope() {
    FOUNDATION_TAV_TRACE_SCOPE(" counter=" << &counter);
    return counter.fetch_add(1);
}

}  // namespace foundation::tests
