// A handle that is never freed: its states are never deleted, and the process ends well.

#include <foundation/tav/context.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>

#include "lifetime.h"

using foundation::tav::management::Context;
using foundation::tav::scope::Process;

int main() {
    static auto* const process = new Context<Process>;
    foundation::tav::Detail<Process>::insert(0, typeid(int), foundation::tests::mortal("state"));
    foundation::tests::say("main", process->isActive() ? "leaves" : "the context is not active");
}
