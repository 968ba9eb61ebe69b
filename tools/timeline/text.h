#pragma once

/// @file
/// Texts of a trace in the formats that are written. Whatever bytes a trace holds, what comes out is UTF-8: the bytes
/// that aren't become U+FFFD.

#include <cstdint>
#include <string>
#include <string_view>
#include "record.h"

namespace timeline {

/// A JSON string with its quotes. Can stand in a script of an HTML page: it holds no '<'.
std::string jsonString(std::string_view text);

/// Text for an HTML page, between tags or in a quoted attribute.
std::string htmlText(std::string_view text);

/// Text for a terminal: control characters are written as `\xNN`.
std::string printable(std::string_view text);

/// `2026-11-21T02:14:10.123456Z`
std::string utcTime(Time time);

/// `1.5 ms`: at most three digits below a second, and a unit that fits.
std::string duration(Time microseconds);

/// `0x7f00a8004830`
std::string addressText(Address address);

}  // namespace timeline
