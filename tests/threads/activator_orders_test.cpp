#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>
#include <sstream>

#include "threads.h"

namespace foundation::tests {
namespace {

constexpr std::size_t projectCount = 2;
constexpr std::size_t activatorCount = 4;
constexpr std::size_t none = projectCount;

// What an activator is made of: a project, the workspace of one, or nothing.
enum class Kind { zarn0, zarn1, workspace0, workspace1, nullZarn, nullWorkspace };
constexpr int kindCount = 6;
using Kinds = std::array<Kind, activatorCount>;
using Order = std::array<std::size_t, activatorCount>;

// The model: what is current on a thread are two numbers.
struct Current {
    std::size_t zarn = none;
    std::size_t workspace = none;
};

Current activated(Kind kind, const Current& current) {
    switch (kind) {
        case Kind::zarn0:
            return {.zarn = 0};
        case Kind::zarn1:
            return {.zarn = 1};
        case Kind::workspace0:
            return {.zarn = 0, .workspace = 0};
        case Kind::workspace1:
            return {.zarn = 1, .workspace = 1};
        case Kind::nullWorkspace:
            return {.zarn = current.zarn};
        case Kind::nullZarn:
            break;
    }
    return {};
}

// Two projects of one thread, each with a workspace. A state in each context says which it is.
class Projects {
public:
    explicit Projects(Context<Process>& process) : m_zarns{Context<Zarn>(process), Context<Zarn>(process)} {
        for (std::size_t index = 0; index < projectCount; ++index) {
            const ContextActivator activator(m_workspaces[index]);
            Detail<Zarn>::insert(nameID, typeid(std::size_t), name(index));
            Detail<Workspace>::insert(nameID, typeid(std::size_t), name(index));
            m_sets[index][index] = activator.getActiveContexts();
            const ContextActivator zarnOnly(m_zarns[index]);
            m_sets[index][none] = zarnOnly.getActiveContexts();
        }
    }

    void emplace(std::optional<ContextActivator>& activator, Kind kind) {
        switch (kind) {
            case Kind::zarn0:
                activator.emplace(m_zarns[0]);
                break;
            case Kind::zarn1:
                activator.emplace(m_zarns[1]);
                break;
            case Kind::workspace0:
                activator.emplace(m_workspaces[0]);
                break;
            case Kind::workspace1:
                activator.emplace(m_workspaces[1]);
                break;
            case Kind::nullZarn:
                activator.emplace(NullContext<Zarn>());
                break;
            case Kind::nullWorkspace:
                activator.emplace(NullContext<Workspace>());
                break;
        }
    }

    // Whether the library says of the calling thread what the model says.
    bool agree(const Current& current) const {
        return inSlot<Zarn>() == current.zarn && inSlot<Workspace>() == current.workspace &&
               isActiveOnly(m_zarns, current.zarn) && isActiveOnly(m_workspaces, current.workspace);
    }

    bool isSet(const ContextSet& set, const Current& contexts) const {
        const ContextSet& expected = m_sets[contexts.zarn][contexts.workspace];
        return set == expected && !(set != expected);
    }

private:
    static constexpr std::uint64_t nameID = 0;

    static StatePtr name(std::size_t index) {
        return {new std::size_t(index), [](void* state) { delete static_cast<std::size_t*>(state); }};
    }

    template <class Scope>
    static std::size_t inSlot() {
        if (!Detail<Scope>::isRequiredContextActive()) return none;
        return *static_cast<std::size_t*>(Detail<Scope>::findOrFail(nameID, typeid(std::size_t)).get());
    }

    template <class Scope>
    static bool isActiveOnly(const std::array<Context<Scope>, projectCount>& contexts, std::size_t active) {
        for (std::size_t index = 0; index < projectCount; ++index)
            if (contexts[index].isActive() != (index == active)) return false;
        return true;
    }

    std::array<Context<Zarn>, projectCount> m_zarns;
    std::array<Context<Workspace>, projectCount> m_workspaces{Context<Workspace>(m_zarns[0]),
                                                              Context<Workspace>(m_zarns[1])};
    std::array<std::array<ContextSet, projectCount + 1>, projectCount + 1> m_sets;  // by zarn and workspace
};

// An activator of the library and what the model says of it.
struct Activation {
    std::optional<ContextActivator> activator;
    Current active;
    Current previous;

    void begin(Projects& projects, Kind kind, Current& current) {
        active = activated(kind, current);
        previous = current;
        current = active;
        projects.emplace(activator, kind);
    }

    bool isAsModelled(const Projects& projects) const {
        return activator->isActivated() && projects.isSet(activator->getActiveContexts(), active) &&
               projects.isSet(activator->getPreviousContexts(), previous);
    }

    // By `deactivate()` or by the destructor.
    void end(Current& current, bool early) {
        current = previous;
        if (early) activator->deactivate();
        activator.reset();
    }
};

// Whether model and library agree after each of the steps.
bool agreeThroughout(Projects& projects, const Kinds& kinds, const Order& order) {
    const ContextActivator base;  // ends last and leaves nothing current
    std::array<Activation, activatorCount> activations;
    Current current;
    for (std::size_t index = 0; index < activatorCount; ++index) {
        activations[index].begin(projects, kinds[index], current);
        if (!projects.agree(current) || !activations[index].isAsModelled(projects)) return false;
    }
    for (const std::size_t index : order) {
        if (!activations[index].isAsModelled(projects)) return false;
        activations[index].end(current, index % 2 == 0);
        if (!projects.agree(current)) return false;
    }
    return true;
}

std::string describe(const Kinds& kinds, const Order& order) {
    std::ostringstream text;
    text << "Kinds";
    for (const Kind kind : kinds)
        text << ' ' << static_cast<int>(kind);
    text << ", ended in the order";
    for (const std::size_t index : order)
        text << ' ' << index;
    return text.str();
}

// All sequences of four kinds, each with all orders of ending.
void compareAll(Context<Process>& process) {
    Projects projects(process);
    unsigned compared = 0;
    for (int number = 0; number < kindCount * kindCount * kindCount * kindCount; ++number) {
        Kinds kinds{};
        std::generate(kinds.begin(), kinds.end(), [rest = number]() mutable {
            return static_cast<Kind>(std::exchange(rest, rest / kindCount) % kindCount);
        });
        Order order{};
        std::iota(order.begin(), order.end(), std::size_t{0});
        do {
            ASSERT_TRUE(agreeThroughout(projects, kinds, order)) << describe(kinds, order);
            ASSERT_TRUE(projects.agree({})) << describe(kinds, order);
            ++compared;
        } while (std::next_permutation(order.begin(), order.end()));
    }
    EXPECT_EQ(compared, 6u * 6 * 6 * 6 * 24);
}

// Whatever four activators were made of and in whatever order they end, each step leaves the thread with what the model
// says; two threads do so at once, with contexts of their own.
TEST(ActivatorOrders, EachEndInstallsWhatWasCurrentBefore) {
    const ScopedErrorHandler handler(&throwReport);
    Context<Process> process;
    together(2, [&process](unsigned) { compareAll(process); });
}

}  // namespace
}  // namespace foundation::tests
