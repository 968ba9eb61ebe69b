#pragma once

/// @file
/// Scoped change of the global locale.

#include <locale>

namespace foundation::tests {

/// While it lives, the global locale separates every digit of a number from the next (1234 reads 1.2.3.4).
class DigitGroupingLocale {
public:
    DigitGroupingLocale();
    ~DigitGroupingLocale();
    DigitGroupingLocale(const DigitGroupingLocale&) = delete;
    DigitGroupingLocale& operator=(const DigitGroupingLocale&) = delete;

private:
    const std::locale m_previous;
};

}  // namespace foundation::tests
