#pragma once

/// @file
/// What the modules of the process have said of their state types.

#include <foundation/state/module.h>
#include <foundation/state/type_id.h>
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

namespace foundation::state::detail {

/// What one module says of a type.
struct Use {
    Module module;
    const std::type_info* scope;
    Layout layout;
};

/// What a type is called that was stored without this library: "(id 7)".
std::string unknownName(std::uint64_t id);

/// What is known of the type that has an id in a scope.
struct KnownType {
    std::string name;                 ///< `unknownName` if the id was not handed out here
    std::optional<std::size_t> size;  ///< in bytes, where a module in memory has told it
};

/// Ids by type and scope, for good; and who uses a type at present. Owns all text, since that of a module goes with it.
class Registry {
public:
    using NextID = std::uint64_t (*)(const std::type_info& type);

    /// The one of the process, never destroyed: modules and static objects come and go when they like.
    static Registry& instance();

    /// The id of the type in the scope that the use names, from `nextID` if it is new. `anchor` lies in the module, one
    /// for each type, and for each translation unit where the type is of an unnamed namespace.
    std::uint64_t idOf(const std::type_info& type, const Use& use, const void* anchor, NextID nextID);

    /// Forgets what a module has said.
    void removeUses(const Module& module);

    KnownType typeOf(const std::type_info& scope, std::uint64_t id) const;

    /// Empty if the id was not handed out here.
    std::string nameOf(const std::type_info& scope, std::uint64_t id) const;

private:
    struct Type {
        std::string name;  // readable
        std::map<std::type_index, std::uint64_t> ids;
        std::vector<Use> uses;  // one for each module
    };

    static std::string keyOf(const std::type_info& type, const Module& module, const void* anchor);
    static const Use* findDisagreeing(const Type& type, const Use& use);
    static void addUse(Type& type, const Use& use);
    std::uint64_t addID(Type& type, const std::type_info& scope, std::uint64_t id);
    const Type* findType(const std::type_info& scope, std::uint64_t id) const;  // null if there is none

    mutable std::mutex m_mutex;
    std::map<std::string, Type> m_types;
    std::map<std::pair<std::type_index, std::uint64_t>, const Type*> m_typesByID;
};

}  // namespace foundation::state::detail
