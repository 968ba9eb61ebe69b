// Contexts that are handed from thread to thread as sets.

#include <condition_variable>
#include <deque>
#include <mutex>

#include "threads.h"

namespace foundation::tests {
namespace {

// What is on its way round: contexts, and how many threads they have still to visit.
struct Parcel {
    ContextSet contexts;
    unsigned stops = 0;
};

// Where a thread waits for the one before it in the ring.
class Mailbox {
public:
    void put(Parcel parcel) {
        {
            const std::lock_guard lock(m_mutex);
            m_parcels.push_back(std::move(parcel));
        }
        m_arrived.notify_one();
    }

    Parcel take() {
        std::unique_lock lock(m_mutex);
        m_arrived.wait(lock, [this] { return !m_parcels.empty(); });
        Parcel parcel = std::move(m_parcels.front());
        m_parcels.pop_front();
        return parcel;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<Parcel> m_parcels;
};

unsigned& visits(StatePtr& state) { return *static_cast<unsigned*>(state.get()); }

StatePtr noVisits() {
    return {new unsigned(0), [](void* state) { delete static_cast<unsigned*>(state); }};
}

class RingOfThreads : public ThreadsTest {};

// Contexts go round a ring of threads thousands of times. Each finds their states as the one before left them, though
// neither contexts nor states have a lock, and leaves nothing current behind.
TEST_P(RingOfThreads, ContextsArriveAsTheyWereSent) {
    constexpr unsigned parcels = 3;
    constexpr unsigned stops = 4000;
    Context<Process> process;
    std::vector<Context<Zarn>> zarns;
    std::vector<Context<Workspace>> workspaces;
    zarns.reserve(parcels);
    for (unsigned parcel = 0; parcel < parcels; ++parcel)
        workspaces.emplace_back(zarns.emplace_back(process));

    std::vector<Mailbox> mailboxes(threads());
    for (unsigned parcel = 0; parcel < parcels; ++parcel) {
        const ContextActivator activator(workspaces[parcel]);
        Detail<Zarn>::insert(0, typeid(unsigned), noVisits());
        Detail<Workspace>::insert(0, typeid(unsigned), noVisits());
        mailboxes[parcel % threads()].put({activator.getActiveContexts(), stops});
    }
    std::atomic<unsigned> underway = parcels;
    together(threads(), [&](unsigned index) {
        Mailbox& next = mailboxes[(index + 1) % threads()];
        for (;;) {
            Parcel parcel = mailboxes[index].take();
            if (parcel.stops == 0) {  // the end of the work, sent once to each thread
                EXPECT_TRUE(parcel.contexts.isEmpty());
                return;
            }
            {
                const ContextActivator activator(std::move(parcel.contexts));
                ++visits(Detail<Zarn>::findOrFail(0, typeid(unsigned)));
                ++visits(Detail<Workspace>::findOrFail(0, typeid(unsigned)));
                parcel.contexts = activator.getActiveContexts();
            }
            EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
            EXPECT_FALSE(Detail<Workspace>::isRequiredContextActive());
            if (--parcel.stops > 0)
                next.put(std::move(parcel));
            else if (--underway == 0)
                for (Mailbox& mailbox : mailboxes)
                    mailbox.put({});
        }
    });
    for (unsigned parcel = 0; parcel < parcels; ++parcel) {
        EXPECT_FALSE(zarns[parcel].isActive());
        EXPECT_FALSE(workspaces[parcel].isActive());
        const ContextActivator activator(workspaces[parcel]);
        EXPECT_EQ(visits(Detail<Zarn>::findOrFail(0, typeid(unsigned))), stops);
        EXPECT_EQ(visits(Detail<Workspace>::findOrFail(0, typeid(unsigned))), stops);
    }
}

INSTANTIATE_TEST_SUITE_P(Threads, RingOfThreads, testing::Values(2, 4, 16), testing::PrintToStringParamName());

}  // namespace
}  // namespace foundation::tests
