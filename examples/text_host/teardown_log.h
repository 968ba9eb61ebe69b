#pragma once

/// @file
/// The record of which state died when, and the states that are entered into it.
///
/// A state type names its scope, as the library wants it, and says what it is called in the teardown list:
/// @code
/// struct Selection {
///     using StateScope = tav::scope::Workspace;
///     std::string label() const { return "Selection"; }
/// };
///
/// createLogged<Selection>();
/// state::findOrFail<Selection>();  // the one of the workspace that is current on the calling thread
/// @endcode

#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <foundation/tav/scope.h>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace text_host {

namespace state = foundation::state;
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
    using StateScope = tav::scope::Process;

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

/// The deleter of every logged state. It may call the library, since no context is locked while it runs. While the
/// Process context goes down, that finds the states that are older than the one deleted; the teardown log is the
/// oldest.
template <class T>
void deleteLogged(void* address) {
    const std::unique_ptr<T> object(static_cast<T*>(address));
    if (auto* const log = state::find<TeardownLog>()) {
        log->add(scopeName<typename T::StateScope>, object->label());
    }
}

/// Makes a state and stores it in the current context of its scope, with a deleter of this host's own.
///
/// REQUIRES: the context has none of this type yet. Breaking this is reported to the error handler.
template <class T, class... Arguments>
T& createLogged(Arguments&&... arguments) {
    return state::insert<T>(state::Ptr<T>(new T(std::forward<Arguments>(arguments)...), {&deleteLogged<T>}));
}

}  // namespace text_host
