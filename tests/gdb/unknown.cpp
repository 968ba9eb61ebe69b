#include "unknown.h"
#include <foundation/state/state.h>

namespace printed {

struct Unknown {
    using StateScope = foundation::tav::scope::Zarn;
    int number;
};

void createUnknown() { foundation::state::create<Unknown>(9); }

}  // namespace printed
