// A type of which there are several definitions: SCOPE, SIZE and VERSION say which this is.

#include <foundation/state/module.h>
#include <foundation/state/state.h>

#include "part.h"

namespace foundation::tests {

struct Disputed {
    using StateScope = tav::scope::SCOPE;
    static constexpr unsigned StateVersion = VERSION;

    char bytes[SIZE];
};

}  // namespace foundation::tests

extern "C" {
FOUNDATION_TESTS_EXPORT void create() { foundation::state::create<foundation::tests::Disputed>(); }
FOUNDATION_TESTS_EXPORT void find() { foundation::state::find<foundation::tests::Disputed>(); }
}

static const foundation::state::ModuleGuard guard;
