// Step 4: a Workspace context for the document that is open in a project. Each count begins at zero, and nobody resets
// it.

#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>

namespace {

namespace state = foundation::state;
namespace tav = foundation::tav;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;

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

// A project that is open.
struct Project {
    using StateScope = tav::scope::Zarn;

    explicit Project(std::string name_) : name(std::move(name_)) {}
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;
    ~Project() { state::findOrFail<Journal>().write(name + " closed with " + std::to_string(words) + " words"); }

    const std::string name;
    int words = 0;
};

// The document that is open in the project.
struct Document {
    using StateScope = tav::scope::Workspace;

    int words = 0;
};

void countWords(const std::string& text) {
    std::istringstream in(text);
    for (std::string word; in >> word;)
        ++state::findOrCreate<Document>().words;
}

void openDocument(Context<tav::scope::Zarn>& project, const std::string& name, const std::string& text) {
    Context<tav::scope::Workspace> context(project);
    const ContextActivator activator(context);  // makes the project current as well
    countWords(text);
    const int words = state::findOrFail<Document>().words;
    state::findOrFail<Project>().words += words;
    state::findOrFail<Journal>().write(name + " has " + std::to_string(words) + " words");
}  // no longer current, then destroyed, its state with it

void run() {
    Context<tav::scope::Process> process;
    state::create<Journal>();
    Context<tav::scope::Zarn> project(process);
    {
        const ContextActivator activator(project);
        state::create<Project>("kitchen");
    }
    openDocument(project, "letter", "Dear reader");
    openDocument(project, "recipe", "Salt and pepper");
}

}  // namespace

int main() {
    run();
    std::cout << "main ends\n";
}
