#include <foundation/state/state.h>

#include "letters.h"

namespace letters {
namespace {

std::string plain(const std::string& text) { return text; }
std::string framed(const std::string& text) { return "[ " + text + " ]"; }

}  // namespace

void registerFormats() {
    auto& formats = foundation::state::findOrCreate<Formats>().byName;
    formats.emplace("plain", &plain);
    formats.emplace("framed", &framed);
}

}  // namespace letters
