// A plugin of text_host: the longest word of each project. See text_host/document_analysis.h for what the host expects.

#include <foundation/state/module.h>
#include <foundation/state/scope_of.h>
#include <foundation/state/state.h>
#include <foundation/tav/scope.h>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include "document_analysis.h"
#include "states.h"
#include "words.h"

// Quoted in the documents; a test keeps both the same.
static const foundation::state::ModuleGuard guard;

namespace longest_word {

namespace state = foundation::state;
namespace scope = foundation::tav::scope;

/// The longest word of the document that is open.
struct OfDocument {
    using StateScope = scope::Workspace;
    std::string word;
};

/// The longest word of the project's documents so far.
struct OfProject {
    using StateScope = scope::Zarn;
    std::string word;
};

// Of equally long words the first in byte order, since the host counts them in none.
void keepLonger(std::string& word, std::string_view other) {
    if (other.size() > word.size() || (other.size() == word.size() && other < word)) word = other;
}

class LongestWord : public text_host::DocumentAnalysis {
public:
    std::string name() const override { return "longest word"; }

    void analyse() override {
        auto& ofDocument = state::create<OfDocument>();
        for (const auto& [word, count] : state::findOrFail<text_host::WordCounts>().counts) {
            keepLonger(ofDocument.word, word);
        }
        keepLonger(state::findOrCreate<OfProject>().word, ofDocument.word);
    }

    std::string result() const override {
        const auto* const ofProject = state::find<OfProject>();
        return ofProject ? ofProject->word : std::string();
    }
};

}  // namespace longest_word

extern "C" __attribute__((visibility("default"))) void text_host_plugin() {
    foundation::state::insert<text_host::DocumentAnalysis>(std::make_unique<longest_word::LongestWord>());
}
