// The same without a handler: the report ends the process.

#include "wrong_order.h"

#include "../support/recording_sink.h"
#include "lifetime.h"

namespace foundation::tests {
namespace {

const NullSink quiet;  // the report is traced, too
std::optional<tav::management::Context<tav::scope::Zarn>> handle;

}  // namespace

std::optional<tav::management::Context<tav::scope::Zarn>>& zarn() { return handle; }

}  // namespace foundation::tests

int main() {
    foundation::tests::fillContexts();
    foundation::tests::say("main", "leaves");
}
