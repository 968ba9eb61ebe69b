#pragma once

/// @file
/// Scoped recording of teardown.

#include <foundation/tav/teardown.h>
#include <chrono>

namespace foundation::tests {

/// Teardown is recorded from its construction, and nothing of that is left after its end.
class TeardownRecording {
public:
    explicit TeardownRecording(std::chrono::nanoseconds limit = std::chrono::hours(1)) {
        tav::management::recordTeardown(limit);
    }
    ~TeardownRecording() {
        tav::management::recordTeardown(std::chrono::nanoseconds(0));
        tav::management::stopRecordingTeardown();
    }
    TeardownRecording(const TeardownRecording&) = delete;
    TeardownRecording& operator=(const TeardownRecording&) = delete;
};

}  // namespace foundation::tests
