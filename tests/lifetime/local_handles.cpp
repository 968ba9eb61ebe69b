// Handles that are static in functions: the first use makes parent and child, in the right order whatever is used
// first.

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
using foundation::tav::scope::Zarn;
using foundation::tests::mortal;

Context<Process>& process() {
    static Context<Process> context;
    return context;
}

Context<Zarn>& zarn() {
    static Context<Zarn> context(process());
    return context;
}

}  // namespace

int main() {
    const ContextActivator activator(zarn());
    Detail<Zarn>::insert(0, typeid(int), mortal("zarn state"));
    Detail<Process>::insert(0, typeid(int), mortal("process state"));
    foundation::tests::say("main", "leaves");
}
