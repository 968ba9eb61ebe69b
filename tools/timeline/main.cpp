// tav-timeline: what a diagnostic trace tells, on a time line. Records are read (reader.h, record.h), told as
// operations, contexts and states (model.h, events.h), and written by observers (chrome.h, page.h, summary.h).

#include <unistd.h>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>
#include "options.h"
#include "run.h"

namespace timeline {

namespace {

constexpr int success = 0;
constexpr int incomplete = 1;
constexpr int wrongUsage = 2;

int runChecked(const std::vector<std::string>& arguments) {
    const Options options = parseOptions(arguments);
    bool isComplete = true;
    if (options.help) {
        std::cout << usage << help;
    } else {
        isComplete = run(options, std::cout, std::cerr, isatty(STDERR_FILENO) != 0);
    }
    if (!std::cout.flush()) throw std::runtime_error("cannot write to standard output");
    return isComplete ? success : incomplete;
}

}  // namespace

}  // namespace timeline

int main(int argc, char** argv) {
    using namespace timeline;
    try {
        return runChecked(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& error) {
        std::cerr << "tav-timeline: " << error.what() << "\n\n" << usage;
        return wrongUsage;
    } catch (const std::exception& error) {
        std::cerr << "tav-timeline: " << error.what() << '\n';
        return incomplete;
    }
}
