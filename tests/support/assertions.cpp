#include "assertions.h"

#include <foundation/core/diag.h>

namespace foundation::tests {

IgnoredAssertions::IgnoredAssertions() : m_previous(core::diag::fl_diag_terminate()) {
    core::diag::set_fl_diag_terminate(false);
}

IgnoredAssertions::~IgnoredAssertions() { core::diag::set_fl_diag_terminate(m_previous); }

}  // namespace foundation::tests
