#include <foundation/state/detail/registry.h>
#include <foundation/state/inspect.h>
#include <foundation/state/module.h>
#include <foundation/tav/inspect.h>
#include <foundation/tav/scope.h>
#include <charconv>
#include <iterator>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>
#include <typeinfo>
#include <utility>
// What nlohmann's templates use:
// IWYU pragma: no_include <algorithm>
// IWYU pragma: no_include <memory>

namespace foundation::state {
namespace {

using tav::management::ContextRecord;
using tav::management::ContextState;
using tav::management::StateRecord;

const char* nameOf(const std::type_info& scope) {
    if (scope == typeid(tav::scope::Process)) return "Process";
    return scope == typeid(tav::scope::Zarn) ? "Zarn" : "Workspace";
}

const char* nameOf(ContextState state) {
    switch (state) {
        case ContextState::running:
            return "running";
        case ContextState::shutdown:
            return "shutdown";
        case ContextState::destroyed:
            break;
    }
    return "destroyed";
}

StateInfo infoOf(const StateRecord& record, const std::type_info& scope) {
    detail::KnownType type = detail::Registry::instance().typeOf(scope, record.typeID);
    return {std::move(type.name), record.typeID, type.size, record.address,
            moduleOf(reinterpret_cast<const void*>(record.deleter)).file};
}

ContextInfo infoOf(const ContextRecord& record) {
    ContextInfo info{nameOf(*record.scope),
                     record.address,
                     record.parent,
                     record.state,
                     record.activations,
                     record.isCurrent,
                     {},
                     {}};
    for (const StateRecord& state : record.states)
        info.states.push_back(infoOf(state, *record.scope));
    return info;
}

/// The context that the record at `next` tells of, with all below it, whose records follow.
ContextInfo takeTree(const std::vector<ContextRecord>& records, std::size_t& next) {
    ContextInfo info = infoOf(records[next++]);
    while (next < records.size() && records[next].parent == info.address)
        info.children.push_back(takeTree(records, next));
    return info;
}

/// "0x" and hexadecimal digits, whatever the locale.
std::string textOf(const void* address) {
    char digits[2 * sizeof(std::uintptr_t)];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), reinterpret_cast<std::uintptr_t>(address), 16);
    return "0x" + std::string(std::begin(digits), end.ptr);
}

std::string counted(std::uint64_t number, std::string_view unit) {
    return std::to_string(number) + " " + std::string(unit) + (number == 1 ? "" : "s");
}

std::string activationOf(const ContextInfo& context) {
    std::string times = "activated " + counted(context.activations, "time");
    if (!context.parent) return times;
    if (context.activations == 0) return "not current";
    const std::string place = context.isCurrent ? "current on this thread" : "current on another thread";
    return context.activations == 1 ? place : place + ", " + times;
}

std::string headingOf(const ContextInfo& context) {
    return context.scope + " " + textOf(context.address) + ", " + nameOf(context.state) + ", " + activationOf(context);
}

std::string sizeOf(const StateInfo& state) { return state.size ? counted(*state.size, "byte") : "unknown size"; }

std::string lineOf(const StateInfo& state) {
    return state.type + ", id " + std::to_string(state.id) + ", " + sizeOf(state) + " at " + textOf(state.address) +
           ", deleter in " + (state.module.empty() ? "no module" : state.module);
}

void writeText(std::ostream& out, const ContextInfo& context, const std::string& indentation) {
    const std::string inner = indentation + "    ";
    out << indentation << headingOf(context) << '\n';
    for (const StateInfo& state : context.states)
        out << inner << lineOf(state) << '\n';
    for (const ContextInfo& child : context.children)
        writeText(out, child, inner);
}

nlohmann::ordered_json jsonOf(const StateInfo& state) {
    return {{"type", state.type},
            {"id", state.id},
            {"size", state.size ? nlohmann::ordered_json(*state.size) : nullptr},
            {"address", textOf(state.address)},
            {"module", state.module}};
}

nlohmann::ordered_json jsonOf(const ContextInfo& context) {
    nlohmann::ordered_json states = nlohmann::ordered_json::array();
    for (const StateInfo& state : context.states)
        states.push_back(jsonOf(state));
    nlohmann::ordered_json children = nlohmann::ordered_json::array();
    for (const ContextInfo& child : context.children)
        children.push_back(jsonOf(child));
    return {{"scope", context.scope},
            {"address", textOf(context.address)},
            {"parent", context.parent ? nlohmann::ordered_json(textOf(context.parent)) : nullptr},
            {"state", nameOf(context.state)},
            {"activations", context.activations},
            {"isCurrent", context.isCurrent},
            {"states", std::move(states)},
            {"children", std::move(children)}};
}

/// For a label between quotation marks.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result;
}

const char* borderOf(const ContextInfo& context) {
    if (context.isCurrent) return "penwidth=3";
    return context.activations > 0 ? "style=dashed" : "style=solid";
}

void writeDot(std::ostream& out, const ContextInfo& context) {
    const std::string name = textOf(context.address);
    out << "    \"" << name << "\" [" << borderOf(context) << ", label=\"" << headingOf(context) << "\\l";
    for (const StateInfo& state : context.states)
        out << escaped(state.type) << ", " << sizeOf(state) << "\\l";
    out << "\"];\n";
    if (context.parent) out << "    \"" << textOf(context.parent) << "\" -> \"" << name << "\";\n";
    for (const ContextInfo& child : context.children)
        writeDot(out, child);
}

}  // namespace

Snapshot inspect() {
    const std::vector<ContextRecord> records = tav::management::inspectContexts();
    if (records.empty()) return {};
    std::size_t next = 0;
    return {takeTree(records, next)};
}

void writeText(std::ostream& out, const Snapshot& snapshot) {
    if (snapshot.process)
        writeText(out, *snapshot.process, "");
    else
        out << "No Process context is active.\n";
}

void writeJson(std::ostream& out, const Snapshot& snapshot) {
    const nlohmann::ordered_json json = {{"process", snapshot.process ? jsonOf(*snapshot.process) : nullptr}};
    out << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

void writeDot(std::ostream& out, const Snapshot& snapshot) {
    out << "digraph contexts {\n    node [shape=box, fontname=\"sans-serif\"];\n";
    if (snapshot.process) writeDot(out, *snapshot.process);
    out << "}\n";
}

}  // namespace foundation::state
