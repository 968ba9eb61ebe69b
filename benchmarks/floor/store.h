#pragma once

/// @file
/// The least that a store of states needs, written straight: a list of nodes, and a table of slots that point into it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>
#include <utility>
#include <vector>

#include "export.h"

namespace bench::floor {

using State = std::unique_ptr<void, void (*)(void*)>;

/// A place in a circular list, by itself when it is in none.
struct Link {
    Link() = default;
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    void insertAfter(Link& position) {
        previous = &position;
        next = position.next;
        next->previous = this;
        position.next = this;
    }
    void unlink() {  // NOLINT(readability-make-member-function-const): it changes the list, if not the link
        previous->next = next;
        next->previous = previous;
    }

    Link* previous = this;
    Link* next = this;
};

struct Node : State, Link {
    explicit Node(State&& state) : State(std::move(state)) {}
};

class Store {
public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() {
        while (m_states.next != &m_states)
            // The analyzer doesn't see that what is deleted is in the list no more.
            remove(static_cast<Node*>(m_states.next));  // NOLINT(clang-analyzer-cplusplus.NewDelete): see above
    }

    State* find(std::uint64_t id) {
        if (id >= m_slotCount) [[unlikely]]
            grow(id);
        return m_slots[id];
    }

    State& insert(std::uint64_t id, State&& state) {
        if (id >= m_slotCount) [[unlikely]]
            grow(id);
        Node* const node = new Node(std::move(state));
        node->insertAfter(m_states);
        m_slots[id] = node;
        return *node;
    }

    bool erase(std::uint64_t id) {
        State* const state = find(id);
        if (!state) return false;
        m_slots[id] = nullptr;
        remove(static_cast<Node*>(state));
        return true;
    }

    /// Whether any slot is taken: a table read as fast as the cache gives it.
    bool isAnyTaken() const {
        using Slots [[gnu::vector_size(16), gnu::may_alias]] = std::uintptr_t;
        constexpr std::size_t step = 8;
        const auto* const slots = reinterpret_cast<const Slots*>(m_slots.data());
        Slots taken{};
        for (std::size_t i = 0; i + step <= m_slots.size() / 2; i += step)
            taken |= (slots[i] | slots[i + 1] | slots[i + 2] | slots[i + 3]) |
                     (slots[i + 4] | slots[i + 5] | slots[i + 6] | slots[i + 7]);
        return (taken[0] | taken[1]) != 0;
    }

private:
    [[gnu::cold]] BENCH_FLOOR_EXPORT void grow(std::uint64_t id);

    static void remove(Node* node) {
        node->unlink();
        delete node;
    }

    Link m_states;  // newest first
    std::vector<State*> m_slots;
    std::uint64_t m_slotCount = 0;
};

}  // namespace bench::floor
