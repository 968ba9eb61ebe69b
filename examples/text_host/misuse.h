#pragma once

/// @file
/// Every misuse of the library that a caller can commit, on purpose: what its messages look like, and how a host that
/// wants to go on leaves the failing call.

#include <foundation/tav/error.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace text_host {

/// There is no misuse of that name.
class UnknownMisuse : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::vector<std::string_view> misuseNames();

/// Commits the misuse and returns what the error handler got.
///
/// REQUIRES: no context exists, and the library has had no cause yet to read `KV_TAV_STRICT_SHUTDOWN`, which is set
/// here where the misuse needs it.
/// @throws UnknownMisuse
foundation::tav::ErrorInfo provoke(std::string_view name);

}  // namespace text_host
