#include "letters.h"

namespace letters {

Settings settings;
Company* company = nullptr;
thread_local const Customer* customer = nullptr;

Journal& Journal::instance() {
    static Journal journal;
    return journal;
}

std::string letter(const std::string& format) {
    ++company->letters;
    Journal::instance().note();
    return formats.at(format)(settings.greeting + ' ' + customer->name + ", yours " + company->name);
}

}  // namespace letters
