#include "host_diag.h"

#include <foundation/core/diag.h>

#include <atomic>
#include <boost/core/demangle.hpp>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::atomic<foundation::tests::model::AssertionObserver> assertionObserver = nullptr;

[[noreturn]] void writeAndAbort(const char* text, const char* file, int line) {
    std::fprintf(stderr, "%s\n  %s:%d\n", text, file, line);
    std::abort();
}

}  // namespace

void foundation::tests::model::observeAssertions(AssertionObserver observer) { assertionObserver = observer; }

// All that the host's header declares: a program that brings a part would link both in a static build.
namespace foundation::core::diag {

void terminate(const std::string& message, const char* file, int line, const char*) {
    writeAndAbort(message.c_str(), file, line);
}

void terminate(const char* expression, const char* file, int line, const char*) {
    const auto observer = assertionObserver.load();
    if (!observer) writeAndAbort(expression, file, line);
    observer(expression);
}

bool fl_diag_terminate() noexcept { return true; }

void set_fl_diag_terminate(bool) noexcept {}

// What hosts make of the flag is their affair; the library never sets it.
std::string detail::demangle_typeid_name(const char* name, bool flag) {
    return flag ? name : boost::core::demangle(name);
}

}  // namespace foundation::core::diag
