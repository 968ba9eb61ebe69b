#pragma once

#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <barrier>
#include <thread>

namespace foundation::tests {

/// Keeps a context current on another thread for as long as it lives.
template <class Scope>
class CurrentElsewhere {
public:
    explicit CurrentElsewhere(tav::management::Context<Scope>& context)
        : m_thread([this, &context] {
              const tav::management::thisthread::ContextActivator activator(context);
              m_barrier.arrive_and_wait();
              m_barrier.arrive_and_wait();
          }) {
        m_barrier.arrive_and_wait();
    }
    ~CurrentElsewhere() {
        m_barrier.arrive_and_wait();
        m_thread.join();
    }
    CurrentElsewhere(const CurrentElsewhere&) = delete;
    CurrentElsewhere& operator=(const CurrentElsewhere&) = delete;

private:
    std::barrier<> m_barrier{2};
    std::thread m_thread;
};

}  // namespace foundation::tests
