// Each allocation of each operation fails in turn.

#include <foundation/tav/error.h>
#include <foundation/tav/type_error.h>
#include <gtest/gtest.h>
#include <array>
#include <boost/format.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <latch>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "../support/assertions.h"
#include "../support/error_reports.h"
#include "../support/failing_allocation.h"
#include "../support/names.h"
#include "../support/recording_sink.h"

namespace foundation::tests {
namespace {

using tav::ErrorInfo;

constexpr std::uint64_t present = 0;
constexpr std::uint64_t near = 1;      // in the tables
constexpr std::uint64_t far = 100000;  // beyond them
constexpr std::uint64_t huge = ~std::uint64_t{0};

// A state object. Its life is counted.
struct Widget {
    Widget() { ++alive; }
    ~Widget() { --alive; }
    Widget(const Widget&) = delete;
    Widget& operator=(const Widget&) = delete;

    static inline int alive = 0;
};

constexpr std::string_view widgetName = "foundation::tests::(anonymous namespace)::Widget";
constexpr std::string_view quotedWidgetName = "'foundation::tests::(anonymous namespace)::Widget'";

StatePtr makeState() {
    return {new Widget, [](void* state) { delete static_cast<Widget*>(state); }};
}

// What the handler throws: the beginning of the message, without memory of its own.
struct Misuse {
    explicit Misuse(std::string_view text) : length(text.copy(message.data(), message.size())) {}

    std::array<char, 200> message{};
    std::size_t length;
};

[[noreturn]] void throwMisuse(const ErrorInfo& info) { throw Misuse(info.m_message); }

// One context of each scope, all current, with a state in each, and what an operation takes and makes.
struct Scene {
    Scene() {
        Detail<Process>::insert(present, typeid(Widget), makeState());
        Detail<Zarn>::insert(present, typeid(Widget), makeState());
        Detail<Workspace>::insert(present, typeid(Widget), makeState());
    }

    // Whether all is as it was at first.
    void expectUntouched() const {
        EXPECT_TRUE(process.isActive());
        EXPECT_TRUE(zarn.isActive());
        EXPECT_TRUE(workspace.isActive());
        EXPECT_FALSE(process.isShutdown());
        EXPECT_FALSE(zarn.isShutdown());
        EXPECT_FALSE(workspace.isShutdown());
        EXPECT_TRUE(activator.isActivated());
        expectStates<Process>();
        expectStates<Zarn>();
        expectStates<Workspace>();
        EXPECT_TRUE(offered);
        EXPECT_EQ(Widget::alive, 4);
    }

    template <class Scope>
    static void expectStates() {
        EXPECT_NE(Detail<Scope>::find(present, typeid(Widget)), nullptr);
        EXPECT_EQ(Detail<Scope>::find(near, typeid(Widget)), nullptr);
    }

    Context<Process> process;
    Context<Zarn> zarn{process};
    Context<Workspace> workspace{zarn};
    ContextActivator activator{workspace};
    StatePtr offered = makeState();
    const boost::format format = boost::format("A text that is too long for a %1% string.") % "small";

    std::optional<Context<Process>> madeProcess;
    std::optional<Context<Zarn>> madeZarn;
    std::optional<ContextActivator> madeActivator;
    std::optional<ContextSet> madeSet;
    std::optional<ErrorInfo> madeInfo;
};

enum class Memory { needed, notNeeded };

// An operation, and what is to be seen when it has gone through. Where it runs out of memory, everything must be as it
// was at first.
struct Operation {
    std::string name;
    Memory memory;
    void (*act)(Scene& scene);
    void (*expectDone)(Scene& scene);

    friend std::ostream& operator<<(std::ostream& stream, const Operation& operation) {
        return stream << operation.name;
    }
};

void expectUntouched(Scene& scene) { scene.expectUntouched(); }

void expectStored(Scene& scene) {
    EXPECT_FALSE(scene.offered);
    EXPECT_EQ(Widget::alive, 4);
}

// The operation has to be reported with a message that begins like this, or to run out of memory before.
template <class Misused>
void expectMisuse(std::string_view beginning, const Misused& misused) {
    try {
        misused();
    } catch (const Misuse& misuse) {
        EXPECT_EQ(std::string_view(misuse.message.data(), misuse.length).substr(0, beginning.size()), beginning);
        return;
    }
    ADD_FAILURE() << "Nothing was reported.";
}

// The operation has to throw this error, or to run out of memory before.
template <class Error, class Throwing>
void expectThrow(const Throwing& throwing) {
    try {
        throwing();
    } catch (const Error& error) {
        EXPECT_EQ(&error.getType(), &typeid(Widget));
        // The type error's own text, for which what() of the exception thrown would want memory once more.
        EXPECT_NE(std::string_view(error.std::runtime_error::what()).find(quotedWidgetName), std::string_view::npos);
        return;
    }
    ADD_FAILURE() << "Nothing was thrown.";
}

template <class Scope>
void addStateOperations(std::vector<Operation>& operations, const std::string& scope) {
    operations.insert(
        operations.end(),
        {{scope + "FindFar", Memory::needed,
          [](Scene&) { EXPECT_EQ(Detail<Scope>::find(far, typeid(Widget)), nullptr); }, &expectUntouched},
         {scope + "FindPresent", Memory::notNeeded,
          [](Scene&) { EXPECT_NE(Detail<Scope>::find(present, typeid(Widget)), nullptr); }, &expectUntouched},
         {scope + "InsertNear", Memory::needed,
          [](Scene& scene) { Detail<Scope>::insert(near, typeid(Widget), std::move(scene.offered)); }, &expectStored},
         {scope + "InsertFar", Memory::needed,
          [](Scene& scene) { Detail<Scope>::insert(far, typeid(Widget), std::move(scene.offered)); }, &expectStored},
         {scope + "FindOrInsertNear", Memory::needed,
          [](Scene& scene) { Detail<Scope>::findOrInsert(near, typeid(Widget), std::move(scene.offered)); },
          &expectStored},
         {scope + "FindOrInsertFar", Memory::needed,
          [](Scene& scene) { Detail<Scope>::findOrInsert(far, typeid(Widget), std::move(scene.offered)); },
          &expectStored},
         {scope + "FindOrInsertPresent", Memory::notNeeded,
          [](Scene& scene) { Detail<Scope>::findOrInsert(present, typeid(Widget), std::move(scene.offered)); },
          &expectUntouched},
         {scope + "EraseFar", Memory::needed, [](Scene&) { EXPECT_FALSE(Detail<Scope>::erase(far, typeid(Widget))); },
          &expectUntouched},
         {scope + "ErasePresent", Memory::notNeeded,
          [](Scene&) { EXPECT_TRUE(Detail<Scope>::erase(present, typeid(Widget))); },
          [](Scene&) { EXPECT_EQ(Widget::alive, 3); }},
         {scope + "EraseAllFar", Memory::needed,
          [](Scene&) { EXPECT_EQ(Detail<Scope>::eraseAll(far, typeid(Widget)), 0u); }, &expectUntouched},
         {scope + "EraseAllPresent", Memory::notNeeded,
          [](Scene&) { EXPECT_EQ(Detail<Scope>::eraseAll(present, typeid(Widget)), 1u); },
          [](Scene&) { EXPECT_EQ(Widget::alive, 3); }},
         {scope + "GetNextID", Memory::notNeeded, [](Scene&) { Detail<Scope>::getNextID(typeid(Widget)); },
          &expectUntouched},
         {scope + "FindHuge", Memory::needed,
          [](Scene&) { EXPECT_THROW(Detail<Scope>::find(huge, typeid(Widget)), std::exception); }, &expectUntouched},
         {scope + "FindOrThrowAbsent", Memory::needed,
          [](Scene&) {
              expectThrow<tav::DoesNotExistTypeError>([] { Detail<Scope>::findOrThrow(near, typeid(Widget)); });
          },
          &expectUntouched},
         {scope + "FindOrFailAbsent", Memory::needed,
          [](Scene&) {
              expectMisuse("Type 'foundation::tests::(anonymous namespace)::Widget' does not exist in TAV. ",
                           [] { Detail<Scope>::findOrFail(near, typeid(Widget)); });
          },
          &expectUntouched},
         {scope + "InsertPresent", Memory::needed,
          [](Scene& scene) {
              expectMisuse("State of type 'foundation::tests::(anonymous namespace)::Widget' already inserted. ",
                           [&] { Detail<Scope>::insert(present, typeid(Widget), std::move(scene.offered)); });
          },
          &expectUntouched}});
}

std::vector<Operation> allOperations() {
    std::vector<Operation> operations{
        {"MakeProcess", Memory::needed, [](Scene& scene) { scene.madeProcess.emplace(false); },
         [](Scene& scene) { EXPECT_FALSE(scene.madeProcess->isActive()); }},
        {"MakeZarn", Memory::needed, [](Scene& scene) { scene.madeZarn.emplace(scene.process); },
         [](Scene& scene) { EXPECT_FALSE(scene.madeZarn->isShutdown()); }},
        {"MakeFamily", Memory::needed,
         [](Scene& scene) {
             Context<Zarn> zarn(scene.process);
             const Context<Workspace> workspace(zarn);
         },
         &expectUntouched},
        {"ActivateZarn", Memory::needed, [](Scene& scene) { scene.madeActivator.emplace(scene.zarn); },
         [](Scene& scene) {
             EXPECT_TRUE(scene.zarn.isActive());
             EXPECT_FALSE(scene.workspace.isActive());
         }},
        {"ActivateWorkspace", Memory::needed, [](Scene& scene) { scene.madeActivator.emplace(scene.workspace); },
         [](Scene& scene) {
             EXPECT_TRUE(scene.madeActivator->getPreviousContexts() == scene.madeActivator->getActiveContexts());
         }},
        {"ActivateNullZarn", Memory::needed, [](Scene& scene) { scene.madeActivator.emplace(NullContext<Zarn>()); },
         [](Scene& scene) { EXPECT_FALSE(scene.zarn.isActive()); }},
        {"ActivateNullWorkspace", Memory::needed,
         [](Scene& scene) { scene.madeActivator.emplace(NullContext<Workspace>()); },
         [](Scene& scene) { EXPECT_FALSE(scene.workspace.isActive()); }},
        {"ActivateNothing", Memory::needed, [](Scene& scene) { scene.madeActivator.emplace(); },
         [](Scene& scene) { EXPECT_FALSE(scene.zarn.isActive()); }},
        {"ActivateSet", Memory::needed,
         [](Scene& scene) { scene.madeActivator.emplace(scene.activator.getActiveContexts()); },
         [](Scene& scene) { EXPECT_TRUE(scene.workspace.isActive()); }},
        {"MakeSet", Memory::needed, [](Scene& scene) { scene.madeSet.emplace(); },
         [](Scene& scene) { EXPECT_TRUE(scene.madeSet->isEmpty()); }},
        {"GetActiveContexts", Memory::needed,
         [](Scene& scene) { scene.madeSet.emplace(scene.activator.getActiveContexts()); },
         [](Scene& scene) { EXPECT_FALSE(scene.madeSet->isEmpty()); }},
        {"GetPreviousContexts", Memory::needed,
         [](Scene& scene) { scene.madeSet.emplace(scene.activator.getPreviousContexts()); },
         [](Scene& scene) { EXPECT_TRUE(scene.madeSet->isEmpty()); }},
        {"MakeErrorInfoOfText", Memory::needed,
         [](Scene& scene) { scene.madeInfo.emplace("A text that is too long for a small string.", "f", 1, "g"); },
         [](Scene& scene) { EXPECT_EQ(scene.madeInfo->m_message, "A text that is too long for a small string."); }},
        {"MakeErrorInfoOfFormat", Memory::needed,
         [](Scene& scene) { scene.madeInfo.emplace(scene.format, "f", 1, "g"); },
         [](Scene& scene) { EXPECT_EQ(scene.madeInfo->m_message, "A text that is too long for a small string."); }},
        {"CopyErrorInfo", Memory::needed,
         [](Scene& scene) {
             const ErrorInfo info("A text that is too long for a small string.", "f", 1, "g");
             scene.madeInfo.emplace(info);
         },
         [](Scene& scene) { EXPECT_EQ(scene.madeInfo->m_message, "A text that is too long for a small string."); }},
        {"GetTypeName", Memory::needed,
         [](Scene&) { EXPECT_EQ(tav::DoesNotExistTypeError(typeid(Widget)).getTypeName(), widgetName); },
         &expectUntouched},
        {"FindOrThrowWithoutContext", Memory::needed,
         [](Scene&) {
             const ContextActivator nothing;
             expectThrow<tav::NoActiveContextTypeError>([] { Detail<Zarn>::findOrThrow(present, typeid(Widget)); });
         },
         &expectUntouched},
        {"FindWithoutContext", Memory::needed,
         [](Scene&) {
             const ContextActivator nothing;
             expectMisuse("Cannot call find(): No active TAV context with scope 'foundation::tav::scope::Workspace' ",
                          [] { Detail<Workspace>::find(present, typeid(Widget)); });
         },
         &expectUntouched},
        {"MakeSecondWorkspace", Memory::needed,
         [](Scene& scene) {
             expectMisuse("Attempting to create more than the '1' child contexts allowed for ",
                          [&] { const Context<Workspace> second(scene.zarn); });
         },
         &expectUntouched},
        {"DestroyWithChildren", Memory::needed,
         [](Scene& scene) {
             expectMisuse("Cannot destroy context unless existing 1 child contexts are destroyed first.",
                          [&] { scene.process.destroy(); });
         },
         &expectUntouched},
        {"MoveHandle", Memory::notNeeded, [](Scene& scene) { scene.madeProcess.emplace(std::move(scene.process)); },
         [](Scene& scene) {
             EXPECT_TRUE(scene.process.isShutdown());
             EXPECT_TRUE(scene.madeProcess->isActive());
         }},
        {"Deactivate", Memory::notNeeded, [](Scene& scene) { scene.activator.deactivate(); },
         [](Scene& scene) {
             EXPECT_FALSE(scene.zarn.isActive());
             EXPECT_FALSE(scene.workspace.isActive());
         }},
        {"ShutDown", Memory::notNeeded,
         [](Scene& scene) {
             scene.workspace.shutdown();
             scene.zarn.shutdown();
             scene.process.shutdown();
         },
         [](Scene& scene) { EXPECT_TRUE(scene.process.isShutdown()); }},
        {"Destroy", Memory::notNeeded,
         [](Scene& scene) {
             scene.workspace.destroy();
             scene.zarn.destroy();
             scene.process.destroy();
         },
         [](Scene&) { EXPECT_EQ(Widget::alive, 1); }},
        {"ActivateAndDeactivateProcess", Memory::notNeeded,
         [](Scene& scene) {
             scene.process.deactivate();
             scene.process.activate();
         },
         &expectUntouched},
        {"ExchangeHandler", Memory::notNeeded,
         [](Scene&) { EXPECT_EQ(tav::setErrorHandler(tav::getErrorHandler()), &throwMisuse); }, &expectUntouched},
    };
    addStateOperations<Process>(operations, "Process");
    addStateOperations<Zarn>(operations, "Zarn");
    addStateOperations<Workspace>(operations, "Workspace");
    return operations;
}

// Calls `attempt(number)` with 1, 2, ... until it says that no allocation of that number was asked for.
template <class Attempt>
void forEachAllocation(const Attempt& attempt) {
    std::size_t number = 1;
    while (attempt(number)) {
        ++number;
        ASSERT_LT(number, 2000u) << "An end is out of sight.";
    }
}

constexpr unsigned wholeTrace = 2 | 16 | 32 | 64 | 512;

// Under both kinds of want, with the trace off and on.
class FailingAllocations : public testing::TestWithParam<Operation> {
protected:
    // What the libraries make once and keep is made by a first time that doesn't fail.
    static void warmUp(const Operation& operation) {
        SCOPED_TRACE("without a failure");
        Scene scene;
        operation.act(scene);
    }

    // Whether the allocation of that number was asked for.
    static bool attempt(std::size_t number, Failures failures, bool isTraced) {
        const Operation& operation = GetParam();
        Scene scene;
        bool isDone = true;
        {
            const FailingAllocation failing(number, failures);
            try {
                operation.act(scene);
            } catch (const std::bad_alloc&) {
                isDone = false;
            }
        }
        const bool wasReached = FailingAllocation::takeFailure();
        if (operation.memory == Memory::notNeeded) {
            EXPECT_TRUE(isDone);
            EXPECT_TRUE(isTraced || !wasReached);
        }
        if (!isDone) {
            EXPECT_TRUE(wasReached);
            scene.expectUntouched();
            operation.act(scene);
        }
        operation.expectDone(scene);
        return wasReached;
    }

    static void failEach(Failures failures, unsigned mask) {
        const ScopedMask scopedMask(mask);
        RecordingSink sink;
        warmUp(GetParam());
        sink.take();
        const std::size_t live = liveAllocations();
        forEachAllocation([&](std::size_t number) {
            SCOPED_TRACE(number);
            const bool wasReached = attempt(number, failures, mask != 0);
            sink.take();
            return wasReached;
        });
        EXPECT_EQ(liveAllocations(), live);
        EXPECT_EQ(Widget::alive, 0);
    }

private:
    const ScopedErrorHandler m_handler{&throwMisuse};
};

// Nothing leaks and nothing changes when one allocation fails, and the operation goes through when it is repeated. One
// that needs no memory of its own makes no allocation, and no failure of the trace's comes out of it.
TEST_P(FailingAllocations, LeaveEverythingAsItWas) {
    failEach(Failures::once, 0);
    failEach(Failures::once, wholeTrace);
}

// The same where memory has ended, for the unwinding too.
TEST_P(FailingAllocations, LeaveEverythingAsItWasWhereMemoryHasEnded) {
    failEach(Failures::fromThenOn, 0);
    failEach(Failures::fromThenOn, wholeTrace);
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingAllocations, testing::ValuesIn(allOperations()),
                         [](const auto& operation) { return operation.param.name; });

// Operations that leave something behind when they fail, which the headers say.
class FailingAllocationsOf : public testing::Test {
protected:
    // Calls `attempt()` with each of its allocations failing in turn, until none is left; says whether it ran out of
    // memory. What it makes it has to free.
    template <class Attempt>
    void failEach(const Attempt& attempt) {
        constexpr std::size_t never = 1000000;
        attempt(never, Failures::once);  // makes what the libraries make once and keep
        for (const Failures failures : {Failures::once, Failures::fromThenOn}) {
            forEachAllocation([&](std::size_t number) {
                SCOPED_TRACE(number);
                const std::size_t live = liveAllocations();
                attempt(number, failures);
                const bool wasReached = FailingAllocation::takeFailure();
                EXPECT_EQ(liveAllocations(), live);
                return wasReached;
            });
        }
        EXPECT_EQ(Widget::alive, 0);
    }

    // Whether the operation went through or ended with a report, as opposed to running out of memory.
    template <class Act>
    static bool ends(std::size_t number, Failures failures, const Act& act) {
        const FailingAllocation failing(number, failures);
        try {
            act();
        } catch (const Misuse&) {
        } catch (const std::bad_alloc&) {
            return false;
        }
        return true;
    }

private:
    const NullSink m_sink;
    const ScopedErrorHandler m_handler{&throwMisuse};
};

// A Process context that can't be made is not active, and the next one can be.
TEST_F(FailingAllocationsOf, MakingAnActiveProcessContext) {
    failEach([](std::size_t number, Failures failures) {
        std::optional<Context<Process>> process;
        const bool isMade = ends(number, failures, [&] { process.emplace(); });
        EXPECT_EQ(Detail<Process>::isRequiredContextActive(), isMade);
        if (!isMade) process.emplace();
        EXPECT_TRUE(process->isActive());
    });
}

// A second active Process context is refused by its constructor: neither is active afterwards, whether there was memory
// for the report or not. Without memory for the context itself nothing happens.
TEST_F(FailingAllocationsOf, MakingASecondActiveProcessContext) {
    bool wasReported = false;
    failEach([&wasReported](std::size_t number, Failures failures) {
        Context<Process> process;
        wasReported |= ends(number, failures, [] { const Context<Process> second; });
        EXPECT_EQ(process.isActive(), Detail<Process>::isRequiredContextActive());
        process.destroy();
        EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
    });
    EXPECT_TRUE(wasReported);
}

// Where one of the tables can't grow, no state is gone from the contexts whose tables could.
TEST_F(FailingAllocationsOf, ErasingInSeveralContexts) {
    failEach([](std::size_t number, Failures failures) {
        Context<Process> process;
        std::vector<Context<Zarn>> zarns;
        for (int index = 0; index < 3; ++index) {
            const ContextActivator activator(zarns.emplace_back(Context<Zarn>(process)));
            if (index != 1) Detail<Zarn>::insert(far, typeid(Widget), makeState());
        }
        std::uint64_t erased = 0;
        const auto eraseAll = [&erased] { erased = Detail<Zarn>::eraseAll(far, typeid(Widget)); };
        if (!ends(number, failures, eraseAll)) {
            EXPECT_EQ(Widget::alive, 2);
            eraseAll();
        }
        EXPECT_EQ(erased, 2u);
        EXPECT_EQ(Widget::alive, 0);
    });
}

// The exchange comes before the report, and stands without it.
TEST_F(FailingAllocationsOf, ActivatingASecondProcessContext) {
    failEach([](std::size_t number, Failures failures) {
        Context<Process> first;
        Context<Process> second(false);
        ends(number, failures, [&] { second.activate(); });
        EXPECT_FALSE(first.isActive());
        EXPECT_TRUE(second.isActive());
        ends(number, failures, [&] { first.deactivate(); });
        EXPECT_FALSE(second.isActive());
        EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
    });
}

// A refused activation stays counted, and the current contexts are those of before.
TEST_F(FailingAllocationsOf, ActivatingAContextThatIsCurrentElsewhere) {
    const IgnoredAssertions ignored;  // the context is destroyed with its count
    failEach([](std::size_t number, Failures failures) {
        Context<Process> process;
        Context<Zarn> zarn(process);
        std::latch isHeld(1);
        std::latch isOver(1);
        std::thread holder([&] {
            const ContextActivator activator(zarn);
            isHeld.count_down();
            isOver.wait();
        });
        isHeld.wait();
        ends(number, failures, [&] { const ContextActivator refused(zarn); });
        EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
        isOver.count_down();
        holder.join();
    });
}

// A handle freed before its children: nothing comes out of the destructor, whatever memory there is, and the context
// goes with the last child.
TEST_F(FailingAllocationsOf, FreeingAParentBeforeItsChild) {
    for (const unsigned mask : {0u, wholeTrace}) {
        const ScopedMask scopedMask(mask);
        failEach([](std::size_t number, Failures failures) {
            std::optional<Context<Process>> process(std::in_place);
            Detail<Process>::insert(present, typeid(Widget), makeState());
            std::optional<Context<Zarn>> zarn(*process);
            EXPECT_TRUE(ends(number, failures, [&] { process.reset(); }));
            EXPECT_EQ(Widget::alive, 1);
            EXPECT_TRUE(ends(number, failures, [&] { zarn.reset(); }));
            EXPECT_EQ(Widget::alive, 0);
            EXPECT_FALSE(Detail<Process>::isRequiredContextActive());
        });
    }
}

// Access to a deactivated activator is reported or runs out of memory.
TEST_F(FailingAllocationsOf, AskingADeactivatedActivator) {
    failEach([](std::size_t number, Failures failures) {
        ContextActivator activator;
        activator.deactivate();
        ends(number, failures, [&] { activator.getActiveContexts(); });
        EXPECT_FALSE(activator.isActivated());
    });
}

// Once its message is composed a report is not lost: from the first number on that comes to the handler all others do,
// and among them are those where the whole text and the trace want memory that isn't there.
TEST_F(FailingAllocationsOf, ReportingMisuse) {
    const Context<Process> process;
    for (const unsigned mask : {0u, wholeTrace}) {
        const ScopedMask scopedMask(mask);
        for (const Failures failures : {Failures::once, Failures::fromThenOn}) {
            const auto report = [&](std::size_t number) {
                return ends(number, failures, [] { Detail<Process>::findOrFail(present, typeid(Widget)); });
            };
            std::size_t first = 1;
            while (!report(first)) {
                ASSERT_TRUE(FailingAllocation::takeFailure());
                ASSERT_LT(++first, 2000u);
            }
            EXPECT_TRUE(FailingAllocation::takeFailure());
            EXPECT_GT(first, 1u);
            std::size_t number = first;
            while (report(++number) && FailingAllocation::takeFailure())
                ASSERT_LT(number, 2000u);
            EXPECT_FALSE(FailingAllocation::takeFailure()) << number << " is lost, though " << first << " is not.";
        }
    }
}

// The trace writes records whole or not at all.
TEST_F(FailingAllocationsOf, WritingRecords) {
    const ScopedMask mask(16);
    RecordingSink sink;
    Detail<Zarn>::getNextID(typeid(Widget));
    sink.take();
    for (const Failures failures : {Failures::once, Failures::fromThenOn}) {
        std::size_t dropped = 0;
        forEachAllocation([&](std::size_t number) {
            std::uint64_t id = 0;
            EXPECT_TRUE(ends(number, failures, [&id] { id = Detail<Zarn>::getNextID(typeid(Widget)); }));
            const bool wasReached = FailingAllocation::takeFailure();
            const std::vector<Record> expected{{.severity = 16,
                                                .indentation = 0,
                                                .message = "getNextID  scope=foundation::tav::scope::Zarn  id=" +
                                                           std::to_string(id) + "  type=" + std::string(widgetName)}};
            const std::vector<Record> records = sink.take();
            if (records.empty())
                ++dropped;
            else
                EXPECT_EQ(records, expected) << number;
            return wasReached;
        });
        EXPECT_GT(dropped, 0u);
    }
}

}  // namespace
}  // namespace foundation::tests
