#include "states.h"

#include <gtest/gtest.h>
#include <latch>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace text_host::tests {

namespace {

// A word is kept once and never moves, however many come after it.
TEST(Dictionary, KeepsEachWordOnceInOnePlace) {
    Dictionary dictionary;
    const std::string_view word = dictionary.keep("word");
    for (int number = 0; number < 10'000; ++number) {
        dictionary.keep(std::to_string(number));
    }
    const std::string_view again = dictionary.keep("word");
    EXPECT_EQ(word, "word");
    EXPECT_EQ(again.data(), word.data());
    EXPECT_EQ(dictionary.size(), 10'001U);
}

// Threads that bring the same words at once get the same copies.
TEST(Dictionary, IsSharedByThreads) {
    constexpr std::size_t threads = 4;
    constexpr int words = 1'000;
    Dictionary dictionary;
    std::vector<std::vector<const char*>> kept(threads);
    std::latch start(threads);
    {
        std::vector<std::jthread> workers;
        workers.reserve(threads);
        for (std::vector<const char*>& mine : kept) {
            workers.emplace_back([&dictionary, &start, &mine] {
                start.arrive_and_wait();
                for (int number = 0; number < words; ++number) {
                    mine.push_back(dictionary.keep(std::to_string(number)).data());
                }
            });
        }
    }
    for (const std::vector<const char*>& others : kept) {
        EXPECT_EQ(others, kept.front());
    }
    EXPECT_EQ(dictionary.size(), static_cast<std::size_t>(words));
}

// Each addition returns the totals with it, so that none is shown late.
TEST(RunSummary, AddsUp) {
    RunSummary summary;
    summary.addProblem();
    EXPECT_EQ(summary.addDocument(3, 20).words, 3U);
    const RunSummary::Totals returned = summary.addDocument(4, 30);
    const RunSummary::Totals read = summary.totals();
    for (const RunSummary::Totals& totals : {returned, read}) {
        EXPECT_EQ(totals.documents, 2U);
        EXPECT_EQ(totals.words, 7U);
        EXPECT_EQ(totals.bytes, 50U);
        EXPECT_EQ(totals.problems, 1U);
    }
}

// Nothing is lost when threads add at once.
TEST(RunSummary, IsSharedByThreads) {
    constexpr std::size_t threads = 4;
    constexpr std::uint64_t documents = 1'000;
    RunSummary summary;
    std::latch start(threads);
    {
        std::vector<std::jthread> workers;
        workers.reserve(threads);
        for (std::size_t thread = 0; thread < threads; ++thread) {
            workers.emplace_back([&summary, &start] {
                start.arrive_and_wait();
                for (std::uint64_t document = 0; document < documents; ++document) {
                    summary.addDocument(2, 3);
                    summary.addProblem();
                }
            });
        }
    }
    EXPECT_EQ(summary.totals().documents, threads * documents);
    EXPECT_EQ(summary.totals().words, 2 * threads * documents);
    EXPECT_EQ(summary.totals().bytes, 3 * threads * documents);
    EXPECT_EQ(summary.totals().problems, threads * documents);
}

}  // namespace

}  // namespace text_host::tests
