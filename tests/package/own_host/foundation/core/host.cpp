#include <foundation/core/diag.h>
#include <foundation/core/record.h>
#include <cstdio>

namespace foundation::core {

namespace {

void recordTermination(const char* form, const std::string& text, const char* file, int line, const char* function) {
    record(std::string("terminate, ") + form + ": " + text + "\n    " + file + (line > 0 ? ", with line" : "") +
           "\n    " + function);
}

}  // namespace

// How often the mask is read on the way to something else is the library's affair.
void record(const std::string& call) {
    static bool maskWasRead = false;
    const bool again = call == "mask" && maskWasRead;
    maskWasRead = call == "mask";
    if (!again) std::puts(call.c_str());
}

namespace diag {

void terminate(const std::string& message, const char* file, int line, const char* function) {
    recordTermination("message", message, file, line, function);
    throw Terminated();
}

void terminate(const char* expression, const char* file, int line, const char*) {
    recordTermination("expression", expression, file, line, "(a signature, which compilers write differently)");
}

bool fl_diag_terminate() {
    record("fl_diag_terminate");
    return true;
}

namespace detail {

std::string demangle_typeid_name(const char* name, bool flag) {
    record(std::string("demangle_typeid_name: ") + name + (flag ? ", true" : ", false"));
    return std::string("demangled ") + name;
}

}  // namespace detail

}  // namespace diag

}  // namespace foundation::core
