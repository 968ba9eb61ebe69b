#pragma once

/// @file
/// How the reports of this library are written as JSON.

#include <foundation/state/detail/text.h>
#include <nlohmann/json.hpp>  // IWYU pragma: export
#include <ostream>

namespace foundation::state::detail {

/// Members stay in the order in which they are given.
using Json = nlohmann::ordered_json;

/// "0x5581e2a0", or null.
inline Json addressJson(const void* address) { return address ? Json(addressText(address)) : Json(); }

/// Indented, with a line feed at the end; bytes that are no UTF-8 as U+FFFD.
inline void write(std::ostream& out, const Json& json) {
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace foundation::state::detail
