#include "misuse.h"

#include <foundation/core/diag.h>
#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/error.h>
#include <foundation/tav/scope.h>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <future>
#include <system_error>
#include "states.h"

namespace text_host {

using tav::ErrorInfo;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;
using ProcessContext = Context<tav::scope::Process>;
using ZarnContext = Context<tav::scope::Zarn>;
using WorkspaceContext = Context<tav::scope::Workspace>;

namespace {

// Carries the report out of the failing call.
class Reported : public std::exception {
public:
    explicit Reported(const ErrorInfo& info) : m_info(info) {}  // NOLINT(modernize-pass-by-value): its move copies
    const ErrorInfo& info() const { return m_info; }
    const char* what() const noexcept override { return m_info.m_message.c_str(); }

private:
    ErrorInfo m_info;
};

// A handler that returned would end the process.
void throwReported(const ErrorInfo& info) { throw Reported(info); }

class HandlerGuard {
public:
    explicit HandlerGuard(tav::ErrorHandler handler) : m_previous(tav::setErrorHandler(handler)) {}
    HandlerGuard(const HandlerGuard&) = delete;
    HandlerGuard& operator=(const HandlerGuard&) = delete;
    ~HandlerGuard() { tav::setErrorHandler(m_previous); }

private:
    const tav::ErrorHandler m_previous;
};

void activateShutdownProcess() {
    ProcessContext process(false);
    process.shutdown();
    process.activate();
}

void activateSecondProcess() {
    const ProcessContext first;
    ProcessContext second(false);
    second.activate();
}

void createChildOfShutdownContext() {
    ProcessContext process;
    process.shutdown();
    const ZarnContext zarn(process);
}

void createSecondWorkspace() {
    ProcessContext process;
    ZarnContext zarn(process);
    const WorkspaceContext first(zarn);
    const WorkspaceContext second(zarn);
}

void destroyWithChildren() {
    ProcessContext process;
    const ZarnContext zarn(process);
    process.destroy();
}

// The refused activation stays counted, so the context still reads as active when its handle is freed: a failed
// assertion, which is not to end the process here.
void activateOnTwoThreads() {
    foundation::core::diag::set_fl_diag_terminate(false);
    ProcessContext process;
    ZarnContext zarn(process);
    const ContextActivator here(zarn);
    std::async(std::launch::async, [&zarn] { const ContextActivator there(zarn); }).get();
}

void askDeactivatedActivator() {
    ContextActivator activator;
    activator.deactivate();
    activator.getActiveContexts();
}

void insertTwice() {
    const ProcessContext process;
    state::create<Dictionary>();
    state::create<Dictionary>();
}

void insertAfterShutdown() {
    setenv("KV_TAV_STRICT_SHUTDOWN", "1", 1);  // NOLINT(concurrency-mt-unsafe): no other thread runs yet
    ProcessContext process;
    process.shutdown();
    state::create<Dictionary>();
}

void findAbsentState() {
    const ProcessContext process;
    state::findOrFail<Dictionary>();
}

void findWithoutContext() { state::find<WordCounts>(); }

struct Misuse {
    std::string_view name;
    void (*commit)();
};

constexpr std::array misuses = {
    Misuse{"activate-shutdown-process", &activateShutdownProcess},
    Misuse{"activate-second-process", &activateSecondProcess},
    Misuse{"create-child-of-shutdown", &createChildOfShutdownContext},
    Misuse{"create-second-workspace", &createSecondWorkspace},
    Misuse{"destroy-with-children", &destroyWithChildren},
    Misuse{"activate-on-two-threads", &activateOnTwoThreads},
    Misuse{"ask-deactivated-activator", &askDeactivatedActivator},
    Misuse{"insert-twice", &insertTwice},
    Misuse{"insert-after-shutdown", &insertAfterShutdown},
    Misuse{"find-absent-state", &findAbsentState},
    Misuse{"find-without-context", &findWithoutContext},
};

}  // namespace

std::vector<std::string_view> misuseNames() {
    std::vector<std::string_view> names;
    names.reserve(misuses.size());
    for (const Misuse& misuse : misuses) {
        names.push_back(misuse.name);
    }
    return names;
}

ErrorInfo provoke(std::string_view name) {
    const auto* const misuse = std::ranges::find(misuses, name, &Misuse::name);
    if (misuse == misuses.end()) {
        throw UnknownMisuse("there is no misuse '" + std::string(name) + "'");
    }
    const HandlerGuard guard(&throwReported);
    try {
        misuse->commit();
    } catch (const Reported& reported) {
        return reported.info();
    }
    throw std::logic_error("the library did not report '" + std::string(name) + "'");
}

}  // namespace text_host
