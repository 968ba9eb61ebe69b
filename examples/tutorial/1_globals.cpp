// Step 1: a host that keeps its state in globals, and what comes of it. docs/tutorial.md walks through the steps.

#include <iostream>
#include <sstream>
#include <string>

namespace {

// What the host has done so far.
struct Journal {
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
    Document() = default;
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    ~Document() { std::cout << "document closed\n"; }  // not into the journal: that is gone by now

    int words = 0;
};

Document document;
Journal journal;

void countWords(const std::string& text) {
    std::istringstream in(text);
    for (std::string word; in >> word;)
        ++document.words;
}

void openDocument(const std::string& name, const std::string& text) {
    countWords(text);
    journal.write(name + " has " + std::to_string(document.words) + " words");
}

}  // namespace

int main() {
    openDocument("letter", "Dear reader");
    openDocument("recipe", "Salt and pepper");
    std::cout << "main ends\n";
}
