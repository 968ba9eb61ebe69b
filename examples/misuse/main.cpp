// misuse NAME: commits a mistake and shows the message, then does the same right. `misuse list` names them all.

#include <foundation/core/diag.h>
#include <foundation/log/diagnostic_logger.h>
#include <foundation/tav/error.h>
#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include "lesson.h"

namespace {

using misuse::Lesson;

// Carries the report out of the failing operation.
void throwMessage(const foundation::tav::ErrorInfo& info) { throw std::logic_error(info.m_message); }

std::string messageOf(void (*function)()) {
    try {
        function();
        return {};
    } catch (const std::exception& error) {
        return error.what();
    }
}

int teach(const Lesson& lesson) {
    const std::string message = messageOf(lesson.mistake);
    std::cout << message << '\n';
    const std::string unexpected = messageOf(lesson.remedy);
    if (!message.empty() && unexpected.empty()) return 0;
    std::cerr << "misuse: " << lesson.name << ": the remedy failed with '" << unexpected << "'\n";
    return 1;
}

int list() {
    for (const Lesson& lesson : misuse::lessons())
        std::cout << lesson.name << '\n';
    return 0;
}

int run(const std::string& name) {
    std::ranges::sort(misuse::lessons(), {}, &Lesson::name);
    const auto lesson = std::ranges::find(misuse::lessons(), name, &Lesson::name);
    return lesson == misuse::lessons().end() ? list() : teach(*lesson);
}

}  // namespace

int main(int argc, char** argv) {
    foundation::tav::setErrorHandler(&throwMessage);
    foundation::log::set_severity_mask("foundation::tav", 0);  // the messages are shown here, and need no record
    // A refused activation stays counted: its context is destroyed with a failed assertion.
    foundation::core::diag::set_fl_diag_terminate(false);
    return run(argc > 1 ? argv[1] : "list");
}
