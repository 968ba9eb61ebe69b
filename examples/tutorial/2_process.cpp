// Step 2: the same state in a Process context. It dies in a known order now, before main ends; the count is still
// wrong.

#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/scope.h>
#include <iostream>
#include <sstream>
#include <string>

namespace {

namespace state = foundation::state;
namespace tav = foundation::tav;
using tav::management::Context;

// What the host has done so far.
struct Journal {
    using StateScope = tav::scope::Process;

    Journal() = default;
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    ~Journal() { std::cout << "journal closed\n"; }

    void write(const std::string& line) { std::cout << "journal " << ++m_lines << ": " << line << '\n'; }

private:
    int m_lines = 0;
};

// The document that is open.
struct Document {
    using StateScope = tav::scope::Process;

    Document() = default;
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    ~Document() { state::findOrFail<Journal>().write("document closed"); }

    int words = 0;
};

void countWords(const std::string& text) {
    std::istringstream in(text);
    for (std::string word; in >> word;)
        ++state::findOrCreate<Document>().words;
}

void openDocument(const std::string& name, const std::string& text) {
    countWords(text);
    const int words = state::findOrFail<Document>().words;
    state::findOrFail<Journal>().write(name + " has " + std::to_string(words) + " words");
}

void run() {
    const Context<tav::scope::Process> process;  // active at once, for every thread
    state::create<Journal>();
    openDocument("letter", "Dear reader");
    openDocument("recipe", "Salt and pepper");
}  // the states die here, newest first

}  // namespace

int main() {
    run();
    std::cout << "main ends\n";
}
