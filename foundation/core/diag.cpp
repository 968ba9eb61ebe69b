#include <foundation/core/diag.h>

#include <atomic>
#include <boost/core/demangle.hpp>
#include <cstdio>
#include <cstdlib>

namespace foundation::core::diag {

namespace {

constinit std::atomic<bool> terminatesOnFailedAssertion{true};

const char* orUnknown(const char* text) { return text ? text : "(unknown)"; }

// One formatted write holds the stream's lock from beginning to end and takes no memory from the heap.
[[noreturn]] void reportAndAbort(const char* label, const char* text, const char* file, int line,
                                 const char* function) {
    std::fprintf(stderr, "%s%s\n  file: %s\n  line: %d\n  function: %s\n", label, text, orUnknown(file), line,
                 orUnknown(function));
    std::fflush(stderr);
    std::abort();
}

}  // namespace

void terminate(const std::string& message, const char* file, int line, const char* function) {
    reportAndAbort("", message.c_str(), file, line, function);
}

void terminate(const char* expression, const char* file, int line, const char* function) {
    reportAndAbort("assertion failed: ", orUnknown(expression), file, line, function);
}

bool fl_diag_terminate() noexcept { return terminatesOnFailedAssertion.load(std::memory_order_relaxed); }

void set_fl_diag_terminate(bool terminates) noexcept {
    terminatesOnFailedAssertion.store(terminates, std::memory_order_relaxed);
}

namespace detail {

std::string demangle_typeid_name(const char* name, bool) { return boost::core::demangle(name); }

}  // namespace detail

}  // namespace foundation::core::diag
