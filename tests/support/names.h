#pragma once

/// @file
/// The library's names as the tests use them.

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/context_set.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/scope.h>
#include <foundation/tav/state_ptr.h>

namespace foundation::tests {

using tav::Detail;
using tav::StatePtr;
using tav::management::Context;
using tav::management::ContextSet;
using tav::management::NullContext;
using tav::management::thisthread::ContextActivator;
using tav::scope::Process;
using tav::scope::Workspace;
using tav::scope::Zarn;

}  // namespace foundation::tests
