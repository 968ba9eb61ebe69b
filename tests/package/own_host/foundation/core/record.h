#pragma once

#include <string>

namespace foundation::core {

/// Writes a line to standard output: a call of this host. Readings of the mask in a row are one line.
void record(const std::string& call);

}  // namespace foundation::core
