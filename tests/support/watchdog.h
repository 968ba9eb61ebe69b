#pragma once

/// @file
/// A time limit for tests in which a fault would be a deadlock.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace foundation::tests {

/// Ends the process with a message if it lives longer than the limit.
class Watchdog {
public:
    explicit Watchdog(std::string task, std::chrono::seconds limit = std::chrono::seconds(60));
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    void watch(std::chrono::seconds limit);

    const std::string m_task;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isDisarmed = false;
    std::thread m_thread;
};

}  // namespace foundation::tests
