#include "record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include "timeline_support.h"

namespace timeline::tests {

namespace {

Record recordOf(std::string_view line) { return parseRecord(line).value_or(Record{}); }

// What the record with this severity and message says, in the type expected; a failure if it says something else.
template <class Expected>
Expected contentOf(unsigned severity, std::string_view message, Signatures& signatures) {
    const auto content = parseContent({.channel = tavChannel, .severity = severity, .message = message}, signatures);
    if (!content || !std::holds_alternative<Expected>(*content)) {
        ADD_FAILURE() << message;
        return {};
    }
    return std::get<Expected>(*content);
}

bool isUnderstood(unsigned severity, std::string_view message) {
    Signatures signatures;
    return parseContent({.channel = tavChannel, .severity = severity, .message = message}, signatures).has_value();
}

// Every field of a line as the sinks write it.
TEST(Record, HasTheFieldsOfItsLine) {
    const Record record = recordOf("2026-11-21T02:14:10.123456Z 3 [foundation::tav] 32     the message  it is");
    EXPECT_EQ(record.time, 1795227250123456);
    EXPECT_EQ(record.thread, 3u);
    EXPECT_EQ(record.channel, "foundation::tav");
    EXPECT_EQ(record.severity, 32u);
    EXPECT_EQ(record.indentation, 2u);
    EXPECT_EQ(record.message, "the message  it is");
}

// Channels may have any name, and messages may be empty.
TEST(Record, TakesAnyChannelAndMessage) {
    EXPECT_EQ(recordOf("2026-11-21T02:14:10.123456Z 3 [a] 1] 16 m").channel, "a] 1");
    EXPECT_EQ(recordOf("2026-11-21T02:14:10.123456Z 3 [] 16 m").channel, "");
    EXPECT_EQ(recordOf("2026-11-21T02:14:10.123456Z 3 [a] 16 ").message, "");
    EXPECT_EQ(recordOf("2024-02-29T23:59:59.999999Z 1 [a] 0 m").time, 1709251199999999);
}

// A line is a record as a whole or not at all: each field is wrong once.
TEST(Record, RefusesLinesThatAreNone) {
    for (const char* const line : {
             "",
             "text_host: 'x': binary file",
             "2026-11-21T02:14:10.123456Z",
             "2026-11-21T02:14:10.123456Z 3 [foundation::tav] 32",
             "2026-11-21T02:14:10.123456Z 3 [foundation::tav] x message",
             "2026-11-21T02:14:10.123456Z 3 [foundation::tav message",
             "2026-11-21T02:14:10.123456Z 3 foundation::tav] 32 message",
             "2026-11-21T02:14:10.123456Z x [foundation::tav] 32 message",
             "2026-11-21T02:14:10.123456Z 0 [foundation::tav] 32 message",
             "2026-11-21T02:14:10.123456Z -1 [foundation::tav] 32 message",
             "2026-11-21T02:14:10.123456Z 4294967296 [foundation::tav] 32 message",
             "2026-11-21T02:14:10.123456 3 [foundation::tav] 32 message",
             "2026-11-21T02:14:10.12345Z 3 [foundation::tav] 32 message",
             "2026-11-21 02:14:10.123456Z 3 [foundation::tav] 32 message",
             "2026-13-21T02:14:10.123456Z 3 [foundation::tav] 32 message",
             "2026-02-29T02:14:10.123456Z 3 [foundation::tav] 32 message",
             "2026-11-21T24:14:10.123456Z 3 [foundation::tav] 32 message",
             "2026-11-21T02:60:10.123456Z 3 [foundation::tav] 32 message",
             "2026-11-21T02:14:60.123456Z 3 [foundation::tav] 32 message",
             "-026-11-21T02:14:10.123456Z 3 [foundation::tav] 32 message",
         }) {
        EXPECT_FALSE(parseRecord(line)) << line;
    }
}

// Behind a piece of another line, the last record is found.
TEST(Record, IsFoundBehindOtherText) {
    const std::string record = "2026-11-21T02:14:10.123456Z 3 [foundation::tav] 32 message";
    EXPECT_EQ(findLaterRecord("documents: 5\r" + record), 13u);
    EXPECT_EQ(findLaterRecord("2026-11-21T02:14:10.12" + record), 22u);
    EXPECT_EQ(findLaterRecord("a" + record + "b" + record), 2 + record.size());
    EXPECT_EQ(findLaterRecord(record), std::nullopt);
    EXPECT_EQ(findLaterRecord("TTTTTTTTTTTTTTTTTTTTTTTT"), std::nullopt);
}

// The operations of a context, as g++ spells them.
TEST(Content, OperationsAreThoseOfGcc) {
    Signatures signatures;
    const std::vector<std::pair<std::string, Kind>> operations{
        {gcc::create("Zarn"), Kind::create},   {gcc::destruct("Zarn"), Kind::destruct},
        {gcc::destroy("Zarn"), Kind::destroy}, {gcc::release("Zarn"), Kind::releaseParent},
        {gcc::insert("Zarn"), Kind::insert},   {gcc::findOrInsert("Zarn"), Kind::findOrInsert},
        {gcc::erase("Zarn"), Kind::erase},
    };
    for (const auto& [text, kind] : operations) {
        const auto entry = contentOf<Entry>(32, text, signatures);
        EXPECT_EQ(entry.signature->kind, kind) << text;
        EXPECT_EQ(entry.signature->scope, Scope::zarn) << text;
        EXPECT_EQ(contentOf<Exit>(64, text, signatures).signature, entry.signature) << text;
    }
    EXPECT_EQ(signatures.get(gcc::deleteState).kind, Kind::deleteState);
    const Signature& eraseAll = signatures.get(gcc::eraseAll("Workspace"));
    EXPECT_EQ(eraseAll.kind, Kind::eraseAll);
    EXPECT_EQ(eraseAll.scope, Scope::process);
    EXPECT_EQ(eraseAll.stateScope, Scope::workspace);
}

// The same, as clang++ spells them.
TEST(Content, OperationsAreThoseOfClang) {
    Signatures signatures;
    const std::string scope = "foundation::tav::scope::";
    const std::string context = "(anonymous namespace)::ContextImpl<" + scope + "Workspace>::";
    const std::string end = " [Scope = " + scope + "Workspace]";
    const std::vector<std::pair<std::string, Kind>> operations{
        {context + "ContextImpl(std::shared_ptr<Parent>)" + end, Kind::create},
        {context + "~ContextImpl()" + end, Kind::destruct},
        {"bool " + context + "destroy()" + end, Kind::destroy},
        {"void " + context + "releaseParentNoLock()" + end, Kind::releaseParent},
        {"StatePtr &" + context + "insert(std::uint64_t, const std::type_info &, StatePtr &&)" + end, Kind::insert},
        {"StatePtr &" + context + "findOrInsert(std::uint64_t, const std::type_info &, StatePtr &&)" + end,
         Kind::findOrInsert},
        {"std::uint64_t " + context + "erase(std::uint64_t, const std::type_info &)" + end, Kind::erase},
    };
    for (const auto& [text, kind] : operations) {
        EXPECT_EQ(signatures.get(text).kind, kind) << text;
        EXPECT_EQ(signatures.get(text).scope, Scope::workspace) << text;
    }
    const Signature& eraseAll =
        signatures.get("std::uint64_t (anonymous namespace)::ContextImpl<" + scope +
                       "Process>::eraseAll(std::uint64_t, const std::type_info &) [Scope = " + scope +
                       "Process, StateScope = " + scope + "Zarn]");
    EXPECT_EQ(eraseAll.kind, Kind::eraseAll);
    EXPECT_EQ(eraseAll.scope, Scope::process);
    EXPECT_EQ(eraseAll.stateScope, Scope::zarn);
    EXPECT_EQ(
        signatures.get("static void (anonymous namespace)::InstanceManager::erase(std::uint64_t, StatePtr &&)").kind,
        Kind::deleteState);
}

// What users read.
TEST(Content, OperationsHaveNames) {
    Signatures signatures;
    EXPECT_EQ(signatures.get(gcc::create("Process")).name, "Process created");
    EXPECT_EQ(signatures.get(gcc::destruct("Zarn")).name, "Zarn freed");
    EXPECT_EQ(signatures.get(gcc::destroy("Zarn")).name, "Zarn destroy");
    EXPECT_EQ(signatures.get(gcc::release("Zarn")).name, "Zarn leaves its parent");
    EXPECT_EQ(signatures.get(gcc::insert("Workspace")).name, "Workspace insert");
    EXPECT_EQ(signatures.get(gcc::eraseAll("Zarn")).name, "Zarn eraseAll");
    EXPECT_EQ(signatures.get(gcc::deleteState).name, "state deleted");
    EXPECT_EQ(signatures.get("void host::somethingElse()").name, "void host::somethingElse()");
}

// The values of an entry, all of them or as many as the operation has; types may hold blanks.
TEST(Content, EntriesBearTheirValues) {
    Signatures signatures;
    const auto plain = contentOf<Entry>(32, gcc::insert("Zarn"), signatures);
    EXPECT_EQ(plain.context, std::nullopt);
    EXPECT_EQ(plain.typeId, std::nullopt);
    const std::string text = gcc::insert("Zarn") + "  typeID=7 getName(type)=Map<int, a this=1> this=0x7f00a8004830";
    const auto insert = contentOf<Entry>(32, text, signatures);
    EXPECT_EQ(insert.context, 0x7f00a8004830u);
    EXPECT_EQ(insert.typeId, 7u);
    EXPECT_EQ(insert.type, "Map<int, a this=1>");
    const auto deletion = contentOf<Entry>(32, gcc::deleteState + "  typeID=7", signatures);
    EXPECT_EQ(deletion.typeId, 7u);
    EXPECT_EQ(deletion.context, std::nullopt);
    EXPECT_EQ(contentOf<Entry>(32, gcc::destroy("Zarn") + "  this=0xAB", signatures).context, 0xABu);
    EXPECT_TRUE(contentOf<Exit>(64, gcc::destroy("Zarn") + " [throw]", signatures).isThrow);
    EXPECT_FALSE(contentOf<Exit>(64, gcc::destroy("Zarn"), signatures).isThrow);
}

// The plain records, each with its values.
TEST(Content, PlainRecordsBearTheirValues) {
    Signatures signatures;
    const auto push = contentOf<Push>(16, "push context  zarn=0x1f  workspace=0", signatures);
    EXPECT_EQ(push.zarn, 0x1fu);
    EXPECT_EQ(push.workspace, 0u);
    const auto pop =
        contentOf<Pop>(16, "pop context  zarn=0x1  workspace=0x2  restoring  zarn=0x3  workspace=0x4", signatures);
    EXPECT_EQ(pop.active.zarn, 1u);
    EXPECT_EQ(pop.active.workspace, 2u);
    EXPECT_EQ(pop.restored.zarn, 3u);
    EXPECT_EQ(pop.restored.workspace, 4u);
    const auto id =
        contentOf<TypeId>(16, "getNextID  scope=foundation::tav::scope::Zarn  id=3  type=A<b,  c>", signatures);
    EXPECT_EQ(id.key, (TypeKey{Scope::zarn, 3}));
    EXPECT_EQ(id.type, "A<b,  c>");
    const auto error = contentOf<Error>(512, "m_function=f  m_file=a b.cpp  m_line=7  m_message=It  is.", signatures);
    EXPECT_EQ(error.function, "f");
    EXPECT_EQ(error.place, "a b.cpp  m_line=7");
    EXPECT_EQ(error.message, "It  is.");
    EXPECT_EQ(contentOf<CaughtException>(512, "Exception caught: what", signatures).text, "what");
}

// The records of a teardown, each with its values.
TEST(Content, TeardownRecordsBearTheirValues) {
    Signatures signatures;
    const auto find = contentOf<LateUse>(16,
                                         "late find  scope=foundation::tav::scope::Zarn  id=3  context=0x5581  by  "
                                         "scope=foundation::tav::scope::Workspace  id=7",
                                         signatures);
    EXPECT_FALSE(find.isInsertion);
    EXPECT_EQ(find.used, (TypeKey{Scope::zarn, 3}));
    EXPECT_EQ(find.context, 0x5581u);
    EXPECT_EQ(find.deleted, (TypeKey{Scope::workspace, 7}));
    const auto insert =
        contentOf<LateUse>(16, "late insert" + of("Process", "0", "0x1") + "  by" + of("Process", "1"), signatures);
    EXPECT_TRUE(insert.isInsertion);
    EXPECT_EQ(insert.used, (TypeKey{Scope::process, 0}));
    EXPECT_EQ(insert.deleted, (TypeKey{Scope::process, 1}));
    const auto slow = contentOf<SlowDeletion>(
        16, "slow deletion" + of("Zarn", "7", "0x5581") + "  microseconds=1503190  limit=1000000", signatures);
    EXPECT_EQ(slow.deleted, (TypeKey{Scope::zarn, 7}));
    EXPECT_EQ(slow.context, 0x5581u);
    EXPECT_EQ(slow.took, 1503190);
    EXPECT_EQ(slow.limit, 1000000);
    const auto unknown =
        contentOf<SlowDeletion>(16, "slow deletion" + of("Zarn", "7", "0") + "  microseconds=9  limit=0", signatures);
    EXPECT_EQ(unknown.context, 0u);
    const auto freed =
        contentOf<SlowDeletion>(16, "slow deletion  scope=  id=7  context=0  microseconds=9  limit=0", signatures);
    EXPECT_EQ(freed.deleted, (TypeKey{Scope::unknown, 7}));
    EXPECT_EQ(contentOf<LateUse>(16, "late find" + of("Zarn", "3", "0x5") + "  by  scope=  id=7", signatures).deleted,
              (TypeKey{Scope::unknown, 7}));
}

// Records of other channels are let through, whatever they say.
TEST(Content, OtherChannelsAreNotUnderstood) {
    Signatures signatures;
    const auto content = parseContent({.channel = "app", .severity = 3, .message = "push context"}, signatures);
    EXPECT_TRUE(std::holds_alternative<OtherChannel>(content.value()));
}

// Texts that the library doesn't write, most of them cut off or changed by a byte.
TEST(Content, RefusesOtherTexts) {
    EXPECT_FALSE(isUnderstood(16, "push context  zarn=0x1f"));
    EXPECT_FALSE(isUnderstood(16, "push context  zarn=0x1f  workspace=0x"));
    EXPECT_FALSE(isUnderstood(16, "push context  zarn=0x1f  workspace=0x2 "));
    EXPECT_FALSE(isUnderstood(16, "push context zarn=0x1f  workspace=0x2"));
    EXPECT_FALSE(isUnderstood(16, "pop context  zarn=0x1  workspace=0x2"));
    EXPECT_FALSE(isUnderstood(16, "pop context  zarn=0x1  workspace=0x2  restoring  zarn=0x3  workspace=4"));
    EXPECT_FALSE(isUnderstood(16, "getNextID  scope=foundation::tav::scope::Zarn  id=x  type=A"));
    EXPECT_FALSE(isUnderstood(16, "getNextID  scope=foundation::tav::scope::Zarn  id=1  type="));
    EXPECT_FALSE(isUnderstood(16, "getNextID  scope=foundation::tav::scope::Zarm  id=1  type=A"));
    EXPECT_FALSE(isUnderstood(16, "something"));
    EXPECT_FALSE(isUnderstood(16, ""));
    EXPECT_FALSE(isUnderstood(32, gcc::destroy("Zarn") + "  this="));
    EXPECT_FALSE(isUnderstood(32, gcc::destroy("Zarn") + "  this=0xg"));
    EXPECT_FALSE(isUnderstood(32, gcc::insert("Zarn") + "  typeID=1 getName(type)=A"));
    EXPECT_FALSE(isUnderstood(32, gcc::insert("Zarn") + "  typeID=99999999999999999999"));
    EXPECT_FALSE(isUnderstood(32, gcc::destroy("Zarn").substr(0, 60)));
    EXPECT_FALSE(isUnderstood(64, gcc::insert("Zarn").substr(0, gcc::insert("Zarn").size() - 1)));
    EXPECT_FALSE(isUnderstood(64, gcc::destroy("Elsewhere")));
    EXPECT_FALSE(isUnderstood(512, "m_function=f  m_file=a  m_line=7"));
    EXPECT_FALSE(isUnderstood(512, "Exception"));
    EXPECT_FALSE(isUnderstood(17, "push context  zarn=0x1f  workspace=0x2"));
}

// A record of a teardown is whole and exact or not understood: no byte of it can be missing at its end, and each field
// is wrong once.
TEST(Content, RefusesDamagedTeardownRecords) {
    const std::string late = "late find" + of("Zarn", "3", "0x5") + "  by" + of("Workspace", "7");
    const std::string slow = "slow deletion" + of("Zarn", "7", "0") + "  microseconds=9  limit=1";
    for (const std::string& whole : {late, slow}) {
        EXPECT_TRUE(isUnderstood(16, whole));
        for (std::size_t length = 1; length != whole.size(); ++length) {
            EXPECT_FALSE(isUnderstood(16, whole.substr(0, length))) << whole.substr(0, length);
        }
        EXPECT_FALSE(isUnderstood(16, whole + ' '));
    }
    for (const std::string& message : {
             "late erase" + of("Zarn", "3", "0x5") + "  by" + of("Workspace", "7"),
             "late find" + of("Zarm", "3", "0x5") + "  by" + of("Workspace", "7"),
             "late find" + of("Zarn", "-3", "0x5") + "  by" + of("Workspace", "7"),
             "late find" + of("Zarn", "3", "5") + "  by" + of("Workspace", "7"),
             "late find" + of("Zarn", "3") + "  by" + of("Workspace", "7"),
             "late find" + of("Zarn", "3", "0x5") + " by" + of("Workspace", "7"),
             "late find" + of("Zarn", "3", "0x5") + "  by" + of("Work", "7"),
             "late find" + of("Zarn", "3", "0x5") + "  by" + of("Workspace", "7", "0x6"),
             "slow deletion" + of("Zarn", "7") + "  microseconds=9  limit=1",
             "slow deletion" + of("Zarn", "7", "0") + "  microseconds=-9  limit=1",
             "slow deletion" + of("Zarn", "7", "0") + "  microseconds=9.5  limit=1",
             "late find  scope=  id=3  context=0x5  by" + of("Workspace", "7"),
             "late find" + of("Zarn", "3", "0x5") + "  by  scope= id=7",
             "slow deletion" + of("Zarn", "7", "0") + "  microseconds=9223372036854775808  limit=1",
             "slow deletion" + of("Zarn", "7", "0") + "  milliseconds=9  limit=1",
             "slow deletion" + of("Zarn", "7", "0") + "  limit=1  microseconds=9",
         }) {
        EXPECT_FALSE(isUnderstood(16, message)) << message;
    }
}

}  // namespace

}  // namespace timeline::tests
