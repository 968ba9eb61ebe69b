// Makes the library call everything that it asks of its host. The host writes the calls down; the lines with a hash are
// this program's own.

#include <foundation/core/diag.h>
#include <foundation/core/except.h>
#include <foundation/core/record.h>
#include <foundation/log/diagnostic_logger.h>
#include <foundation/state/state.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <latch>
#include <optional>
#include <thread>

namespace {

using namespace foundation;
using tav::management::Context;
using tav::management::thisthread::ContextActivator;
using tav::scope::Process;
using tav::scope::Workspace;
using tav::scope::Zarn;

struct Page {};
struct Picture {
    using StateScope = Zarn;
};

// What arrives at the application's sinks has the attributes of the host's logger.
class RecordingBackend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
public:
    static void consume(const boost::log::record_view& record) {
        core::record("# record of " + *boost::log::extract<std::string>("Channel", record));
    }
};

void step(const char* name) { core::record(std::string("\n# ") + name); }

template <class Operation>
void expectTermination(const Operation& operation) {
    try {
        operation();
        core::record("# went on");
    } catch (const core::diag::Terminated&) {
        core::record("# terminated");
    }
}

void destroyWhatIsCurrentElsewhere(Context<Process>& process) {
    Context<Zarn> zarn(process);
    std::latch activated(1);
    std::latch destroyed(1);
    std::jthread worker([&] {
        const ContextActivator activator(zarn);
        activated.count_down();
        destroyed.wait();
    });
    activated.wait();
    zarn.destroy();
    destroyed.count_down();
}

}  // namespace

int main() {
    boost::log::core::get()->add_sink(boost::make_shared<boost::log::sinks::synchronous_sink<RecordingBackend>>());

    step("contexts and state, with the trace off");
    Context<Process> process;
    std::optional<Context<Zarn>> zarn(process);
    const ContextActivator activator(*zarn);
    using State = tav::Detail<Zarn>;
    const auto id = State::getNextID(typeid(Page));
    State::insert(id, typeid(Page), tav::StatePtr(new Page, [](void* page) { delete static_cast<Page*>(page); }));

    step("an operation, traced");
    log::setMask(32 | 64);
    State::erase(id, typeid(Page));
    log::setMask(0);

    step("a type error");
    try {
        State::findOrThrow(State::getNextID(typeid(Picture)), typeid(Picture));
    } catch (const core::except::IInternalException& error) {
        core::record(std::string("# caught: ") + error.what());
    }

    step("misuse, traced");
    log::setMask(512);
    expectTermination([] { tav::Detail<Workspace>::findOrFail(0, typeid(Page)); });

    step("an exception while a context dies");
    {
        std::optional<Context<Zarn>> parent(process);
        const Context<Workspace> child(*parent);
        parent.reset();
    }
    log::setMask(0);

    step("a failed assertion");
    expectTermination([&] { destroyWhatIsCurrentElsewhere(process); });

    step("state by its type");
    expectTermination([] { state::findOrFail<Picture>(); });

    step("the end");
}
