#pragma once

/// @file
/// The host's diagnostics of the programs here, which take the place of the stand-alone ones: a failed assertion is
/// told to an observer, and goes on.

namespace foundation::tests::model {

using AssertionObserver = void (*)(const char* expression);

/// Who is told of failed assertions; while there is nobody, they end the process.
void observeAssertions(AssertionObserver observer);

}  // namespace foundation::tests::model
