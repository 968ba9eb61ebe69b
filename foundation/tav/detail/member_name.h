#pragma once

/// @file
/// The qualified names of operations as error reports spell them, the same with every compiler, joined at compile time:
/// `memberName<"foundation::tav::Detail", scope::Zarn, "find">` is
/// "foundation::tav::Detail<struct foundation::tav::scope::Zarn>::find", with static storage.

#include <foundation/tav/scope.h>
#include <algorithm>
#include <array>
#include <cstddef>

namespace foundation::tav::detail {

/// Text as a template argument, its end mark included.
template <std::size_t size>
struct Text {
    // Implicit, so that a literal can be given where a template expects a Text.
    consteval Text(const char (&text)[size]) { std::copy_n(text, size, characters.begin()); }

    std::array<char, size> characters{};
};

template <class Scope>
struct TagText;
template <>
struct TagText<scope::Process> {
    static constexpr Text value = "struct foundation::tav::scope::Process";
};
template <>
struct TagText<scope::Zarn> {
    static constexpr Text value = "struct foundation::tav::scope::Zarn";
};
template <>
struct TagText<scope::Workspace> {
    static constexpr Text value = "struct foundation::tav::scope::Workspace";
};

template <std::size_t... sizes>
consteval auto join(const Text<sizes>&... parts) {
    std::array<char, ((sizes - 1) + ... + 1)> joined{};
    std::size_t end = 0;
    // No algorithm: g++ has no constant for what the checked library asks of a temporary's address.
    const auto append = [&](const auto& characters) {
        for (std::size_t i = 0; i + 1 < characters.size(); ++i)
            joined[end++] = characters[i];
    };
    (append(parts.characters), ...);
    return joined;
}

template <Text classTemplate, class Scope, Text function>
inline constexpr auto memberNameCharacters = join(classTemplate, Text("<"), TagText<Scope>::value, Text(">::"),
                                                  function);

/// The qualified name of a member function of a class template that is instantiated for a scope.
template <Text classTemplate, class Scope, Text function>
inline constexpr const char* memberName = memberNameCharacters<classTemplate, Scope, function>.data();

}  // namespace foundation::tav::detail
