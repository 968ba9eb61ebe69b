#pragma once

/// @file
/// What the modules of the process have said of their state types.

#include <foundation/state/module.h>
#include <foundation/state/type_id.h>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <vector>

namespace foundation::state::detail {

/// What one module says of a type.
struct Use {
    Module module;
    const std::type_info* scope;
    Layout layout;
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

    mutable std::mutex m_mutex;
    std::map<std::string, Type> m_types;
};

}  // namespace foundation::state::detail
