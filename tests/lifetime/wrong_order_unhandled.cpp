// The same without a handler: the report ends the process.

#include "wrong_order.h"

#include "../support/recording_sink.h"
#include "lifetime.h"

namespace foundation::tests {
namespace {

// Both before the parent, in whatever order the linker takes the translation units: with optimisation across them it
// may be either.
[[gnu::init_priority(1000)]] const NullSink quiet;  // the report is traced, too
[[gnu::init_priority(1000)]] std::optional<tav::management::Context<tav::scope::Zarn>> handle;

}  // namespace

std::optional<tav::management::Context<tav::scope::Zarn>>& zarn() { return handle; }

}  // namespace foundation::tests

int main() {
    foundation::tests::fillContexts();
    foundation::tests::say("main", "leaves");
}
