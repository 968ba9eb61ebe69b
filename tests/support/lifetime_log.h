#pragma once

/// @file
/// State objects that tell of their deaths.

#include <foundation/tav/state_ptr.h>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace foundation::tests {

/// Makes state objects and writes down in which order they die. Outlives them. May be used from several threads.
class LifetimeLog {
public:
    LifetimeLog() = default;
    LifetimeLog(const LifetimeLog&) = delete;
    LifetimeLog& operator=(const LifetimeLog&) = delete;

    /// A state object whose deleter writes the name down and then calls the function, if there is one.
    tav::StatePtr state(std::string name, std::function<void()> atDeath = {});

    /// The names of the dead, in the order of their deaths.
    std::vector<std::string> deaths() const;

    /// The number of state objects that were made and have not died.
    std::size_t alive() const;

private:
    struct Entry;
    static void die(void* state);

    mutable std::mutex m_mutex;
    std::size_t m_births = 0;
    std::vector<std::string> m_deaths;
};

}  // namespace foundation::tests
