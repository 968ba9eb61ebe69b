#include <foundation/log/diagnostic_logger.h>
#include <foundation/tav/type_error.h>
#include <algorithm>
#include <boost/log/core/core.hpp>
#include <boost/log/keywords/severity.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <locale>
#include <memory>
#include <optional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "../support/locale.h"
#include "../support/recording_sink.h"
#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Field;
using testing::IsEmpty;

constexpr unsigned details = 2;
constexpr unsigned information = 16;
constexpr unsigned entries = 32;
constexpr unsigned exits = 64;
constexpr unsigned errors = 512;
constexpr unsigned everything = 0x7fff;

// What stands in a scope record after the signature: two blanks and the details, or " [throw]", or nothing.
std::string afterSignature(const std::string& message) {
    static const std::regex tail(R"((  .*| \[throw\])?$)");
    std::smatch match;
    std::regex_search(message, match, tail);
    return match.str();
}

std::string tagIn(const std::string& signature, const std::string& parameter) {
    std::smatch match;
    const std::regex tag("[\\[ ]" + parameter + " = foundation::tav::scope::(\\w+)");
    return std::regex_search(signature, match, tag) ? "<" + match[1].str() + ">" : "";
}

// The message with its signature, which compilers spell differently, brought to one form: class<Scope>::function, with
// the scope of the states where the function has one of its own. Plain records stay as they are.
std::string normalised(const std::string& message) {
    static const std::regex function(R"((ContextImpl|InstanceManager)(?:<[^(]*>)?::(~?\w+)\()");
    std::smatch match;
    if (message.starts_with("m_function=") || !std::regex_search(message, match, function)) return message;
    return match[1].str() + tagIn(message, "Scope") + "::" + match[2].str() + tagIn(message, "StateScope") +
           afterSignature(message);
}

template <class Scope>
std::string shortName() {
    return ScopeNames::GetName<Scope>(0);
}

template <class Scope>
std::string contextFunction(const std::string& function) {
    return "ContextImpl<" + shortName<Scope>() + ">::" + function;
}

Record entryOf(const std::string& function, const std::string& values = "", unsigned indentation = 0) {
    return {entries, indentation, function + (values.empty() ? "" : "  " + values)};
}
Record exitOf(const std::string& function, unsigned indentation = 0) { return {exits, indentation, function}; }
Record thrownExitOf(const std::string& function, unsigned indentation = 0) {
    return {exits, indentation, function + " [throw]"};
}

std::string stateValues(std::uint64_t id, const std::string& address) {
    return "typeID=" + std::to_string(id) + " getName(type)=" + widgetName + " this=" + address;
}

Record errorRecord(const Reported& reported, unsigned indentation = 0) {
    return {errors, indentation,
            "m_function=" + reported.function + "  m_file=" + reported.file +
                "  m_line=" + std::to_string(reported.line) + "  m_message=" + reported.message +
                " This indicates a bug in the code calling TAV."};
}

class TraceTest : public ContextsTest {
protected:
    // The records that the operation writes under the mask, in a comparable form.
    template <class Operation>
    std::vector<Record> recordsOf(unsigned mask, Operation&& operation) {
        const ScopedMask scopedMask(mask);
        sink.take();
        operation();
        std::vector<Record> records = sink.take();
        for (Record& record : records)
            record.message = normalised(record.message);
        return records;
    }

    // The address of a context as its own records write it.
    template <class Scope>
    std::string address() {
        const auto records = recordsOf(entries | details, [] { Detail<Scope>::erase(0, typeid(int)); });
        return records.front().message.substr(records.front().message.find("this=") + 5);
    }

    RecordingSink sink;
};

template <class Scope>
class ScopeTraceTest : public TraceTest {
protected:
    template <class Operation>
    std::vector<Record> scopeRecordsOf(Operation&& operation) {
        return recordsOf(entries | exits | details, operation);
    }

    static std::string function(const std::string& name) { return contextFunction<Scope>(name); }

    void destroyChildren() {
        if constexpr (!std::is_same_v<Scope, Workspace>) workspace.destroy();
        if constexpr (std::is_same_v<Scope, Process>) zarn.destroy();
    }

    const std::string own = address<Scope>();
    const std::string processAddress = address<Process>();
    const std::string deletion = "InstanceManager::erase";
};
TYPED_TEST_SUITE(ScopeTraceTest, AllScopes, ScopeNames);

// The context's insert is traced with its values, whether it goes well or not.
TYPED_TEST(ScopeTraceTest, Insert) {
    const std::string insert = this->function("insert");
    EXPECT_THAT(this->scopeRecordsOf([this] { this->template put<TypeParam>(1234, "state"); }),
                ElementsAre(entryOf(insert, stateValues(1234, this->own)), exitOf(insert)));
    EXPECT_THAT(
        this->scopeRecordsOf([this] { EXPECT_THROW(this->template put<TypeParam>(1234, "refused"), Reported); }),
        ElementsAre(entryOf(insert, stateValues(1234, this->own)), thrownExitOf(insert)));
}

// So is findOrInsert, whether it inserts or finds.
TYPED_TEST(ScopeTraceTest, FindOrInsert) {
    const std::string findOrInsert = this->function("findOrInsert");
    const auto records = ElementsAre(entryOf(findOrInsert, stateValues(7, this->own)), exitOf(findOrInsert));
    const auto operation = [this] { Detail<TypeParam>::findOrInsert(7, typeid(Widget), this->log.state("state")); };
    EXPECT_THAT(this->scopeRecordsOf(operation), records);
    EXPECT_THAT(this->scopeRecordsOf(operation), records);
}

// The deletion is traced inside the erasure; where there is nothing to delete, the erasure alone.
TYPED_TEST(ScopeTraceTest, Erase) {
    this->template put<TypeParam>(7, "state");
    const std::string erase = this->function("erase");
    const auto operation = [] { Detail<TypeParam>::erase(7, typeid(Widget)); };
    EXPECT_THAT(this->scopeRecordsOf(operation),
                ElementsAre(entryOf(erase, stateValues(7, this->own)), entryOf(this->deletion, "typeID=7", 1),
                            exitOf(this->deletion, 1), exitOf(erase)));
    EXPECT_THAT(this->scopeRecordsOf(operation), ElementsAre(entryOf(erase, stateValues(7, this->own)), exitOf(erase)));
}

// eraseAll is the Process context's, for the states of each scope.
TYPED_TEST(ScopeTraceTest, EraseAll) {
    this->template put<TypeParam>(7, "state");
    const std::string eraseAll = contextFunction<Process>("eraseAll") + "<" + shortName<TypeParam>() + ">";
    EXPECT_THAT(this->scopeRecordsOf([] { Detail<TypeParam>::eraseAll(7, typeid(Widget)); }),
                ElementsAre(entryOf(eraseAll, stateValues(7, this->processAddress)),
                            entryOf(this->deletion, "typeID=7", 1), exitOf(this->deletion, 1), exitOf(eraseAll)));
}

// A destruction is traced with its steps, each deletion included; a second one is traced as a call that does nothing.
TYPED_TEST(ScopeTraceTest, Destroy) {
    this->template put<TypeParam>(3, "older");
    this->template put<TypeParam>(5, "newer");
    this->destroyChildren();
    const std::string destroy = this->function("destroy");
    const std::string release = this->function("releaseParentNoLock");
    const std::string self = "this=" + this->own;
    auto& context = this->template context<TypeParam>();
    EXPECT_THAT(this->scopeRecordsOf([&] { context.destroy(); }),
                ElementsAre(entryOf(destroy, self), entryOf(release, self, 1), exitOf(release, 1),
                            entryOf(this->deletion, "typeID=5", 1), exitOf(this->deletion, 1),
                            entryOf(this->deletion, "typeID=3", 1), exitOf(this->deletion, 1), exitOf(destroy)));
    EXPECT_THAT(this->scopeRecordsOf([&] { context.destroy(); }), ElementsAre(entryOf(destroy, self), exitOf(destroy)));
}

// Lookups, queries and shutdown are not traced.
TYPED_TEST(ScopeTraceTest, LookupsAreNotTraced) {
    this->template put<TypeParam>(7, "state");
    EXPECT_THAT(this->recordsOf(everything,
                                [this] {
                                    using State = Detail<TypeParam>;
                                    State::find(7, typeid(Widget));
                                    State::findOrFail(7, typeid(Widget));
                                    State::findOrThrow(7, typeid(Widget));
                                    EXPECT_THROW(State::findOrThrow(8, typeid(Widget)), tav::TypeError);
                                    State::isRequiredContextActive();
                                    auto& context = this->template context<TypeParam>();
                                    context.shutdown();
                                    context.isShutdown();
                                    context.isActive();
                                }),
                IsEmpty());
}

// Each new id is an information record.
TYPED_TEST(ScopeTraceTest, NextID) {
    std::uint64_t id = 0;
    const auto records = this->recordsOf(information, [&] { id = Detail<TypeParam>::getNextID(typeid(Widget)); });
    EXPECT_THAT(records, ElementsAre(Record{information, 0,
                                            std::string("getNextID  scope=") + scopeName<TypeParam> +
                                                "  id=" + std::to_string(id) + "  type=" + widgetName}));
}

// Contexts are traced from construction to destruction, their parents' around theirs.
TEST_F(TavTest, TraceOfContexts) {
    const ScopedMask mask(entries | details);
    RecordingSink sink;
    {
        Context<Process> process;
        Context<Zarn> zarn(process);
        Context<Workspace> workspace(zarn);
    }
    std::vector<Record> records = sink.take();
    for (Record& record : records)
        record.message = normalised(record.message);
    ASSERT_THAT(records, testing::SizeIs(24));

    const auto addressIn = [&](std::size_t index) {
        return records[index].message.substr(records[index].message.find("this="));
    };
    std::vector<Record> expected;
    const auto expectConstruction = [&]<class Scope>(Scope, const std::string& self) {
        expected.push_back(entryOf(contextFunction<Scope>("ContextImpl"), self));
        expected.push_back(exitOf(contextFunction<Scope>("ContextImpl")));
    };
    const auto expectDestruction = [&]<class Scope>(Scope, const std::string& self) {
        expected.push_back(entryOf(contextFunction<Scope>("destroy"), self));
        expected.push_back(entryOf(contextFunction<Scope>("releaseParentNoLock"), self, 1));
        expected.push_back(exitOf(contextFunction<Scope>("releaseParentNoLock"), 1));
        expected.push_back(exitOf(contextFunction<Scope>("destroy")));
        expected.push_back(entryOf(contextFunction<Scope>("~ContextImpl"), self));
        expected.push_back(exitOf(contextFunction<Scope>("~ContextImpl")));
    };
    expectConstruction(Process(), addressIn(0));
    expectConstruction(Zarn(), addressIn(2));
    expectConstruction(Workspace(), addressIn(4));
    expectDestruction(Workspace(), addressIn(4));
    expectDestruction(Zarn(), addressIn(2));
    expectDestruction(Process(), addressIn(0));
    EXPECT_THAT(records, ElementsAreArray(expected));
}

// A context that goes with its last child is destroyed when its handle is freed, in vain, and when that child is gone:
// not each time that some child is.
TEST_F(TavTest, TraceOfAParentThatAwaitsItsChildren) {
    std::optional<Context<Process>> process(std::in_place);
    std::optional<Context<Zarn>> first(std::in_place, *process);
    std::optional<Context<Zarn>> second(std::in_place, *process);
    {
        const ContextActivator activator(*first);
        put<Zarn>(0, "first", [&second] { second.reset(); });
    }
    {
        const ContextActivator activator(*second);
        put<Zarn>(0, "second", [&process] { process.reset(); });
    }
    const ScopedMask mask(entries);
    RecordingSink sink;
    first.reset();
    std::size_t destructions = 0;
    for (const Record& record : sink.take())
        if (record.severity == entries && normalised(record.message) == contextFunction<Process>("destroy"))
            ++destructions;
    EXPECT_EQ(destructions, 2u);
    EXPECT_THAT(log.deaths(), ElementsAre("first", "second"));
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// A refused child is constructed and released again. Its destructor runs while the handler's exception is in flight and
// is not left by one of its own, so its exit is none by throwing.
TEST_F(TraceTest, RefusedChild) {
    const auto records = recordsOf(entries, [this] { EXPECT_THROW(Context<Workspace> second(zarn), Reported); });
    const auto function = contextFunction<Workspace>;
    EXPECT_THAT(records, ElementsAre(entryOf(function("ContextImpl")), exitOf(function("ContextImpl")),
                                     entryOf(function("~ContextImpl")), entryOf(function("releaseParentNoLock"), "", 1),
                                     exitOf(function("releaseParentNoLock"), 1), exitOf(function("~ContextImpl"))));
}

// An operation that is called while an exception is in flight, and ends well, is traced like any other.
TEST_F(TraceTest, OperationDuringUnwinding) {
    struct EraseAtEnd {
        ~EraseAtEnd() { Detail<Process>::erase(0, typeid(Widget)); }
    };
    const auto records = recordsOf(entries, [] {
        try {
            const EraseAtEnd guard;
            throw std::runtime_error("in flight");
        } catch (const std::runtime_error&) {
        }
    });
    const std::string erase = contextFunction<Process>("erase");
    EXPECT_THAT(records, ElementsAre(entryOf(erase), exitOf(erase)));
}

// A refused destruction leaves both of its scopes by throwing; the report between them is indented with them.
TEST_F(TraceTest, RefusedDestruction) {
    const auto records = recordsOf(entries | errors | details, [this] { EXPECT_THROW(process.destroy(), Reported); });
    const std::string self = "this=" + address<Process>();
    const std::string destroy = contextFunction<Process>("destroy");
    const std::string release = contextFunction<Process>("releaseParentNoLock");
    EXPECT_THAT(records, ElementsAre(entryOf(destroy, self), entryOf(release, self, 1),
                                     errorRecord(handler.reports().front(), 2), thrownExitOf(release, 1),
                                     thrownExitOf(destroy)));
}

// The signature is the whole one, the same at entry and exit.
TEST_F(TraceTest, SignatureIsComplete) {
    const ScopedMask mask(entries);
    Detail<Zarn>::erase(0, typeid(Widget));
    const auto records = sink.take();
    ASSERT_THAT(records, testing::SizeIs(2));
    EXPECT_EQ(records[0].message, records[1].message);
    EXPECT_THAT(records[0].message,
                testing::ContainsRegex("^(std::)?uint64_t .*ContextImpl<.*>::erase\\(.*type_info ?&\\) "
                                       "\\[(with )?Scope = foundation::tav::scope::Zarn"));
    const ScopedMask withDetails(entries | details);
    Detail<Zarn>::erase(0, typeid(Widget));
    EXPECT_THAT(sink.take().front().message, testing::StartsWith(records[0].message + "  typeID=0 "));
}

// Addresses are what an output stream prints for a pointer.
TEST_F(TraceTest, AddressesAreStreamedPointers) {
    const std::string text = address<Zarn>();
    std::istringstream input(text);
    void* pointer = nullptr;
    ASSERT_TRUE(input >> pointer);
    std::ostringstream output;
    output.imbue(std::locale::classic());
    output << pointer;
    EXPECT_EQ(text, output.str());
    EXPECT_THAT((std::vector{text, address<Process>(), address<Workspace>()}),
                testing::Each(testing::MatchesRegex("0x[0-9a-f]+")));
}

class ActivatorTraceTest : public TraceTest {
protected:
    static Record push(const std::string& zarn, const std::string& workspace) {
        return {information, 0, "push context  zarn=" + zarn + "  workspace=" + workspace};
    }
    static Record pop(const std::string& zarn, const std::string& workspace, const std::string& previousZarn,
                      const std::string& previousWorkspace) {
        return {information, 0,
                "pop context  zarn=" + zarn + "  workspace=" + workspace + "  restoring  zarn=" + previousZarn +
                    "  workspace=" + previousWorkspace};
    }

    const std::string z = address<Zarn>();
    const std::string w = address<Workspace>();
};

// Push and pop name the contexts asked for and those restored; none is a null pointer.
TEST_F(ActivatorTraceTest, PushAndPop) {
    EXPECT_THAT(recordsOf(information,
                          [this] {
                              ContextActivator none;
                              ContextActivator parent(zarn);
                              ContextActivator both(workspace);
                          }),
                ElementsAre(push("0", "0"), push(z, "0"), push(z, w), pop(z, w, z, "0"), pop(z, "0", "0", "0"),
                            pop("0", "0", z, w)));
}

// What was destroyed is named all the same.
TEST_F(ActivatorTraceTest, DestroyedContext) {
    workspace.destroy();
    EXPECT_THAT(recordsOf(information, [this] { ContextActivator again(workspace); }),
                ElementsAre(push("0", w), pop("0", w, z, "0")));
}

// deactivate() pops once.
TEST_F(ActivatorTraceTest, Deactivate) {
    EXPECT_THAT(recordsOf(information,
                          [this] {
                              ContextActivator parent(zarn);
                              parent.deactivate();
                              parent.deactivate();
                          }),
                ElementsAre(push(z, "0"), pop(z, "0", z, w)));
}

// A report is one record, with the closing sentence that its handler doesn't get.
TEST_F(TraceTest, Report) {
    const auto records =
        recordsOf(errors, [] { EXPECT_THROW(Detail<Process>::findOrFail(0, typeid(Widget)), Reported); });
    EXPECT_THAT(records, ElementsAre(errorRecord(handler.reports().front())));
}

// What a handle's destructor keeps to itself is traced: the report, and the exception with which the handler left.
TEST_F(TraceTest, CaughtException) {
    const auto records = recordsOf(errors, [this] { const Context<Process> freed(std::move(process)); });
    ASSERT_THAT(handler.reports(), testing::SizeIs(1));
    const Reported reported = handler.reports().front();
    EXPECT_THAT(records,
                ElementsAre(errorRecord(reported), Record{errors, 0, "Exception caught: " + reported.message}));
}

// The chain of nested exceptions is traced, one a line.
TEST_F(TraceTest, CaughtExceptionChain) {
    const ScopedErrorHandler nesting([](const tav::ErrorInfo&) {
        try {
            throw std::runtime_error("inner");
        } catch (...) {
            std::throw_with_nested(std::runtime_error("outer"));
        }
    });
    const auto records = recordsOf(errors, [this] { const Context<Zarn> freed(std::move(zarn)); });
    ASSERT_THAT(records, testing::SizeIs(2));
    EXPECT_EQ(records[1], (Record{errors, 0, "Exception caught: outer\ninner"}));
}

struct MaskCase {
    unsigned mask;
    std::vector<unsigned> severities;

    friend std::ostream& operator<<(std::ostream& stream, const MaskCase& maskCase) {
        return stream << "mask " << maskCase.mask;
    }
};

class MaskTest : public TraceTest, public testing::WithParamInterface<MaskCase> {
protected:
    ~MaskTest() noexcept override = default;
};

// What each mask lets through, of one operation of each kind: 32 brings entries and exits, 64 alone neither, 2 alone
// nothing; bits above the lowest 15 are no severities.
TEST_P(MaskTest, LetsThrough) {
    const auto records = recordsOf(GetParam().mask, [] {
        Detail<Process>::getNextID(typeid(Widget));
        Detail<Process>::erase(0, typeid(Widget));
        EXPECT_THROW(Detail<Process>::findOrFail(0, typeid(Widget)), Reported);
    });
    std::vector<unsigned> severities;
    for (const Record& record : records) {
        severities.push_back(record.severity);
        if (record.severity != entries) continue;
        EXPECT_EQ(record.message.find("  typeID=0 ") != std::string::npos, (GetParam().mask & details) != 0);
    }
    EXPECT_EQ(severities, GetParam().severities);
}

INSTANTIATE_TEST_SUITE_P(Masks, MaskTest,
                         testing::Values(MaskCase{0, {}}, MaskCase{2, {}}, MaskCase{16, {16}}, MaskCase{32, {32, 64}},
                                         MaskCase{64, {}}, MaskCase{32 + 2, {32, 64}}, MaskCase{32 + 64, {32, 64}},
                                         MaskCase{512, {512}}, MaskCase{16 + 512, {16, 512}}, MaskCase{0xffff8000, {}},
                                         MaskCase{0x7fff, {16, 32, 64, 512}}));

class IndentationTest : public TraceTest {
protected:
    // The indentation inside of an erasure, which is two scopes deep.
    unsigned indentationInside(unsigned mask) {
        put<Process>(1, "state", [] { Detail<Process>::getNextID(typeid(Widget)); });
        const auto records = recordsOf(mask, [] { Detail<Process>::erase(1, typeid(Widget)); });
        const auto inside = std::ranges::find(records, information, &Record::severity);
        EXPECT_NE(inside, records.end());
        return inside->indentation;
    }

    // The indentation of records outside of every scope.
    unsigned indentationOutside() {
        return recordsOf(information, [] { Detail<Process>::getNextID(typeid(Widget)); }).front().indentation;
    }
};

// Entries indent what comes before their exits; where there are none, nothing is indented.
TEST_F(IndentationTest, IsThatOfTheEntries) {
    EXPECT_EQ(indentationInside(information), 0u);
    EXPECT_EQ(indentationInside(information | details), 0u);
    EXPECT_EQ(indentationInside(information | exits), 0u);
    EXPECT_EQ(indentationInside(information | entries), 2u);
    EXPECT_EQ(indentationOutside(), 0u);
}

// It belongs to the thread.
TEST_F(IndentationTest, IsTheThreadsOwn) {
    put<Process>(1, "state", [] { onOtherThread([] { Detail<Process>::getNextID(typeid(Widget)); }); });
    const auto records = recordsOf(information | entries, [] { Detail<Process>::erase(1, typeid(Widget)); });
    EXPECT_THAT(records,
                testing::Contains(AllOf(Field(&Record::severity, information), Field(&Record::indentation, 0u))));
}

// It is given back when an operation is left by an exception.
TEST_F(IndentationTest, IsGivenBackByExceptions) {
    put<Process>(1, "state");
    recordsOf(entries, [this] { EXPECT_THROW(put<Process>(1, "refused"), Reported); });
    EXPECT_EQ(indentationOutside(), 0u);
}

// What was entered is left: the exit is written, and unindented, even if the mask has changed meanwhile.
TEST_F(IndentationTest, IsGivenBackWhereTheMaskHasChanged) {
    put<Process>(1, "state", [] { log::set_severity_mask(tavChannel, 0); });
    const auto records = recordsOf(entries, [] { Detail<Process>::erase(1, typeid(Widget)); });
    const std::string outer = contextFunction<Process>("erase");
    const std::string inner = "InstanceManager::erase";
    EXPECT_THAT(records, ElementsAre(entryOf(outer), entryOf(inner, "", 1), exitOf(inner, 1), exitOf(outer)));
    EXPECT_EQ(indentationOutside(), 0u);
}

// What was not entered is not left.
TEST_F(IndentationTest, StaysWhereTheMaskComesLate) {
    put<Process>(1, "state", [] { log::set_severity_mask(tavChannel, entries | exits); });
    EXPECT_THAT(recordsOf(exits, [] { Detail<Process>::erase(1, typeid(Widget)); }), IsEmpty());
    EXPECT_EQ(indentationOutside(), 0u);
}

// With the core's logging disabled nothing is written, and indentation stays balanced.
TEST_F(IndentationTest, StaysBalancedWithLoggingDisabled) {
    const auto core = boost::log::core::get();
    core->set_logging_enabled(false);
    EXPECT_THAT(recordsOf(everything, [] { Detail<Process>::erase(1, typeid(Widget)); }), IsEmpty());
    core->set_logging_enabled(true);
    EXPECT_EQ(indentationOutside(), 0u);
}

class BrokenSinkTest : public TraceTest, public testing::WithParamInterface<SinkFailure> {
protected:
    ~BrokenSinkTest() noexcept override = default;

    // The number of records that the operation loses to the sink. Nothing of that may be noticed outside.
    template <class Operation>
    unsigned lostBy(Operation&& operation) {
        const ScopedMask mask(everything);
        const unsigned before = sink.failures();
        sink.fail(GetParam());
        boost::log::sources::aux::get_severity_level() = 12345;
        EXPECT_NO_THROW(operation());
        EXPECT_EQ(boost::log::sources::aux::get_severity_level(), 12345u);
        sink.fail(SinkFailure::none);
        EXPECT_THAT(sink.take(), IsEmpty());
        Detail<Process>::getNextID(typeid(Widget));
        EXPECT_THAT(sink.take(), ElementsAre(Field(&Record::indentation, 0u)));
        return sink.failures() - before;
    }
};

// No exception of a sink leaves a trace point: the record is lost, and the operation goes on to its end.
TEST_P(BrokenSinkTest, LosesRecordsOnly) {
    using State = Detail<Process>;
    const std::type_info& type = typeid(Widget);
    EXPECT_EQ(lostBy([&] { put<Process>(0, "inserted"); }), 2u);
    EXPECT_EQ(lostBy([&] { State::findOrInsert(1, type, log.state("found or inserted")); }), 2u);
    EXPECT_EQ(lostBy([&] { EXPECT_TRUE(State::erase(0, type)); }), 4u);
    EXPECT_EQ(lostBy([&] { EXPECT_EQ(State::eraseAll(1, type), 1u); }), 4u);
    EXPECT_EQ(lostBy([&] { State::getNextID(type); }), 1u);
    EXPECT_EQ(lostBy([&] { EXPECT_EQ(reportOf([&] { State::findOrFail(0, type); }).message.substr(0, 4), "Type"); }),
              1u);
    EXPECT_EQ(lostBy([&] {
                  ContextActivator parent(zarn);
                  EXPECT_TRUE(zarn.isActive());
                  EXPECT_FALSE(workspace.isActive());
              }),
              2u);
    EXPECT_THAT(log.deaths(), ElementsAre("inserted", "found or inserted"));
}

// The same for the records of contexts that come and go.
TEST_P(BrokenSinkTest, LosesRecordsOfContexts) {
    EXPECT_EQ(lostBy([&] {
                  Context<Zarn> child(process);
                  EXPECT_FALSE(child.isShutdown());
              }),
              8u);
    EXPECT_EQ(lostBy([&] { workspace.destroy(); }), 4u);
    EXPECT_TRUE(workspace.isShutdown());
    EXPECT_EQ(lostBy([&] { const Context<Process> freed(std::move(process)); }), 6u);
    EXPECT_THAT(handler.reports(), testing::SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Failures, BrokenSinkTest, testing::Values(SinkFailure::whenAsked, SinkFailure::whenWritten));

// Everything that writes a record leaves the thread's severity slot as it was.
TEST_F(TraceTest, SeveritySlotIsGivenBack) {
    const auto slot = []() -> auto& { return boost::log::sources::aux::get_severity_level(); };
    slot() = 12345;
    const auto records = recordsOf(everything, [this] {
        put<Process>(0, "state");
        EXPECT_THROW(put<Process>(0, "refused"), Reported);
        Detail<Process>::erase(0, typeid(Widget));
        Detail<Process>::getNextID(typeid(Widget));
        ContextActivator none;
        Context<Zarn> child(process);
    });
    EXPECT_EQ(slot(), 12345u);
    std::vector<unsigned> severities;
    for (const Record& record : records)
        severities.push_back(record.severity);
    EXPECT_THAT(severities,
                ElementsAre(32, 64, 32, 512, 64, 32, 32, 64, 64, 16, 16, 32, 64, 32, 32, 64, 64, 32, 64, 16));
}

// An application's record that is in flight while the library writes its own keeps its severity, and they keep theirs.
TEST_F(TraceTest, ApplicationRecordsKeepTheirSeverity) {
    boost::log::sources::severity_logger<unsigned> application;
    const auto records = recordsOf(everything, [&] {
        boost::log::record record = application.open_record(boost::log::keywords::severity = 7u);
        ASSERT_TRUE(record);
        boost::log::record_ostream stream(record);
        stream << "erased=" << Detail<Process>::erase(0, typeid(Widget));
        stream.flush();
        stream.detach_from_record();
        application.push_record(std::move(record));
    });
    const std::string erase = contextFunction<Process>("erase");
    EXPECT_THAT(records,
                ElementsAre(entryOf(erase, stateValues(0, address<Process>())), exitOf(erase),
                            Record{.severity = 7, .indentation = 0, .message = "erased=false", .channel = ""}));
}

// Numbers are plain decimal and addresses plain whatever the global locale does to digits, also where the thread has
// not written a record before.
TEST_F(TraceTest, IgnoresTheGlobalLocale) {
    const std::string self = address<Process>();
    std::uint64_t id = 0;
    while (id < 10)
        id = Detail<Process>::getNextID(typeid(Widget));
    const auto operation = [&] {
        const DigitGroupingLocale locale;
        onOtherThread([&] {
            Detail<Process>::erase(1234, typeid(Widget));
            id = Detail<Process>::getNextID(typeid(Widget));
            EXPECT_THROW(Detail<Process>::findOrFail(1234, typeid(Widget)), Reported);
        });
    };
    const auto records = recordsOf(everything, operation);
    const std::string erase = contextFunction<Process>("erase");
    EXPECT_THAT(records, ElementsAre(entryOf(erase, stateValues(1234, self)), exitOf(erase),
                                     Record{information, 0,
                                            std::string("getNextID  scope=") + scopeName<Process> +
                                                "  id=" + std::to_string(id) + "  type=" + widgetName},
                                     errorRecord(handler.reports().front())));
}

}  // namespace
}  // namespace foundation::tests
