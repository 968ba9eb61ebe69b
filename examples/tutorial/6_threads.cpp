// Step 6: the host complete. Projects are worked on by threads of their own, and everything is torn down in order.

#include <foundation/state/hand_off.h>
#include <foundation/state/state.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/scope.h>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

namespace state = foundation::state;
namespace tav = foundation::tav;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;

// What the host has done so far. All threads write to it, so it guards itself.
struct Journal {
    using StateScope = tav::scope::Process;

    Journal() = default;
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    ~Journal() { std::cout << "journal closed\n"; }

    void write(const std::string& line) {
        const std::lock_guard lock(m_mutex);
        std::cout << "journal " << ++m_lines << ": " << line << '\n';
    }

private:
    std::mutex m_mutex;
    int m_lines = 0;  // guarded by m_mutex
};

// A project that is open. No lock: a Zarn context is current on one thread at a time.
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

void openDocument(Context<tav::scope::Zarn>& project, const std::string& text) {
    Context<tav::scope::Workspace> context(project);
    const ContextActivator activator(context);
    countWords(text);
    state::findOrFail<Project>().words += state::findOrFail<Document>().words;
}

using Texts = std::vector<std::string>;

// The project is set up on this thread, and handed to the worker together with the work.
std::jthread startWork(Context<tav::scope::Zarn>& project, const std::string& name, const Texts& texts) {
    ContextActivator activator(project);
    state::create<Project>(name);
    return std::jthread(state::bind(state::handOff(activator), [&project, texts] {
        for (const std::string& text : texts)
            openDocument(project, text);
    }));
}

void run() {
    Context<tav::scope::Process> process;
    state::create<Journal>();
    Context<tav::scope::Zarn> letters(process);
    Context<tav::scope::Zarn> recipes(process);
    {
        const std::jthread first = startWork(letters, "letters", {"Dear reader", "Dear writer"});
        const std::jthread second = startWork(recipes, "recipes", {"Salt and pepper"});
    }  // both are joined here
    state::findOrFail<Journal>().write("all work is done");
    process.shutdown();  // no project can be opened any more
}  // recipes, letters, the journal

}  // namespace

int main() {
    run();
    std::cout << "main ends\n";
}
