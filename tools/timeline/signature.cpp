#include "signature.h"

#include <array>
#include <utility>

namespace timeline {

namespace {

constexpr std::size_t longestName = 160;

// The member's name between the class and its parameters; empty if the signature isn't one of the class.
std::string_view memberOf(std::string_view text, std::string_view className, std::string_view afterName) {
    const auto at = text.find(className);
    if (at == std::string_view::npos) return {};
    const auto begin = text.find(afterName, at);
    if (begin == std::string_view::npos) return {};
    const auto member = text.substr(begin + afterName.size());
    return member.substr(0, member.find('('));
}

// The value of a template parameter in `[with A = x; B = y]` or `[A = x, B = y]`.
Scope scopeParameter(std::string_view text, std::string_view name) {
    const std::string wanted = std::string(name) + " = ";
    for (auto at = text.find(wanted); at != std::string_view::npos; at = text.find(wanted, at + 1)) {
        if (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '[')) {
            const auto value = text.substr(at + wanted.size());
            return scopeOf(value.substr(0, value.find_first_of(";,]")));
        }
    }
    return Scope::unknown;
}

Kind contextOperation(std::string_view member) {
    constexpr std::array<std::pair<std::string_view, Kind>, 8> kinds{{{"ContextImpl", Kind::create},
                                                                      {"~ContextImpl", Kind::destruct},
                                                                      {"destroy", Kind::destroy},
                                                                      {"releaseParentNoLock", Kind::releaseParent},
                                                                      {"insert", Kind::insert},
                                                                      {"findOrInsert", Kind::findOrInsert},
                                                                      {"erase", Kind::erase},
                                                                      {"eraseAll", Kind::eraseAll}}};
    for (const auto& [name, kind] : kinds) {
        if (member == name) return kind;
    }
    return Kind::other;
}

Kind kindOf(std::string_view text) {
    if (memberOf(text, "InstanceManager", "::") == "erase") return Kind::deleteState;
    return contextOperation(memberOf(text, "ContextImpl<", ">::"));
}

std::string nameOf(const Signature& signature, std::string_view text) {
    const std::string scope(scopeName(signature.scope));
    switch (signature.kind) {
        case Kind::create:
            return scope + " created";
        case Kind::destruct:
            return scope + " freed";
        case Kind::destroy:
            return scope + " destroy";
        case Kind::releaseParent:
            return scope + " leaves its parent";
        case Kind::insert:
            return scope + " insert";
        case Kind::findOrInsert:
            return scope + " findOrInsert";
        case Kind::erase:
            return scope + " erase";
        case Kind::eraseAll:
            return std::string(scopeName(signature.stateScope)) + " eraseAll";
        case Kind::deleteState:
            return "state deleted";
        case Kind::other:
            break;
    }
    return std::string(text.substr(0, longestName));
}

Signature parseSignature(std::string_view text) {
    Signature signature;
    signature.kind = kindOf(text);
    signature.scope = scopeParameter(text, "Scope");
    signature.stateScope = scopeParameter(text, "StateScope");
    signature.name = nameOf(signature, text);
    const bool hasScope = signature.kind != Kind::other && signature.kind != Kind::deleteState;
    signature.isCutOff = hasScope && (signature.scope == Scope::unknown || !text.ends_with(']'));
    return signature;
}

}  // namespace

std::string_view scopeName(Scope scope) {
    switch (scope) {
        case Scope::process:
            return "Process";
        case Scope::zarn:
            return "Zarn";
        case Scope::workspace:
            return "Workspace";
        case Scope::unknown:
            break;
    }
    return "Context";
}

Scope scopeOf(std::string_view tag) {
    if (tag == "foundation::tav::scope::Process") return Scope::process;
    if (tag == "foundation::tav::scope::Zarn") return Scope::zarn;
    if (tag == "foundation::tav::scope::Workspace") return Scope::workspace;
    return Scope::unknown;
}

const Signature& Signatures::get(std::string_view text) {
    const auto found = m_signatures.find(text);
    if (found != m_signatures.end()) return found->second;
    return m_signatures.emplace(std::string(text), parseSignature(text)).first->second;
}

}  // namespace timeline
