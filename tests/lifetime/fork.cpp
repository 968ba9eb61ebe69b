// A child process has the contexts and states of its parent as they were, to use and to destroy; the parent keeps its
// own.

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lifetime.h"

namespace {

using foundation::tav::Detail;
using foundation::tav::management::Context;
using foundation::tav::management::thisthread::ContextActivator;
using foundation::tav::scope::Process;
using foundation::tav::scope::Zarn;
using foundation::tests::mortal;
using foundation::tests::say;

Context<Process> process;
Context<Zarn> zarn(process);

bool hasStates() {
    return Detail<Process>::find(0, typeid(int)) != nullptr && Detail<Zarn>::find(0, typeid(int)) != nullptr;
}

// Static destructors included.
int runChild() {
    if (!hasStates()) return 1;
    say("child", "finds what the parent stored");
    process.deactivate();  // for a Process context of the child's own
    foundation::tests::useEverything("child");
    process.activate();
    return hasStates() ? 0 : 1;
}

}  // namespace

int main() {
    const ContextActivator activator(zarn);
    Detail<Process>::insert(0, typeid(int), mortal("parent's process state"));
    Detail<Zarn>::insert(0, typeid(int), mortal("parent's zarn state"));
    const pid_t child = fork();
    if (child == 0) return runChild();
    int status = -1;
    waitpid(child, &status, 0);
    const bool isWell = WIFEXITED(status) && WEXITSTATUS(status) == 0 && hasStates();
    say("parent", isWell ? "the child ended well and took nothing along" : "something is wrong");
}
