// Uses the library before main(), in it, and in static destructors after it.

#include "log_support.h"

#include <foundation/log/console.h>
#include <cstdio>

namespace {

using foundation::log::testsupport::write;

// Constructed before the library is used for the first time, and so destroyed after what the library might destroy.
struct Last {
    ~Last() {
        foundation::log::set_severity_mask("statics", 7);
        std::fprintf(stderr, "mask after all: %u\n", foundation::log::severity_mask("statics"));
    }
};

struct User {
    User() {
        foundation::log::add_console_sink();
        write(logger, 16, "static initialiser");
    }
    ~User() {
        foundation::log::diagnostic_logger late("late");
        write(late, 16, "logger made by a static destructor");
        write(logger, logger.mask(), "static destructor");
    }
    foundation::log::diagnostic_logger logger{"statics"};
};

Last last;
User user;

}  // namespace

int main() { write(user.logger, 16, "main"); }
