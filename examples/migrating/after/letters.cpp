#include "letters.h"

#include <foundation/state/state.h>

namespace letters {

namespace state = foundation::state;

Journal& Journal::instance() { return state::findOrCreate<Journal>(); }

std::string letter(const std::string& format) {
    auto& company = state::findOrFail<Company>();
    ++company.letters;
    Journal::instance().note();
    return state::findOrFail<Formats>().byName.at(format)(state::findOrCreate<Settings>().greeting + ' ' +
                                                          state::findOrFail<Customer>().name + ", yours " +
                                                          company.name);
}

}  // namespace letters
