#include <foundation/state/detail/json.h>
#include <foundation/state/detail/registry.h>
#include <foundation/state/detail/text.h>
#include <foundation/state/inspect.h>
#include <foundation/state/module.h>
#include <foundation/tav/inspect.h>
#include <ostream>
#include <string_view>
#include <typeinfo>
#include <utility>
// What nlohmann's templates use:
// IWYU pragma: no_include <algorithm>
// IWYU pragma: no_include <memory>

namespace foundation::state {
namespace {

using detail::addressJson;
using detail::addressText;
using detail::counted;
using detail::deleterText;
using detail::Json;
using detail::scopeName;
using tav::management::ContextRecord;
using tav::management::ContextState;
using tav::management::StateRecord;

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
    ContextInfo info{scopeName(*record.scope),
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

std::string activationOf(const ContextInfo& context) {
    std::string times = "activated " + counted(context.activations, "time");
    if (!context.parent) return times;
    if (context.activations == 0) return "not current";
    const std::string place = context.isCurrent ? "current on this thread" : "current on another thread";
    return context.activations == 1 ? place : place + ", " + times;
}

std::string headingOf(const ContextInfo& context) {
    return context.scope + " " + addressText(context.address) + ", " + nameOf(context.state) + ", " +
           activationOf(context);
}

std::string sizeOf(const StateInfo& state) { return state.size ? counted(*state.size, "byte") : "unknown size"; }

std::string lineOf(const StateInfo& state) {
    return state.type + ", id " + std::to_string(state.id) + ", " + sizeOf(state) + " at " +
           addressText(state.address) + ", " + deleterText(state.module);
}

void writeText(std::ostream& out, const ContextInfo& context, const std::string& indentation) {
    const std::string inner = indentation + "    ";
    out << indentation << headingOf(context) << '\n';
    for (const StateInfo& state : context.states)
        out << inner << lineOf(state) << '\n';
    for (const ContextInfo& child : context.children)
        writeText(out, child, inner);
}

Json jsonOf(const StateInfo& state) {
    return {{"type", state.type},
            {"id", state.id},
            {"size", state.size ? Json(*state.size) : nullptr},
            {"address", addressText(state.address)},
            {"module", state.module}};
}

Json jsonOf(const ContextInfo& context) {
    Json states = Json::array();
    for (const StateInfo& state : context.states)
        states.push_back(jsonOf(state));
    Json children = Json::array();
    for (const ContextInfo& child : context.children)
        children.push_back(jsonOf(child));
    return {{"scope", context.scope},
            {"address", addressText(context.address)},
            {"parent", addressJson(context.parent)},
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
    const std::string name = addressText(context.address);
    out << "    \"" << name << "\" [" << borderOf(context) << ", label=\"" << headingOf(context) << "\\l";
    for (const StateInfo& state : context.states)
        out << escaped(state.type) << ", " << sizeOf(state) << "\\l";
    out << "\"];\n";
    if (context.parent) out << "    \"" << addressText(context.parent) << "\" -> \"" << name << "\";\n";
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
    const Json json = {{"process", snapshot.process ? jsonOf(*snapshot.process) : nullptr}};
    detail::write(out, json);
}

void writeDot(std::ostream& out, const Snapshot& snapshot) {
    out << "digraph contexts {\n    node [shape=box, fontname=\"sans-serif\"];\n";
    if (snapshot.process) writeDot(out, *snapshot.process);
    out << "}\n";
}

}  // namespace foundation::state
