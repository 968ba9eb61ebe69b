#pragma once

namespace printed {

/// Stores a state of a type of which gdb knows nothing but the name: it is defined where there is no debug information.
void createUnknown();

}  // namespace printed
