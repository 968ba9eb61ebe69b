#include "error_reports.h"

#include <mutex>

namespace foundation::tests {
namespace {

// A handler is a plain function, so what it notes has to be global.
std::mutex reportsMutex;
std::vector<Reported> notedReports;

[[noreturn]] void noteAndThrow(const tav::ErrorInfo& info) {
    const std::lock_guard lock(reportsMutex);
    notedReports.emplace_back(info);
    throw Reported(info);
}

}  // namespace

Reported::Reported(const tav::ErrorInfo& info)
    : message(info.m_message), file(info.m_file), line(info.m_line), function(info.m_function) {}

ThrowingErrorHandler::ThrowingErrorHandler() : m_previous(tav::setErrorHandler(&noteAndThrow)) {
    const std::lock_guard lock(reportsMutex);
    notedReports.clear();
}

ThrowingErrorHandler::~ThrowingErrorHandler() { tav::setErrorHandler(m_previous); }

std::vector<Reported> ThrowingErrorHandler::reports() const {
    const std::lock_guard lock(reportsMutex);
    return notedReports;
}

}  // namespace foundation::tests
