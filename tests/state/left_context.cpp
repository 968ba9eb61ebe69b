// A test that leaves a context, and so has to fail.

#include <foundation/state/testing.h>
#include <foundation/tav/context.h>
#include <foundation/tav/scope.h>
#include <gtest/gtest.h>

namespace {

class LeftContext : public foundation::state::HermeticTest {};

TEST_F(LeftContext, FailsItsTest) {
    static const foundation::tav::management::Context<foundation::tav::scope::Zarn> left(process);
}

}  // namespace
