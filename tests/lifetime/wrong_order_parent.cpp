#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>

#include "lifetime.h"
#include "wrong_order.h"

namespace foundation::tests {
namespace {

using tav::management::Context;
using tav::scope::Process;

// The initialiser of the child's handle has run by then: it has the higher priority.
Context<Process> process;

}  // namespace

void fillContexts() {
    zarn().emplace(process);
    const tav::management::thisthread::ContextActivator activator(*zarn());
    tav::Detail<Process>::insert(0, typeid(int), mortal("process state"));
    tav::Detail<tav::scope::Zarn>::insert(0, typeid(int), mortal("zarn state"));
}

}  // namespace foundation::tests
