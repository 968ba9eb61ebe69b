#pragma once

/// @file
/// The state of this host, by scope. Without the library these would be globals, parameters of nearly every function,
/// or both.
///
/// | Scope     | Lives as long as     | States, oldest first                                 | Used by            |
/// |-----------|----------------------|------------------------------------------------------|--------------------|
/// | Process   | the run              | `TeardownLog`, `Console`, `Dictionary`, `RunSummary` | all threads        |
/// | Zarn      | a project is open    | `Project`, `ProjectIndex`                            | one thread at once |
/// | Workspace | a document is open   | `Document`, `WordCounts`                             | the same thread    |
///
/// A plugin adds a `DocumentAnalysis` (Process) and whatever states that needs, and takes them away again.
///
/// The order of destruction is part of the design: counts refer to words that the dictionary owns, and every Workspace
/// and Zarn state is gone before the first Process state dies.

#include <foundation/state/scope_of.h>
#include <foundation/tav/scope.h>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include "documents.h"
#include "words.h"

namespace text_host {

namespace state = foundation::state;
namespace tav = foundation::tav;

/// The words of the whole run, each kept once.
///
/// ## Thread safety
/// Process state is shared, so it guards itself: every operation may be called from any number of threads at once. (The
/// library's own lock guards only finding it.)
class Dictionary {
public:
    using StateScope = tav::scope::Process;

    /// The dictionary's own copy of the word. It stays where it is for as long as the dictionary lives.
    std::string_view keep(const std::string& word);

    /// The number of different words.
    std::size_t size() const;

    static std::string label() { return "Dictionary"; }

private:
    mutable std::mutex m_mutex;
    std::unordered_set<std::string> m_words;  // guarded by m_mutex; its elements never move
};

/// What the run has come to so far.
///
/// ## Thread safety
/// Every operation may be called from any number of threads at once.
class RunSummary {
public:
    using StateScope = tav::scope::Process;

    struct Totals {
        std::uint64_t documents = 0;
        std::uint64_t words = 0;
        std::uint64_t bytes = 0;
        std::uint64_t problems = 0;
    };

    /// Adds a document, and returns the totals with it.
    Totals addDocument(std::uint64_t words, std::uint64_t bytes);
    void addProblem();
    Totals totals() const;

    static std::string label() { return "RunSummary"; }

private:
    mutable std::mutex m_mutex;
    Totals m_totals;  // guarded by m_mutex
};

/// The project that is open.
struct Project {
    using StateScope = tav::scope::Zarn;

    std::filesystem::path directory;

    explicit Project(std::filesystem::path directory_) : directory(std::move(directory_)) {}
    std::string label() const { return "Project " + printable(directory); }
};

/// What was found in the project's documents so far. No lock: a Zarn context is current on one thread at a time.
struct ProjectIndex {
    using StateScope = tav::scope::Zarn;

    std::filesystem::path directory;
    std::uint64_t documents = 0;
    std::uint64_t words = 0;
    std::uint64_t bytes = 0;
    Counts counts;

    explicit ProjectIndex(std::filesystem::path directory_) : directory(std::move(directory_)) {}
    std::string label() const { return "ProjectIndex " + printable(directory); }
};

/// The document that is open.
struct Document {
    using StateScope = tav::scope::Workspace;

    std::filesystem::path path;
    std::string text;

    Document(std::filesystem::path path_, std::string text_) : path(std::move(path_)), text(std::move(text_)) {}
    std::string label() const { return "Document " + printable(path); }
};

/// The words of the document that is open.
struct WordCounts {
    using StateScope = tav::scope::Workspace;

    std::filesystem::path path;
    std::uint64_t words = 0;
    Counts counts;

    explicit WordCounts(std::filesystem::path path_) : path(std::move(path_)) {}
    std::string label() const { return "WordCounts " + printable(path); }
};

}  // namespace text_host
