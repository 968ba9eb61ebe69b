#include "failing_allocations.h"

#include <utility>

namespace foundation::tests::model {
namespace {

constinit thread_local unsigned allocationsLeft = 0;  // until one fails; 0: none does
constinit thread_local bool hasAllocationFailed = false;

}  // namespace

bool isAllocationToFail() {
    if (allocationsLeft == 0 || --allocationsLeft > 0) return false;
    hasAllocationFailed = true;
    return true;
}

FailingAllocation::FailingAllocation(unsigned n) : m_isArmed(n > 0) {
    if (m_isArmed) allocationsLeft = n;
}

FailingAllocation::~FailingAllocation() {
    if (m_isArmed) allocationsLeft = 0;
}

bool FailingAllocation::takeFailure() { return std::exchange(hasAllocationFailed, false); }

SparedAllocations::SparedAllocations() : m_left(std::exchange(allocationsLeft, 0)) {}

SparedAllocations::~SparedAllocations() { allocationsLeft = m_left; }

}  // namespace foundation::tests::model
