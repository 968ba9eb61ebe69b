#pragma once

/// @file
/// Scoped choice of what failed assertions do.

namespace foundation::tests {

/// Failed assertions have no effect while it lives.
class IgnoredAssertions {
public:
    IgnoredAssertions();
    ~IgnoredAssertions();
    IgnoredAssertions(const IgnoredAssertions&) = delete;
    IgnoredAssertions& operator=(const IgnoredAssertions&) = delete;

private:
    const bool m_previous;
};

}  // namespace foundation::tests
