#pragma once

/// @file
/// The record of which state died when.

#include <foundation/tav/scope.h>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace text_host {

namespace tav = foundation::tav;

/// What a scope is called in the teardown list.
template <class Scope>
inline constexpr std::string_view scopeName{};
template <>
inline constexpr std::string_view scopeName<tav::scope::Process> = "Process";
template <>
inline constexpr std::string_view scopeName<tav::scope::Zarn> = "Zarn";
template <>
inline constexpr std::string_view scopeName<tav::scope::Workspace> = "Workspace";

/// Writes a line for each state that dies. A state itself, inserted before any other, so that it is there for the
/// deleters of all of them; it ends the list with its own line.
///
/// ## Thread safety
/// `add` may be called from any number of threads at once.
/// ## Lifetime
/// The lines belong to whoever reads them after the last context is gone, and must outlive the log.
class TeardownLog {
public:
    using Scope = tav::scope::Process;

    explicit TeardownLog(std::vector<std::string>& lines) : m_lines(lines) {}
    TeardownLog(const TeardownLog&) = delete;
    TeardownLog& operator=(const TeardownLog&) = delete;
    ~TeardownLog();

    void add(std::string_view scope, std::string_view label);
    static std::string label() { return "TeardownLog"; }

private:
    std::mutex m_mutex;
    std::vector<std::string>& m_lines;  // guarded by m_mutex
};

}  // namespace text_host
