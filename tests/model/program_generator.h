#pragma once

/// @file
/// Random programs. Those that fail are shrunk, to few operations with small operands.

#include "operation.h"

#include <rapidcheck.h>

namespace foundation::tests::model {

rc::Gen<Program> anyProgram();

}  // namespace foundation::tests::model
