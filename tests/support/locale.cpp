#include "locale.h"  // NOLINT(modernize-deprecated-headers): the one beside this file

#include <string>

namespace foundation::tests {
namespace {

class SingleDigits : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

}  // namespace

DigitGroupingLocale::DigitGroupingLocale()
    : m_previous(std::locale::global(std::locale(std::locale::classic(), new SingleDigits))) {}

DigitGroupingLocale::~DigitGroupingLocale() { std::locale::global(m_previous); }

}  // namespace foundation::tests
