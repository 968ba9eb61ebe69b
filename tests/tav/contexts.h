#pragma once

/// @file
/// What the tests of the public headers have in common.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <thread>
#include <utility>

#include "../support/assertions.h"
#include "../support/error_reports.h"
#include "../support/lifetime_log.h"
#include "../support/names.h"
#include "../support/watchdog.h"

namespace foundation::tests {

/// The state type that messages of the tests name.
struct Widget {};
inline constexpr const char* widgetName = "foundation::tests::Widget";

template <class Scope>
inline constexpr const char* scopeName = nullptr;
template <>
inline constexpr const char* scopeName<Process> = "foundation::tav::scope::Process";
template <>
inline constexpr const char* scopeName<Zarn> = "foundation::tav::scope::Zarn";
template <>
inline constexpr const char* scopeName<Workspace> = "foundation::tav::scope::Workspace";

/// The name of a member function of a class template's instance, as reports spell it.
template <class Scope>
std::string memberOf(const std::string& classTemplate, const std::string& function) {
    return classTemplate + "<struct " + scopeName<Scope> + ">::" + function;
}

/// The same for the internal contexts, whatever stands before their name.
template <class Scope>
auto contextMember(const std::string& function) {
    return testing::EndsWith(memberOf<Scope>("ContextImpl", function));
}

/// Runs the task on a thread of its own, to its end.
template <class Task>
void onOtherThread(Task&& task) {
    std::thread(std::forward<Task>(task)).join();
}

/// Reported misuse is thrown, and states leave a trail.
class TavTest : public testing::Test {
protected:
    /// Stores a state of that name in the required context of the scope.
    template <class Scope>
    StatePtr& put(std::uint64_t id, std::string name, std::function<void()> atDeath = {}) {
        return Detail<Scope>::insert(id, typeid(Widget), log.state(std::move(name), std::move(atDeath)));
    }

    template <class Scope>
    static bool has(std::uint64_t id) {
        return Detail<Scope>::find(id, typeid(Widget)) != nullptr;
    }

    LifetimeLog log;
    ThrowingErrorHandler handler;
};

/// One context of each scope, all of them current on the test's thread.
class ContextsTest : public TavTest {
protected:
    ~ContextsTest() noexcept override = default;  // an activator's destructor may throw, a test's may not

    template <class Scope>
    Context<Scope>& context() {
        if constexpr (std::is_same_v<Scope, Process>)
            return process;
        else if constexpr (std::is_same_v<Scope, Zarn>)
            return zarn;
        else
            return workspace;
    }

    Context<Process> process;
    Context<Zarn> zarn{process};
    Context<Workspace> workspace{zarn};
    ContextActivator activator{workspace};
};

using AllScopes = testing::Types<Process, Zarn, Workspace>;

/// Names typed tests by their scope.
struct ScopeNames {
    template <class Scope>
    static std::string GetName(int) {
        return std::string(scopeName<Scope>).substr(std::string("foundation::tav::scope::").size());
    }
};

}  // namespace foundation::tests
