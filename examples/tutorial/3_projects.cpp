// Step 3: a Zarn context for each project. Two projects are open at once, each with its own state.

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
    ~Project() { state::findOrFail<Journal>().write(name + " closed"); }

    const std::string name;
    int words = 0;
};

void countWords(const std::string& text) {
    std::istringstream in(text);
    for (std::string word; in >> word;)
        ++state::findOrFail<Project>().words;  // of the project that is current on this thread
}

void addDocument(const std::string& text) {
    countWords(text);
    const auto& project = state::findOrFail<Project>();
    state::findOrFail<Journal>().write(project.name + " has " + std::to_string(project.words) + " words");
}

void run() {
    Context<tav::scope::Process> process;
    state::create<Journal>();
    Context<tav::scope::Zarn> letters(process);
    Context<tav::scope::Zarn> recipes(process);
    {
        const ContextActivator activator(letters);
        state::create<Project>("letters");
        addDocument("Dear reader");
    }
    {
        const ContextActivator activator(recipes);
        state::create<Project>("recipes");
        addDocument("Salt and pepper");
    }
    const ContextActivator activator(letters);  // back in the first project
    addDocument("Dear writer");
}

}  // namespace

int main() {
    run();
    std::cout << "main ends\n";
}
