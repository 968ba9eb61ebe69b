#pragma once

/// @file
/// What the programs of this folder have in common. Each says on standard output what happens, and its first lines say
/// what it has to print.

#include <foundation/tav/state_ptr.h>

namespace foundation::tests {

/// Prints one line: who says it and what.
void say(const char* who, const char* what);

/// A state object whose deleter says that it dies. The name is not copied.
tav::StatePtr mortal(const char* name);

/// Makes contexts of all scopes, uses their states, provokes a report and traces all of it; says whether all that went
/// as it has to. The process has an active Process context for as long as it runs.
void useEverything(const char* who);

/// Says each report and throws it.
void installSayingHandler();

}  // namespace foundation::tests
