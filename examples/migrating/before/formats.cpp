#include <utility>

#include "letters.h"

namespace letters {

std::map<std::string, Format> formats;

namespace {

std::string plain(const std::string& text) { return text; }
std::string framed(const std::string& text) { return "[ " + text + " ]"; }

struct Registration {
    Registration(std::string name, Format format) { formats.emplace(std::move(name), format); }
};

Registration plainFormat("plain", &plain);
Registration framedFormat("framed", &framed);

}  // namespace
}  // namespace letters
