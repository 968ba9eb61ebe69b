#pragma once

/// @file
/// Events compared: those of the model name contexts by number, those of the library by address.

#include "model.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::tests::model {

/// Knows which address belongs to which context, from the first event in which both appear until the context's end.
class Comparison {
public:
    /// Whether the library has done what the model says; the releases of contexts are not to be seen.
    bool isSame(const std::vector<Event>& expected, const std::vector<Event>& seen);

private:
    bool isSameEvent(const Event& expected, const Event& seen);
    bool isAddressOf(int context, std::string_view address);

    std::map<int, std::string, std::less<>> m_addresses;  // by context
};

}  // namespace foundation::tests::model
