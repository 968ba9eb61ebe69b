#include "teardown_log.h"

namespace text_host {

// No deleter can find the log while the log itself is deleted, so it has to enter itself.
TeardownLog::~TeardownLog() { add(scopeName<StateScope>, label()); }

void TeardownLog::add(std::string_view scope, std::string_view label) {
    std::string line(scope);
    line.append("  ").append(label);
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(std::move(line));
}

}  // namespace text_host
