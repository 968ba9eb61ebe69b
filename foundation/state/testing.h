#pragma once

/// @file
/// `HermeticTest`: the GoogleTest fixture for code that has its state in contexts. It needs GoogleTest, which nothing
/// else here does; tests link to it by themselves.
///
/// Each test gets contexts of its own. What the process and the thread had active before is set aside meanwhile, and
/// the test fails on whatever it leaves behind:
///
/// | Left behind                                           | Fails the test                                  |
/// |-------------------------------------------------------|-------------------------------------------------|
/// | misuse that was reported                              | unless it was taken by `takeMisuse()`           |
/// | another Process context that is active                | always                                          |
/// | contexts made current and not given back              | always, whichever thread has them               |
/// | contexts made below the fixture's and not destroyed   | always                                          |
/// | states                                                | after `expectNoStatesLeft()`; each by its type  |
///
/// Example:
/// @code
/// class SelectionTest : public foundation::state::HermeticTest {};
///
/// TEST_F(SelectionTest, StartsEmpty) {
///     EXPECT_TRUE(foundation::state::findOrCreate<Selection>().items.empty());
/// }
/// @endcode

#include <foundation/state/type_id.h>
#include <foundation/tav/context.h>
#include <foundation/tav/context_activator.h>
#include <foundation/tav/detail.h>
#include <foundation/tav/error.h>
#include <foundation/tav/inspect.h>
#include <foundation/tav/scope.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace foundation::state {

/// Misuse that was reported, as an exception: the failing call is left by it. The message is that of the report.
struct Misuse : std::runtime_error {
    /// Copies the report, which ends with the call of the error handler.
    explicit Misuse(const tav::ErrorInfo& info)
        : std::runtime_error(info.m_message), file(info.m_file), line(info.m_line), function(info.m_function) {}

    std::string file;      ///< The source file of the operation that failed,
    int line;              ///< the line,
    std::string function;  ///< and the operation's qualified name.
};

namespace detail {

/// Notes reports and throws them, from its construction to its end. One at a time.
class MisuseNotes {
public:
    MisuseNotes() : m_previous(tav::setErrorHandler(&note)) { take(); }
    ~MisuseNotes() { tav::setErrorHandler(m_previous); }
    MisuseNotes(const MisuseNotes&) = delete;
    MisuseNotes& operator=(const MisuseNotes&) = delete;

    /// What was reported since the last call, on any thread.
    static std::vector<Misuse> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(notes, {});
    }

private:
    [[noreturn]] static void note(const tav::ErrorInfo& info) {
        const std::lock_guard lock(mutex);
        notes.emplace_back(info);
        throw Misuse(info);
    }

    // An error handler has no state but what is global.
    static inline std::mutex mutex;
    static inline std::vector<Misuse> notes;

    const tav::ErrorHandler m_previous;
};

/// Takes the activation from a host's Process context, to give it back.
class HostSetAside {
public:
    explicit HostSetAside(tav::management::Context<tav::scope::Process>* host)
        : m_host(host && host->isActive() ? host : nullptr) {
        if (m_host) m_host->deactivate();
        if (tav::Detail<tav::scope::Process>::isRequiredContextActive())
            throw std::logic_error(
                "A Process context is active that HermeticTest can't restore. Give its handle to the fixture's "
                "constructor, or deactivate it before the test.");
    }
    void restore() {
        if (m_host) m_host->activate();
    }

private:
    tav::management::Context<tav::scope::Process>* const m_host;  // null where there is nothing to restore
};

}  // namespace detail

/// A Process, a Zarn and a Workspace context for each test, all of them active: the Process context in the process, the
/// others on the test's thread.
///
/// ## Thread safety
/// Tests may start threads, which have to be done with contexts when the test ends; misuse on them is noted as well,
/// and has to be caught there. One fixture lives at a time.
/// ## Errors
/// - Misuse is thrown as `Misuse`, from the failing call. Tests that mean it catch and take it.
/// - A Process context that is active already and was not given to the constructor: `std::logic_error` from the
///   constructor, which fails the test; that context stays active.
/// - Contexts of the fixture that are current on another thread at the end fail the test, and then the assertion
///   "!isActive()", which ends the process unless the host says otherwise. So do those of an activation that was
///   refused.
/// - Contexts whose handles outlive the test keep the fixture's contexts above them alive. Those below a second Process
///   context that is not active at the end are not looked at.
/// ## Lifetime
/// What a test leaves is looked at when derived fixtures are gone, with all their members. Then the contexts are
/// destroyed, and what was set aside is active again.
/// ## Re-entrancy
/// Tests may use, shut down and destroy the contexts, and set error handlers of their own.
class HermeticTest : public ::testing::Test {
protected:
    /// For programs that have no Process context of their own.
    HermeticTest() : HermeticTest(nullptr) {}

    /// For programs with a host, whose Process context may be active: it is set aside.
    explicit HermeticTest(tav::management::Context<tav::scope::Process>& host) : HermeticTest(&host) {}

    ~HermeticTest() noexcept override {
        failOnMisuse();
        failOnOtherProcess();
        if (process.isActive()) failOnLeftovers(tav::management::inspectContexts());
        endContexts();
        failOnMisuse();  // of states that were deleted
    }

    /// The misuse that was reported since the last call, and is not to fail the test.
    static std::vector<Misuse> takeMisuse() { return detail::MisuseNotes::take(); }

    /// Makes states that are left in the fixture's contexts, and in those that were left alive, fail the test.
    void expectNoStatesLeft() { m_expectsNoStates = true; }

private:
    using ContextRecords = std::vector<tav::management::ContextRecord>;

    explicit HermeticTest(tav::management::Context<tav::scope::Process>* host) : m_host(host) {
        for (const tav::management::ContextRecord& context : tav::management::inspectContexts())
            m_own.push_back(context.address);
    }

    static const char* nameOf(const std::type_info& scope) {
        return scope == typeid(tav::scope::Process) ? "Process"
               : scope == typeid(tav::scope::Zarn)  ? "Zarn"
                                                    : "Workspace";
    }

    /// What is reported is noted, and goes no further.
    template <class Operation>
    static void attempt(const Operation& operation) {
        try {
            operation();
        } catch (const Misuse&) {
        }
    }

    bool isOwn(const tav::management::ContextRecord& context) const {
        return std::find(m_own.begin(), m_own.end(), context.address) != m_own.end();
    }

    static void failOnMisuse() {
        for (const Misuse& misuse : detail::MisuseNotes::take())
            ADD_FAILURE() << "Misuse was reported by " << misuse.function << ": " << misuse.what();
    }

    /// Leaves the fixture's own Process context active, unless the test has shut it down and deactivated it.
    void failOnOtherProcess() {
        if (process.isActive()) return;
        if (tav::Detail<tav::scope::Process>::isRequiredContextActive()) {
            ADD_FAILURE() << "The test has left another Process context active.";
            attempt([this] { process.deactivate(); });  // whichever it is, and reports it
            detail::MisuseNotes::take();
        }
        if (!process.isShutdown()) process.activate();
    }

    void failOnLeftovers(const ContextRecords& contexts) const {
        failOnActivationHere<tav::scope::Zarn>(contexts);
        failOnActivationHere<tav::scope::Workspace>(contexts);
        for (const tav::management::ContextRecord& context : contexts) {
            if (context.activations > 0 && !context.isCurrent)
                ADD_FAILURE() << "The test has left a " << nameOf(*context.scope)
                              << " context current on another thread.";
            if (!isOwn(context)) ADD_FAILURE() << "The test has left a " << nameOf(*context.scope) << " context alive.";
            if (m_expectsNoStates) failOnStates(context);
        }
    }

    /// What is current on this thread has to be the fixture's, or nothing where the test has destroyed that.
    template <class Scope>
    void failOnActivationHere(const ContextRecords& contexts) const {
        const auto own = std::find_if(contexts.begin(), contexts.end(), [this](const auto& context) {
            return *context.scope == typeid(Scope) && isOwn(context);
        });
        const bool isAsItWas = own == contexts.end() ? !tav::Detail<Scope>::isRequiredContextActive() : own->isCurrent;
        if (!isAsItWas)
            ADD_FAILURE() << "The test has left an activation on its thread: the " << nameOf(typeid(Scope))
                          << " context of the fixture is not the current one any more.";
    }

    static void failOnStates(const tav::management::ContextRecord& context) {
        for (const tav::management::StateRecord& state : context.states) {
            const std::string type = typeName(*context.scope, state.typeID);
            ADD_FAILURE() << "The test has left a state of type '"
                          << (type.empty() ? "(id " + std::to_string(state.typeID) + ")" : type) << "' in a "
                          << nameOf(*context.scope) << " context.";
        }
    }

    /// Children before parents, and only then back to what was active before.
    void endContexts() {
        attempt([this] { m_activator.deactivate(); });
        attempt([this] { workspace.destroy(); });
        attempt([this] { zarn.destroy(); });
        attempt([this] { process.destroy(); });
        attempt([this] { process.deactivate(); });  // also where children keep it alive
        attempt([this] { m_host.restore(); });
        attempt([this] { m_setAside.deactivate(); });
    }

    detail::MisuseNotes m_notes;
    tav::management::thisthread::ContextActivator m_setAside;
    detail::HostSetAside m_host;
    bool m_expectsNoStates = false;
    std::vector<const void*> m_own;  // the addresses of the contexts below

protected:
    tav::management::Context<tav::scope::Process> process;            ///< Active in the process.
    tav::management::Context<tav::scope::Zarn> zarn{process};         ///< Current on the test's thread.
    tav::management::Context<tav::scope::Workspace> workspace{zarn};  ///< Likewise.

private:
    tav::management::thisthread::ContextActivator m_activator{workspace};
};

}  // namespace foundation::state
