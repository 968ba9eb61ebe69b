#include "execution.h"
#include "operation.h"
#include "world.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace foundation::tests::model {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::StartsWith;

struct Entry {
    std::string name;
    Program program;
};

/// A program from its line in the file: hexadecimal, two digits a byte.
Program programOf(const std::string& line) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at + 1 < line.size(); at += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(at, 2), nullptr, 16)));
    return decode(bytes);
}

std::vector<Entry> corpus() {
    std::vector<Entry> entries;
    std::ifstream file(FOUNDATION_MODEL_CORPUS);
    for (std::string line; std::getline(file, line);)
        entries.push_back({"line " + std::to_string(entries.size() + 1), programOf(line)});
    return entries;
}

/// The corpus run once.
struct CorpusRun {
    explicit CorpusRun(Layer layer, Recording recording = Recording::off) {
        for (const Entry& entry : corpus())
            if (const auto divergence = run(entry.program, layer, recording, coverage))
                divergences += entry.name + ":\n" + *divergence;
    }

    /// The one on the bare layer, for all tests.
    static const CorpusRun& get() {
        static const CorpusRun run(Layer::bare);
        return run;
    }

    Coverage coverage;
    std::string divergences;
};

// What the fuzzer has collected has the same effects on the library as on the model.
TEST(Corpus, ProgramsAgree) {
    EXPECT_GT(CorpusRun::get().coverage.calls, 0U);
    EXPECT_EQ(CorpusRun::get().divergences, "");
}

std::vector<Kind> missing(const std::vector<Kind>& reached) {
    std::vector<Kind> result(kinds.begin(), kinds.end());
    std::erase_if(result, [&](const Kind& kind) { return std::count(reached.begin(), reached.end(), kind) > 0; });
    return result;
}

// The corpus is no accident: it comes to each operation, called by the program and called by a deleter.
TEST(Corpus, ReachesEveryOperation) {
    EXPECT_THAT(missing(CorpusRun::get().coverage.kinds), IsEmpty());
    EXPECT_THAT(missing(CorpusRun::get().coverage.nestedKinds), IsEmpty());
}

// Through the typed layer it has the same effects as well, and comes to each operation and to what only this reports.
TEST(Corpus, TypedProgramsAgree) {
    const CorpusRun typed(Layer::typed);
    EXPECT_EQ(typed.divergences, "");
    EXPECT_THAT(missing(typed.coverage.kinds), IsEmpty());
    EXPECT_THAT(missing(typed.coverage.nestedKinds), IsEmpty());
    EXPECT_THAT(typed.coverage.reports, Contains(StartsWith("Attempting to insert a null pointer as state of type ")));
    EXPECT_EQ(typed.coverage.failedAllocations > 0, canAllocationsFail);
}

// So it has while deletions are recorded, all of which are as the model says, with what deleters are late for.
TEST(Corpus, RecordedProgramsAgree) {
    for (const Layer layer : {Layer::bare, Layer::typed}) {
        const CorpusRun recorded(layer, Recording::on);
        EXPECT_EQ(recorded.divergences, "");
        EXPECT_GT(recorded.coverage.lateUses, 0U);
    }
}

// And to each misuse that is reported, and to allocations that fail.
TEST(Corpus, ReachesEveryReport) {
    std::vector<std::string> messages = {
        "Attempting to activate a shutdown process context",
        "Another process context is currently active",
        "Attempting to create a child of a shutdown context.",
        "Attempting to create more than the '1' child contexts allowed for foundation::tav::scope::Zarn-type contexts.",
        "Cannot destroy context unless existing 1 child contexts are destroyed first.",
        "Non-concurrent context activated by more than one thread. ",
        "Error accessing deactivated ContextActivator",
        "State of type 'foundation::tests::model::Alpha' already inserted. ",
        "Type 'foundation::tests::model::Alpha' does not exist in TAV. ",
        "Cannot call eraseAll(): No active TAV context with scope 'foundation::tav::scope::Process' ",
    };
    if (World::isStrict())
        messages.emplace_back("Attempting to insert state of type 'foundation::tests::model::Alpha' after active ");
    for (const std::string& message : messages)
        EXPECT_THAT(CorpusRun::get().coverage.reports, Contains(StartsWith(message)));
    EXPECT_EQ(CorpusRun::get().coverage.failedAllocations > 0, canAllocationsFail);
}

}  // namespace
}  // namespace foundation::tests::model
