#include <foundation/core/diag.h>
#include <foundation/state/detail/registry.h>
#include <foundation/state/export.h>
#include <foundation/state/module.h>
#include <foundation/state/state.h>
#include <foundation/state/type_id.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/detail/platform.h>
#include <foundation/tav/report.h>
#include <foundation/tav/state_ptr.h>
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <vector>

namespace foundation::state {
namespace detail {
namespace {

std::string readableName(const std::type_info& type) {
    return core::diag::detail::demangle_typeid_name(type.name(), false);
}

bool disagree(const Use& a, const Use& b) {
    const bool bothDefined = a.layout != Layout() && b.layout != Layout();
    return *a.scope != *b.scope || (bothDefined && a.layout != b.layout);
}

/// What a module says of a type, for a report.
std::string describe(const Use& use) {
    std::string text = "'" + use.module.file + "' has it with scope '" + readableName(*use.scope) + "'";
    if (use.layout != Layout())
        text += ", size " + std::to_string(use.layout.size) + ", alignment " + std::to_string(use.layout.alignment) +
                " and StateVersion " + std::to_string(use.layout.version);
    return text;
}

[[noreturn]] void reportDisagreement(const std::string& type, const Use& first, const Use& second) {
    tav::reportError({"State type '" + type + "' differs between modules: " + describe(first) + "; " +
                          describe(second) + ". Build both with the same definition of the type.",
                      __FILE__, __LINE__, "foundation::state::registerType"});
}

}  // namespace

std::string unknownName(std::uint64_t id) { return "(id " + std::to_string(id) + ")"; }

Registry& Registry::instance() {
    static Registry& registry = *new Registry;
    return registry;
}

/// Mangled names are the same in all modules. Those of unnamed namespaces are so by accident only: they count together
/// with the place of the anchor in its file, which is the same when a module is loaded again.
std::string Registry::keyOf(const std::type_info& type, const Module& module, const void* anchor) {
    std::string key = type.name();
    if (!tav::detail::platform::isOfUnnamedNamespace(key)) return key;
    const auto offset = static_cast<const std::byte*>(anchor) - static_cast<const std::byte*>(module.begin);
    return key + " " + std::to_string(offset) + " " + module.file;
}

const Use* Registry::findDisagreeing(const Type& type, const Use& use) {
    const auto found = std::find_if(type.uses.begin(), type.uses.end(), [&use](const Use& other) {
        return other.module.begin != use.module.begin && disagree(other, use);
    });
    return found == type.uses.end() ? nullptr : &*found;
}

void Registry::addUse(Type& type, const Use& use) {
    const auto isOfModule = [&use](const Use& other) { return other.module.begin == use.module.begin; };
    const auto known = std::find_if(type.uses.begin(), type.uses.end(), isOfModule);
    if (known == type.uses.end())
        type.uses.push_back(use);
    else if (use.layout != Layout())
        *known = use;
}

std::uint64_t Registry::idOf(const std::type_info& type, const Use& use, const void* anchor, NextID nextID) {
    const std::string key = keyOf(type, use.module, anchor);
    std::optional<Use> disagreeing;  // reported unlocked: the handler may use the registry
    {
        const std::lock_guard lock(m_mutex);
        Type& registered = m_types[key];
        const Use* const other = findDisagreeing(registered, use);
        if (!other) {
            addUse(registered, use);
            if (registered.name.empty()) registered.name = readableName(type);
            const auto known = registered.ids.find(*use.scope);
            return known != registered.ids.end() ? known->second : addID(registered, *use.scope, nextID(type));
        }
        disagreeing = *other;
    }
    reportDisagreement(readableName(type), *disagreeing, use);
}

void Registry::removeUses(const Module& module) {
    const std::lock_guard lock(m_mutex);
    for (auto& [key, type] : m_types)
        std::erase_if(type.uses, [&module](const Use& use) { return use.module.begin == module.begin; });
}

/// An id whose second entry fails for want of memory has a name and no use.
std::uint64_t Registry::addID(Type& type, const std::type_info& scope, std::uint64_t id) {
    m_typesByID.emplace(std::pair(std::type_index(scope), id), &type);
    return type.ids[scope] = id;
}

const Registry::Type* Registry::findType(const std::type_info& scope, std::uint64_t id) const {
    const auto found = m_typesByID.find({scope, id});
    return found == m_typesByID.end() ? nullptr : found->second;
}

KnownType Registry::typeOf(const std::type_info& scope, std::uint64_t id) const {
    const std::lock_guard lock(m_mutex);
    const Type* const type = findType(scope, id);
    if (!type) return {unknownName(id), std::nullopt};
    const auto isDefined = [](const Use& use) { return use.layout != Layout(); };
    const auto defined = std::find_if(type->uses.begin(), type->uses.end(), isDefined);
    if (defined == type->uses.end()) return {type->name, std::nullopt};
    return {type->name, defined->layout.size};
}

std::string Registry::nameOf(const std::type_info& scope, std::uint64_t id) const {
    const std::lock_guard lock(m_mutex);
    const Type* const type = findType(scope, id);
    return type ? type->name : std::string();
}

tav::StatePtr checkedState(const std::type_info& type, void* state, tav::StateDeleter deleter) {
    if (!state)
        tav::reportError({"Attempting to insert a null pointer as state of type '" + readableName(type) +
                              "'. Insert an object, or 'erase' the state to have none.",
                          __FILE__, __LINE__, "foundation::state::insert"});
    return {state, deleter};
}

}  // namespace detail

template <class Scope>
std::uint64_t registerType(CachedIDs& cache, const std::type_info& type, const Layout& layout) {
    const detail::Use use{moduleOf(&cache), &typeid(Scope), layout};
    const std::uint64_t id = detail::Registry::instance().idOf(type, use, &cache, &tav::Detail<Scope>::getNextID);
    (layout == Layout() ? cache.ofDeclared : cache.ofDefined).store(id, std::memory_order_relaxed);
    return id;
}

template FOUNDATION_STATE_EXPORT std::uint64_t registerType<tav::scope::Process>(CachedIDs&, const std::type_info&,
                                                                                 const Layout&);
template FOUNDATION_STATE_EXPORT std::uint64_t registerType<tav::scope::Zarn>(CachedIDs&, const std::type_info&,
                                                                              const Layout&);
template FOUNDATION_STATE_EXPORT std::uint64_t registerType<tav::scope::Workspace>(CachedIDs&, const std::type_info&,
                                                                                   const Layout&);

std::string typeName(const std::type_info& scope, std::uint64_t id) {
    return detail::Registry::instance().nameOf(scope, id);
}

const std::type_info& pointedAt(const std::type_info& pointer) { return tav::detail::platform::pointedAt(pointer); }

}  // namespace foundation::state
