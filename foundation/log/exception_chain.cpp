#include <foundation/log/diagnostic_logger.h>

#include <foundation/core/except.h>
#include <exception>
#include <string>

namespace foundation::log::detail {

namespace {

std::string textOf(const std::exception_ptr& error) {
    const auto orUnknown = [](const char* text) { return text ? text : "Unknown exception"; };
    try {
        std::rethrow_exception(error);
    } catch (const core::except::IException& exception) {
        return orUnknown(exception.what());
    } catch (const std::exception& exception) {
        return orUnknown(exception.what());
    } catch (...) {
        return orUnknown(nullptr);
    }
}

// Caught by this base and not looked for in a std::exception: what is no std::exception may carry nested ones, too.
std::exception_ptr nestedIn(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::nested_exception& exception) {
        return exception.nested_ptr();
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

std::string current_exception_chain_as_string() {
    std::exception_ptr error = std::current_exception();
    if (!error) return {};
    std::string chain = textOf(error);
    while ((error = nestedIn(error))) {
        chain += '\n' + textOf(error);
    }
    return chain;
}

}  // namespace foundation::log::detail
