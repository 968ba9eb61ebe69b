#include <foundation/state/detail/text.h>
#include <foundation/tav/scope.h>
#include <charconv>
#include <iterator>

namespace foundation::state::detail {

std::string scopeName(const std::type_info& scope) {
    if (scope == typeid(tav::scope::Process)) return "Process";
    return scope == typeid(tav::scope::Zarn) ? "Zarn" : "Workspace";
}

std::string addressText(const void* address) {
    char digits[2 * sizeof(std::uintptr_t)];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), reinterpret_cast<std::uintptr_t>(address), 16);
    return "0x" + std::string(std::begin(digits), end.ptr);
}

std::string counted(std::uint64_t number, std::string_view unit) {
    return std::to_string(number) + " " + std::string(unit) + (number == 1 ? "" : "s");
}

std::string deleterText(std::string_view module) {
    return "deleter in " + (module.empty() ? "no module" : std::string(module));
}

}  // namespace foundation::state::detail
