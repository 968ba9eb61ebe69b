// Functions that run at exit may use the library, whenever they were registered.

#include <cstdlib>

#include "lifetime.h"

namespace {

[[maybe_unused]] const int isRegistered =
    std::atexit([] { foundation::tests::useEverything("registered by an initialiser"); });

}  // namespace

int main() {
    return std::atexit([] { foundation::tests::useEverything("registered by main"); });
}
