#include "lifetime_log.h"

#include <memory>
#include <utility>

namespace foundation::tests {

struct LifetimeLog::Entry {
    LifetimeLog& log;
    std::string name;
    std::function<void()> atDeath;
};

tav::StatePtr LifetimeLog::state(std::string name, std::function<void()> atDeath) {
    std::unique_ptr<Entry> entry(new Entry{*this, std::move(name), std::move(atDeath)});
    const std::lock_guard lock(m_mutex);
    // Deaths need no memory then: they happen also where tests make allocations fail.
    if (++m_births > m_deaths.capacity()) m_deaths.reserve(2 * m_births);
    return {entry.release(), &die};
}

void LifetimeLog::die(void* state) {
    const std::unique_ptr<Entry> entry(static_cast<Entry*>(state));
    {
        const std::lock_guard lock(entry->log.m_mutex);
        entry->log.m_deaths.push_back(std::move(entry->name));
    }
    if (entry->atDeath) entry->atDeath();
}

std::vector<std::string> LifetimeLog::deaths() const {
    const std::lock_guard lock(m_mutex);
    return m_deaths;
}

std::size_t LifetimeLog::alive() const {
    const std::lock_guard lock(m_mutex);
    return m_births - m_deaths.size();
}

}  // namespace foundation::tests
