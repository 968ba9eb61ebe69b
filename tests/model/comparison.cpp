#include "comparison.h"

#include <algorithm>
#include <cstdlib>

namespace foundation::tests::model {

bool Comparison::isSame(const std::vector<Event>& expected, const std::vector<Event>& seen) {
    auto next = seen.begin();
    for (const Event& event : expected) {
        if (event.kind == Event::Kind::release) {
            m_addresses.erase(std::atoi(event.text.c_str() + 1));
            continue;
        }
        if (next == seen.end() || !isSameEvent(event, *next)) return false;
        ++next;
    }
    return next == seen.end();
}

bool Comparison::isSameEvent(const Event& expected, const Event& seen) {
    if (expected.kind != seen.kind) return false;
    std::string_view left = expected.text;
    std::string_view right = seen.text;
    for (;;) {
        const auto at = std::min(left.find('@'), left.size());
        if (left.substr(0, at) != right.substr(0, at)) return false;
        if (at == left.size()) return right.size() == at;
        left.remove_prefix(at + 1);
        right.remove_prefix(at);
        const auto digits = std::min(left.find_first_not_of("0123456789"), left.size());
        const auto end = std::min(right.find_first_not_of("0123456789abcdefx"), right.size());
        if (!isAddressOf(std::atoi(std::string(left.substr(0, digits)).c_str()), right.substr(0, end))) return false;
        left.remove_prefix(digits);
        right.remove_prefix(end);
    }
}

bool Comparison::isAddressOf(int context, std::string_view address) {
    if (!address.starts_with("0x")) return false;
    if (const auto known = m_addresses.find(context); known != m_addresses.end()) return known->second == address;
    const bool isAnothers =
        std::any_of(m_addresses.begin(), m_addresses.end(), [&](const auto& entry) { return entry.second == address; });
    m_addresses.emplace(context, address);
    return !isAnothers;
}

}  // namespace foundation::tests::model
