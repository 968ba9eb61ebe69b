#include "watchdog.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace foundation::tests {

Watchdog::Watchdog(std::string task, std::chrono::seconds limit)
    : m_task(std::move(task)), m_thread([this, limit] { watch(limit); }) {}

Watchdog::~Watchdog() {
    {
        const std::lock_guard lock(m_mutex);
        m_isDisarmed = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void Watchdog::watch(std::chrono::seconds limit) {
    std::unique_lock lock(m_mutex);
    if (m_changed.wait_for(lock, limit, [this] { return m_isDisarmed; })) return;
    std::fprintf(stderr, "Still not done after %lld s: %s\n", static_cast<long long>(limit.count()), m_task.c_str());
    std::abort();
}

}  // namespace foundation::tests
