#include "execution.h"
#include "operation.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <string>

namespace {

using namespace foundation::tests::model;

constexpr std::size_t reportCounters = 256;

// The fuzzer counts these beside the edges: calls, calls of deleters, reports. The same code carries them all out, so
// that the edges alone don't tell them apart.
[[gnu::section("__libfuzzer_extra_counters"), gnu::used]] std::array<std::uint8_t, 2 * kinds.size() + reportCounters>
    counters;

std::size_t indexOf(const Kind& kind) {
    return static_cast<std::size_t>(std::find(kinds.begin(), kinds.end(), kind) - kinds.begin());
}

void count(const Coverage& coverage) {
    for (const Kind& kind : coverage.kinds)
        counters[indexOf(kind)] = 1;
    for (const Kind& kind : coverage.nestedKinds)
        counters[kinds.size() + indexOf(kind)] = 1;
    for (const std::string& report : coverage.reports)
        counters[2 * kinds.size() + std::hash<std::string>()(report) % reportCounters] = 1;
}

}  // namespace

// A program that the library doesn't run as the model does is a crash for the fuzzer, which keeps it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Coverage coverage;
    if (const auto divergence = run(decode({bytes, size}), Layer::bare, Recording::off, coverage)) {
        std::fputs(divergence->c_str(), stderr);
        std::abort();
    }
    count(coverage);
    return 0;
}
