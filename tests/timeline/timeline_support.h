#pragma once

/// @file
/// Traces as text, and what is read from them.

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>
#include "events.h"
#include "model.h"
#include "names.h"
#include "problems.h"
#include "reader.h"
#include "report.h"

namespace timeline::tests {

/// The operations as g++ spells them; `scope` is `Process`, `Zarn` or `Workspace`.
namespace gcc {

inline std::string member(const std::string& before, const std::string& scope, const std::string& parameters = "",
                          const std::string& more = "") {
    return before + '(' + parameters + ") [with Scope = foundation::tav::scope::" + scope + more + ']';
}
inline std::string create(const std::string& scope) {
    return member("{anonymous}::ContextImpl<Scope>::ContextImpl", scope,
                  scope == "Process" ? ""
                                     : "std::shared_ptr<{anonymous}::ContextImpl<typename "
                                       "{anonymous}::ScopeTraits<Scope>::Parent> >");
}
inline std::string destruct(const std::string& scope) {
    return member("{anonymous}::ContextImpl<Scope>::~ContextImpl", scope);
}
inline std::string destroy(const std::string& scope) {
    return member("bool {anonymous}::ContextImpl<Scope>::destroy", scope);
}
inline std::string release(const std::string& scope) {
    return member("void {anonymous}::ContextImpl<Scope>::releaseParentNoLock", scope);
}
inline std::string state(const std::string& operation, const std::string& scope) {
    return member("foundation::tav::StatePtr& {anonymous}::ContextImpl<Scope>::" + operation, scope,
                  "uint64_t, const std::type_info&, foundation::tav::StatePtr&&",
                  "; foundation::tav::StatePtr = std::unique_ptr<void, void (*)(void*)>; uint64_t = long unsigned int");
}
inline std::string insert(const std::string& scope) { return state("insert", scope); }
inline std::string findOrInsert(const std::string& scope) { return state("findOrInsert", scope); }
inline std::string erase(const std::string& scope) { return state("erase", scope); }
inline std::string eraseAll(const std::string& stateScope) {
    return "uint64_t {anonymous}::ContextImpl<Scope>::eraseAll(uint64_t, const std::type_info&) [with StateScope = "
           "foundation::tav::scope::" +
           stateScope + "; Scope = foundation::tav::scope::Process; uint64_t = long unsigned int]";
}
inline const std::string deleteState =
    "static void {anonymous}::InstanceManager::erase(uint64_t, foundation::tav::StatePtr&&)";

}  // namespace gcc

/// A type, and a context if given, as the records of a teardown name them.
inline std::string of(const std::string& scope, const std::string& id, const std::string& address = "") {
    return "  scope=foundation::tav::scope::" + scope + "  id=" + id + (address.empty() ? "" : "  context=" + address);
}

/// A trace that is being written: a record each microsecond.
class Trace {
public:
    Trace& add(unsigned severity, const std::string& message) {
        m_text += time(m_next++) + ' ' + std::to_string(m_thread) + " [foundation::tav] " + std::to_string(severity) +
                  ' ' + std::string(m_depth * std::size_t{2}, ' ') + message + '\n';
        return *this;
    }
    Trace& enter(const std::string& signature, const std::string& details = "") {
        add(32, signature + (details.empty() ? "" : "  " + details));
        ++m_depth;
        return *this;
    }
    Trace& leave(const std::string& signature, const std::string& more = "") {
        --m_depth;
        return add(64, signature + more);
    }
    Trace& call(const std::string& signature, const std::string& details) {
        return enter(signature, details).leave(signature);
    }
    Trace& on(unsigned thread) {
        m_thread = thread;
        return *this;
    }
    Trace& raw(const std::string& text) {
        m_text += text;
        return *this;
    }

    Trace& create(const std::string& scope, const std::string& address) {
        return call(gcc::create(scope), "this=" + address);
    }
    Trace& insert(const std::string& scope, const std::string& address, const std::string& id,
                  const std::string& type) {
        return call(gcc::insert(scope), "typeID=" + id + " getName(type)=" + type + " this=" + address);
    }
    Trace& deleteState(const std::string& id) { return call(gcc::deleteState, "typeID=" + id); }
    /// With the deletion of these states.
    Trace& destroy(const std::string& scope, const std::string& address, const std::vector<std::string>& ids = {}) {
        enter(gcc::destroy(scope), "this=" + address).call(gcc::release(scope), "this=" + address);
        for (const std::string& id : ids) {
            deleteState(id);
        }
        return leave(gcc::destroy(scope));
    }
    Trace& free(const std::string& scope, const std::string& address) {
        return call(gcc::destruct(scope), "this=" + address);
    }

    const std::string& text() const { return m_text; }

    /// The time so many microseconds after the first.
    static std::string time(int microseconds) {
        std::string digits = std::to_string(microseconds);
        return "2026-11-21T02:14:10." + std::string(6 - digits.size(), '0') + digits + 'Z';
    }

private:
    std::string m_text;
    int m_next = 0;
    unsigned m_thread = 1;
    unsigned m_depth = 0;
};

/// A text as a stream.
class Stream {
public:
    explicit Stream(std::string text) : m_text(std::move(text)) {
        m_file.reset(fmemopen(m_text.data(), m_text.size(), "r"));
        if (!m_file) throw std::runtime_error("fmemopen");
    }
    std::FILE* get() const { return m_file.get(); }

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::string m_text;
    std::unique_ptr<std::FILE, Close> m_file;
};

/// Reads the trace for these observers.
inline Report observe(const std::string& trace, const std::vector<Observer*>& observers) {
    Report report;
    report.trace = "a trace";
    const Stream stream(trace);
    LineReader lines(stream.get());
    RecordReader records(lines, report.problems);
    Model model(observers, report.problems);
    while (const RecordReader::Numbered* const record = records.next()) {
        model.add(*record);
    }
    model.finish();
    report.counts = model.counts();
    return report;
}

/// The problems, a line for each kind.
inline std::vector<std::string> problemLines(const Problems& problems) {
    std::vector<std::string> lines;
    problems.forEach([&](Problem problem, const Problems::Occurrences& occurrences) {
        lines.push_back(problemLine(problem, occurrences));
    });
    return lines;
}

/// A small trace with everything in it: two threads, three contexts, two states, an error, an exception, a late use and
/// a slow deletion.
inline std::string smallTrace() {
    Trace trace;
    trace.create("Process", "0xa0").insert("Process", "0xa0", "0", "Log").create("Zarn", "0xb0");
    trace.add(16, "push context  zarn=0xb0  workspace=0").create("Workspace", "0xc0");
    trace.on(2).add(16, "push context  zarn=0xb0  workspace=0xc0").insert("Workspace", "0xc0", "0", "Text<int, char>");
    trace.enter(gcc::insert("Workspace"), "typeID=0 getName(type)=Text<int, char> this=0xc0");
    trace.add(512, "m_function=f  m_file=a.cpp  m_line=7  m_message=Twice. <b>\"bug\"</b>");
    trace.leave(gcc::insert("Workspace"), " [throw]");
    trace.add(16, "pop context  zarn=0xb0  workspace=0xc0  restoring  zarn=0  workspace=0");
    trace.enter(gcc::destroy("Workspace"), "this=0xc0").call(gcc::release("Workspace"), "this=0xc0").deleteState("0");
    trace.add(16, "late find" + of("Workspace", "1", "0xc0") + "  by" + of("Workspace", "0"));
    trace.add(16, "slow deletion" + of("Workspace", "0", "0xc0") + "  microseconds=1503190  limit=1000000");
    trace.leave(gcc::destroy("Workspace")).free("Workspace", "0xc0");
    trace.on(1).add(16, "pop context  zarn=0xb0  workspace=0  restoring  zarn=0  workspace=0");
    trace.destroy("Zarn", "0xb0").free("Zarn", "0xb0").destroy("Process", "0xa0", {"0"}).free("Process", "0xa0");
    return trace.text();
}

}  // namespace timeline::tests
