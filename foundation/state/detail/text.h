#pragma once

/// @file
/// How the reports of this library write what they have in common. The global locale has no influence.

#include <cstdint>
#include <string>
#include <string_view>
#include <typeinfo>

namespace foundation::state::detail {

/// "Process", "Zarn" or "Workspace".
std::string scopeName(const std::type_info& scope);

/// "0x" and hexadecimal digits.
std::string addressText(const void* address);

/// "1 byte", "2 bytes".
std::string counted(std::uint64_t number, std::string_view unit);

/// "deleter in FILE", or "deleter in no module".
std::string deleterText(std::string_view module);

}  // namespace foundation::state::detail
