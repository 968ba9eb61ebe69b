#pragma once

/// @file
/// What the tests with several threads have in common.

#include <gtest/gtest.h>
#include <atomic>
#include <latch>
#include <locale>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "../support/error_reports.h"
#include "../support/names.h"
#include "../support/watchdog.h"

namespace foundation::tests {

/// Runs `task(0)`, ..., `task(count - 1)`, each on a thread of its own, all let go at once, to their ends.
template <class Task>
void together(unsigned count, const Task& task) {
    const Watchdog watchdog(testing::UnitTest::GetInstance()->current_test_info()->name());
    std::latch start(count);
    std::vector<std::thread> threads;
    for (unsigned index = 0; index < count; ++index) {
        threads.emplace_back([&start, &task, index] {
            start.arrive_and_wait();
            task(index);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

/// A state object that knows which thread offered it. Its life is counted.
class Counted {
public:
    explicit Counted(unsigned owner) : m_owner(owner) { ++s_alive; }
    ~Counted() { --s_alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    unsigned owner() const { return m_owner; }
    static int alive() { return s_alive; }

    static StatePtr make(unsigned owner) {
        return {new Counted(owner), [](void* state) { delete static_cast<Counted*>(state); }};
    }

private:
    static inline std::atomic<int> s_alive = 0;
    const unsigned m_owner;
};

/// Throws each report, and notes nothing: a lock of its own would order the threads.
[[noreturn]] inline void throwReport(const tav::ErrorInfo& info) { throw Reported(info); }

/// Whether the operation went through; the message of the report that it ended with goes to `message` otherwise.
template <class Operation>
bool succeeds(const Operation& operation, std::string& message) {
    try {
        operation();
        return true;
    } catch (const Reported& reported) {
        message = reported.message;
        return false;
    }
}

/// Fills the table of the standard library's character facet that Boost.Format reads whenever a message is composed.
/// libstdc++ fills it on demand and without a lock, each thread with the same bytes; ThreadSanitizer would stop there.
inline void fillCharacterTable() {
    constexpr char digit = '0';
    char narrowed = 0;
    std::use_facet<std::ctype<char>>(std::locale()).narrow(&digit, &digit + 1, '?', &narrowed);
}

/// With each number of threads; misuse is thrown.
class ThreadsTest : public testing::TestWithParam<unsigned> {
protected:
    ThreadsTest() { fillCharacterTable(); }
    unsigned threads() const { return GetParam(); }

private:
    const ScopedErrorHandler m_handler{&throwReport};
};

}  // namespace foundation::tests
