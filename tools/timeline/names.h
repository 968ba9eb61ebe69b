#pragma once

/// @file
/// What contexts and threads are called in all that is written.

#include <string>
#include <utility>
#include <vector>
#include "events.h"

namespace timeline {

inline std::string contextName(Scope scope, std::uint32_t number) {
    return std::string(scopeName(scope)) + ' ' + std::to_string(number);
}

/// The names of the contexts that have begun.
class ContextNames {
public:
    void add(const Context& context) {
        if (m_names.size() <= context.id) m_names.resize(context.id + std::size_t{1});
        m_names[context.id] = {context.scope, context.number};
    }

    /// Empty for none.
    std::string get(ContextId id) const {
        if (id == 0 || id >= m_names.size()) return {};
        return contextName(m_names[id].first, m_names[id].second);
    }

private:
    std::vector<std::pair<Scope, std::uint32_t>> m_names;  // by id
};

}  // namespace timeline
