// Handles that are globals, parents first: they end children first, each with its states newest first.

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>

#include "lifetime.h"

namespace {

using foundation::tav::Detail;
using foundation::tav::management::Context;
using foundation::tav::management::thisthread::ContextActivator;
using foundation::tav::scope::Process;
using foundation::tav::scope::Workspace;
using foundation::tav::scope::Zarn;
using foundation::tests::mortal;

Context<Process> process;
Context<Zarn> zarn(process);
Context<Workspace> workspace(zarn);
ContextActivator activator(workspace);

}  // namespace

int main() {
    Detail<Process>::insert(0, typeid(int), mortal("process state"));
    Detail<Workspace>::insert(0, typeid(int), mortal("workspace state"));
    Detail<Zarn>::insert(0, typeid(int), mortal("older zarn state"));
    Detail<Zarn>::insert(1, typeid(int), mortal("newer zarn state"));
    foundation::tests::say("main", "leaves");
}
