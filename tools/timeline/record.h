#pragma once

/// @file
/// One line of a trace, taken apart: the fields that the sinks of `foundation/log/console.h` write, and what the
/// library says in the message.

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include "signature.h"

namespace timeline {

using Time = std::int64_t;      ///< microseconds since 1970, UTC
using Address = std::uint64_t;  ///< 0 for none

inline constexpr std::string_view tavChannel = "foundation::tav";

/// The fields of a line. The texts are parts of the line.
struct Record {
    Time time = 0;
    unsigned thread = 0;
    std::string_view channel;
    unsigned severity = 0;
    unsigned indentation = 0;
    std::string_view message;
};

/// Empty unless the line has every field, each in the form that the sinks write.
std::optional<Record> parseRecord(std::string_view line);

/// Where a record could begin in the line after its first character; the last such place, since the record before it is
/// what was cut off. Empty if there is none.
std::optional<std::size_t> findLaterRecord(std::string_view line);

/// An operation was entered. The values are there if the mask asked for details.
struct Entry {
    const Signature* signature = nullptr;
    std::optional<Address> context;
    std::optional<std::uint64_t> typeId;
    std::string_view type;
};

/// An operation was left.
struct Exit {
    const Signature* signature = nullptr;
    bool isThrow = false;
};

/// An activator made contexts current.
struct Push {
    Address zarn = 0;
    Address workspace = 0;
};

/// An activator ended, and made those current again that were before.
struct Pop {
    Push active;
    Push restored;
};

/// A type of state, as the trace names it: ids are counted per scope.
struct TypeKey {
    Scope scope = Scope::unknown;
    std::uint64_t id = 0;

    auto operator<=>(const TypeKey&) const = default;  // NOLINT(modernize-use-nullptr): it compares with no null
};

/// A state type got its id.
struct TypeId {
    TypeKey key;
    std::string_view type;
};

/// A deleter has used a state of a context whose destruction had deleted it before.
struct LateUse {
    bool isInsertion = false;  ///< it was created anew; otherwise it was looked for
    TypeKey used;
    Address context = 0;  ///< the one of the state that was used
    TypeKey deleted;      ///< the state whose deleter did so; without a scope if its context was freed before
};

/// The deletion of a state took longer than the host's limit.
struct SlowDeletion {
    TypeKey deleted;  ///< without a scope if its context was freed before
    Address context = 0;
    Time took = 0;
    Time limit = 0;
};

/// Misuse was reported.
struct Error {
    std::string_view function;
    std::string_view place;  ///< `m_file=...  m_line=...`, as it stands
    std::string_view message;
};

/// An exception that a context's destructor kept to itself.
struct CaughtException {
    std::string_view text;
};

/// A record that is not the library's.
struct OtherChannel {};

using Content =
    std::variant<Entry, Exit, Push, Pop, TypeId, LateUse, SlowDeletion, Error, CaughtException, OtherChannel>;

/// What a record says; empty where the library doesn't write such a text. The texts are parts of the record's.
std::optional<Content> parseContent(const Record& record, Signatures& signatures);

}  // namespace timeline
