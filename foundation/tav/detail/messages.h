#pragma once

/// @file
/// The texts that an error report and a type error have in common, and the names that go into them.

#include <foundation/core/diag.h>
#include <boost/format.hpp>
#include <concepts>
#include <ostream>
#include <string>
#include <typeinfo>

namespace foundation::tav::detail {

/// Ends every report that is traced or passed to termination, and the text of every type error.
inline constexpr char callerBug[] = " This indicates a bug in the code calling TAV.";

/// A format; `%1%` is the state type.
inline constexpr char doesNotExist[] =
    "Type '%1%' does not exist in TAV. The caller requested pre-existing state of the specified type, but it was never "
    "created.";

/// Follows every message about an absent context.
inline constexpr char contextRequired[] =
    "The context might be inaccessible to this thread, or might have been deactivated or destroyed. 'Zarn' or "
    "'Workspace' scoped states require an active 'Zarn' context; 'Process' scoped states require an active 'Process' "
    "context.";

/// The readable name of a state type or scope tag.
inline std::string getName(const std::type_info& type) {
    return core::diag::detail::demangle_typeid_name(type.name(), false);
}

/// Text that is streamed whole or not at all: a stream keeps a want of memory to itself otherwise, and leaves a hole in
/// the message.
struct WholeText {
    const std::string& text;

    friend std::ostream& operator<<(std::ostream& stream, const WholeText& whole) {
        stream.exceptions(std::ios_base::badbit);
        return stream << whole.text;
    }
};

/// The format with its placeholders filled. Numbers are passed as text: Boost.Format would write them as the global
/// locale groups digits.
inline std::string formatted(const char* format, const std::same_as<std::string> auto&... arguments) {
    return (boost::format(format) % ... % WholeText{arguments}).str();
}

}  // namespace foundation::tav::detail
