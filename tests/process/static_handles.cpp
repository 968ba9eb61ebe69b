// Usage: static_handles [parents-first]
// Contexts in globals: filled before main, destroyed after it, children before parents also where the handle of the
// Process context goes first.

#include <foundation/log/diagnostic_logger.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/error.h>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

using namespace foundation::tav;

// The first of the globals, and therefore the last to go: it can tell what the others did. A program can't return a
// status from there, but end with one.
struct Verdict {
    ~Verdict() {
        if (deaths == " workspace zarn process" && reports == expectedReports) return;
        std::fprintf(stderr, "%d reports, and these states died:%s\n", reports, deaths.c_str());
        std::_Exit(EXIT_FAILURE);
    }

    std::string deaths;
    int reports = 0;
    int expectedReports = 0;
};
Verdict verdict;

void countAndThrow(const ErrorInfo&) {
    ++verdict.reports;
    throw verdict.reports;
}

template <class Scope>
bool put(const char* name) {
    Detail<Scope>::insert(0, typeid(int), StatePtr(const_cast<char*>(name), [](void* state) {
                              verdict.deaths += std::string(" ") + static_cast<const char*>(state);
                          }));
    return true;
}

const ErrorHandler previousHandler = setErrorHandler(&countAndThrow);
management::Context<scope::Process> process;
management::Context<scope::Zarn> zarn(process);
management::Context<scope::Workspace> workspace(zarn);
management::thisthread::ContextActivator activator(workspace);
const bool isFilled = put<scope::Process>("process") && put<scope::Zarn>("zarn") && put<scope::Workspace>("workspace");

}  // namespace

int main(int argc, char**) {
    // No sink is left at the very end but Boost.Log's own, which writes to standard output.
    foundation::log::set_severity_mask("foundation::tav", 0);
    if (argc > 1) {
        verdict.expectedReports = 1;
        static const management::Context<scope::Process> freedFirst(std::move(process));
    }
    return isFilled && previousHandler == nullptr ? EXIT_SUCCESS : EXIT_FAILURE;
}
