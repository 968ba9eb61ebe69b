#pragma once

/// @file
/// One HTML page with everything in it: data, style and script. It loads nothing.

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>
#include "events.h"
#include "longest.h"
#include "report.h"

namespace timeline {

/// How much a page holds at most. Beyond it the shortest are left out, and the page says how many and up to which
/// duration; its counts are those of the whole trace.
struct PageLimits {
    std::size_t operations = 1'000'000;
    std::size_t contexts = 200'000;
    std::size_t states = 400'000;
    std::size_t activations = 400'000;
    std::size_t marks = 5'000;
};

/// Collects what the page shows, which is written at the end.
class PageWriter : public Observer {
public:
    explicit PageWriter(const PageLimits& limits = {});

    void threadAppeared(Thread thread) override;
    void operationEnded(const Operation& operation) override;
    void contextEnded(const Context& context) override;
    void stateEnded(const State& state) override;
    void currentChanged(Thread thread, Scope scope, ContextId context, Time time) override;
    void marked(const Mark& mark) override;

    /// Once, after everything else.
    void write(std::ostream& out, const Report& report);

private:
    /// Texts by number, in the order of their first use; 0 is the empty one.
    class Texts {
    public:
        std::uint32_t number(std::string_view text);
        std::string json() const;

    private:
        std::map<std::string, std::uint32_t, std::less<>> m_numbers{{"", 0}};
        std::vector<const std::string*> m_texts{&m_numbers.begin()->first};
    };

    struct PageOperation {
        Time begin;
        Time end;
        Thread thread;
        ContextId context;
        std::uint32_t type;
        std::uint32_t name;
        unsigned depth;
        Kind kind;
        Operation::Ending ending;
    };

    struct PageState {
        Time begin;
        Time end;
        Time deleteBegin;
        std::uint32_t id;
        std::uint32_t type;
        std::uint64_t typeId;
        ContextId context;
        Thread inserter;
        Thread deleter;
        bool isBeginKnown;
        bool isDeletionKnown;
        State::Ending ending;
    };

    struct Activation {
        Time begin;
        Time end;
        Thread thread;
        Scope scope;
        ContextId context;
    };

    struct PageMark {
        Mark::Kind kind;
        Thread thread;
        Time time;
        std::uint64_t line;
        std::uint32_t state;
        std::string text;
    };

    void writeData(std::ostream& out, const Report& report);
    void writeOperations(std::ostream& out, Time begin);
    void writeContexts(std::ostream& out, Time begin);
    void writeStates(std::ostream& out, Time begin);
    void writeActivations(std::ostream& out, Time begin);
    void writeMarks(std::ostream& out, Time begin);
    std::map<std::uint32_t, std::size_t> placesOfMarkedStates();
    std::vector<std::string> notes(const Report& report) const;

    std::vector<Thread> m_threads;
    Texts m_texts;
    Longest<PageOperation> m_operations;
    Longest<Context> m_contexts;
    Longest<PageState> m_states;
    Longest<Activation> m_activations;
    std::map<std::pair<Thread, Scope>, Activation> m_current;
    std::size_t m_marksKept;
    std::vector<PageMark> m_marks;
    std::uint64_t m_marksDropped = 0;
};

}  // namespace timeline
