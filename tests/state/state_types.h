#pragma once

/// @file
/// State types of the tests, and the reports of the typed layer.

#include <foundation/state/state.h>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "../tav/contexts.h"

namespace foundation::tests {

/// Writes its death down.
template <class Scope>
struct Note {
    using StateScope = Scope;

    Note(std::vector<std::string>& log, std::string text) : deaths(&log), name(std::move(text)) {}
    Note(const Note&) = delete;
    Note& operator=(const Note&) = delete;
    ~Note() { deaths->push_back(name); }

    std::vector<std::string>* deaths;
    std::string name;
};

/// Outlives the contexts, whose notes write to it.
struct DeathList {
    std::vector<std::string> deaths;
};

/// A report of the typed layer's own.
template <class Message>
auto isStateReport(const std::string& file, const Message& message, const std::string& function) {
    using testing::Field;
    return testing::AllOf(Field("message", &Reported::message, message),
                          Field("file", &Reported::file, "foundation/state/" + file),
                          Field("line", &Reported::line, testing::Gt(0)),
                          Field("function", &Reported::function, "foundation::state::" + function));
}

}  // namespace foundation::tests
