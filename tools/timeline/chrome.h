#pragma once

/// @file
/// Chrome's trace-event format, which Perfetto and other viewers open.
///
/// - The process `operations` has a track for each thread, with its operations nested (`B` and `E`); errors,
///   exceptions, late uses and slow deletions are instants there (`i`).
/// - The process `current contexts` has two tracks for each thread, one per scope.
/// - The process `contexts and states` has their lives as asynchronous events (`b` and `e`), of the categories
///   `context` and `state`.
/// - `otherData` has the counts, and what could not be read.
///
/// Times are microseconds from the first record on.

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include "events.h"
#include "names.h"
#include "report.h"

namespace timeline {

/// Writes events as they come: needs no more memory than the names of the contexts.
class ChromeWriter : public Observer {
public:
    /// The stream must outlive the writer.
    explicit ChromeWriter(std::ostream& out);

    void traceBegan(Time time) override { m_begin = time; }
    void threadAppeared(Thread thread) override;
    void operationBegan(const Operation& operation) override;
    void operationEnded(const Operation& operation) override;
    void contextBegan(const Context& context) override;
    void contextEnded(const Context& context) override;
    void stateBegan(const State& state) override;
    void stateEnded(const State& state) override;
    void currentChanged(Thread thread, Scope scope, ContextId context, Time time) override;
    void marked(const Mark& mark) override;

    /// After everything else.
    void finish(const Report& report);

private:
    struct Track {
        int process = 0;
        std::uint64_t thread = 0;
    };

    static Track currentTrack(Thread thread, Scope scope);
    void write(char phase, Track track, Time time, std::string_view more);
    void writeName(std::string_view what, Track track, std::string_view name);
    void writeNumber(const std::string& key, std::uint64_t number);

    std::ostream& m_out;
    ContextNames m_names;
    Time m_begin = 0;
    bool m_isFirst = true;
    std::set<std::uint64_t> m_openCurrent;  // tracks on which a context is current
};

}  // namespace timeline
