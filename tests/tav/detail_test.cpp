#include <foundation/tav/detail.h>

#include <foundation/tav/type_error.h>
#include <algorithm>
#include <array>
#include <barrier>
#include <limits>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

template <class Scope>
constexpr bool isEmptyAndAssignable = std::is_empty_v<Detail<Scope>>&& std::is_copy_assignable_v<Detail<Scope>>&&
    std::is_move_assignable_v<Detail<Scope>>;
static_assert(isEmptyAndAssignable<Process> && isEmptyAndAssignable<Zarn> && isEmptyAndAssignable<Workspace>);
static_assert(std::is_same_v<decltype(Detail<Process>::getNextID(typeid(int))), std::uint64_t>);
static_assert(std::is_same_v<decltype(Detail<Process>::eraseAll(0, typeid(int))), std::uint64_t>);

template <class Scope>
class DetailTest : public ContextsTest {
protected:
    using State = Detail<Scope>;

    StatePtr* find(std::uint64_t id) { return State::find(id, typeid(Widget)); }
};
TYPED_TEST_SUITE(DetailTest, AllScopes, ScopeNames);

// Absence is no misuse for find.
TYPED_TEST(DetailTest, FindsNothingInAnEmptyContext) {
    EXPECT_EQ(this->find(0), nullptr);
    EXPECT_EQ(this->find(5000), nullptr);
    EXPECT_THAT(this->handler.reports(), IsEmpty());
}

// What was inserted is found at its place by every operation.
TYPED_TEST(DetailTest, FindsWhatWasInserted) {
    StatePtr offered = this->log.state("state");
    void* const object = offered.get();
    StatePtr& stored = TestFixture::State::insert(1, typeid(Widget), std::move(offered));
    EXPECT_EQ(offered, nullptr);
    EXPECT_EQ(stored.get(), object);
    EXPECT_EQ(this->find(1), &stored);
    EXPECT_EQ(&TestFixture::State::findOrFail(1, typeid(Widget)), &stored);
    EXPECT_EQ(&TestFixture::State::findOrThrow(1, typeid(Widget)), &stored);
    EXPECT_EQ(this->find(0), nullptr);
    EXPECT_EQ(this->find(2), nullptr);
}

// States stay where they are while others come and go and the table grows.
TYPED_TEST(DetailTest, StatesStayInPlace) {
    StatePtr& stored = this->template put<TypeParam>(1, "state");
    for (std::uint64_t id = 2; id < 5000; id += 500)
        this->template put<TypeParam>(id, "other");
    TestFixture::State::erase(2, typeid(Widget));
    EXPECT_EQ(this->find(1), &stored);
}

// The id alone selects the state; the type only names it.
TYPED_TEST(DetailTest, TypesAreNotCompared) {
    StatePtr& stored = TestFixture::State::insert(0, typeid(int), this->log.state("state"));
    EXPECT_EQ(TestFixture::State::find(0, typeid(Widget)), &stored);
}

// A state that is present is neither replaced nor lost, and the offered one stays with the caller.
TYPED_TEST(DetailTest, InsertRefusesASecondState) {
    StatePtr& stored = this->template put<TypeParam>(0, "first");
    void* const object = stored.get();
    StatePtr offered = this->log.state("second");
    EXPECT_THAT(reportOf([&] { TestFixture::State::insert(0, typeid(Widget), std::move(offered)); }),
                isReport("State of type 'foundation::tests::Widget' already inserted. Consider using 'findOrInsert' to "
                         "safely retrieve the existing state or insert one if absent.",
                         contextMember<TypeParam>("insert")));
    EXPECT_NE(offered, nullptr);
    EXPECT_EQ(stored.get(), object);
    EXPECT_EQ(this->find(0), &stored);
    EXPECT_THAT(this->log.deaths(), IsEmpty());
}

// An absent state is stored, a present one returned; then the offered one stays with the caller.
TYPED_TEST(DetailTest, FindOrInsertStoresOnce) {
    StatePtr first = this->log.state("first");
    StatePtr second = this->log.state("second");
    StatePtr& stored = TestFixture::State::findOrInsert(0, typeid(Widget), std::move(first));
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(&TestFixture::State::findOrInsert(0, typeid(Widget), std::move(second)), &stored);
    EXPECT_NE(second, nullptr);
    second.reset();
    EXPECT_THAT(this->log.deaths(), ElementsAre("second"));
    EXPECT_THAT(this->handler.reports(), IsEmpty());
}

// Erasing deletes the state at once, and is false where there is none.
TYPED_TEST(DetailTest, Erases) {
    EXPECT_FALSE(TestFixture::State::erase(0, typeid(Widget)));
    this->template put<TypeParam>(0, "state");
    EXPECT_TRUE(TestFixture::State::erase(0, typeid(Widget)));
    EXPECT_THAT(this->log.deaths(), ElementsAre("state"));
    EXPECT_EQ(this->find(0), nullptr);
    EXPECT_FALSE(TestFixture::State::erase(0, typeid(Widget)));
    this->template put<TypeParam>(0, "again");
    EXPECT_NE(this->find(0), nullptr);
}

// Absence is reported by findOrFail.
TYPED_TEST(DetailTest, FindOrFailReportsAbsence) {
    EXPECT_THAT(reportOf([] { TestFixture::State::findOrFail(0, typeid(Widget)); }),
                isReport("Type 'foundation::tests::Widget' does not exist in TAV. The caller requested pre-existing "
                         "state of the specified type, but it was never created.",
                         memberOf<TypeParam>("foundation::tav::Detail", "findOrFail")));
}

// Absence is thrown by findOrThrow, and not reported.
TYPED_TEST(DetailTest, FindOrThrowThrowsAbsence) {
    EXPECT_THROW(TestFixture::State::findOrThrow(0, typeid(Widget)), tav::DoesNotExistTypeError);
    EXPECT_THAT(this->handler.reports(), IsEmpty());
}

// The scopes have their states apart.
TYPED_TEST(DetailTest, ScopesAreSeparate) {
    this->template put<TypeParam>(0, "state");
    EXPECT_EQ(this->template has<Process>(0), (std::is_same_v<TypeParam, Process>));
    EXPECT_EQ(this->template has<Zarn>(0), (std::is_same_v<TypeParam, Zarn>));
    EXPECT_EQ(this->template has<Workspace>(0), (std::is_same_v<TypeParam, Workspace>));
}

// The required contexts are there.
TYPED_TEST(DetailTest, RequiredContextIsActive) { EXPECT_TRUE(TestFixture::State::isRequiredContextActive()); }

// An id whose table could not be had is refused by every operation before anything changes.
TYPED_TEST(DetailTest, HugeIdsAreRefused) {
    this->template put<TypeParam>(0, "state");
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    for (const std::uint64_t id : {largest, largest - 1023, largest - 1024, std::uint64_t{1} << 63,
                                   std::uint64_t{std::vector<void*>().max_size()}}) {
        StatePtr offered = this->log.state("offered");
        EXPECT_THROW(TestFixture::State::find(id, typeid(Widget)), std::length_error);
        EXPECT_THROW(TestFixture::State::findOrFail(id, typeid(Widget)), std::length_error);
        EXPECT_THROW(TestFixture::State::findOrThrow(id, typeid(Widget)), std::length_error);
        EXPECT_THROW(TestFixture::State::findOrInsert(id, typeid(Widget), std::move(offered)), std::length_error);
        EXPECT_THROW(TestFixture::State::insert(id, typeid(Widget), std::move(offered)), std::length_error);
        EXPECT_THROW(TestFixture::State::erase(id, typeid(Widget)), std::length_error);
        EXPECT_THROW(TestFixture::State::eraseAll(id, typeid(Widget)), std::length_error);
        EXPECT_NE(offered, nullptr);
    }
    EXPECT_NE(this->find(0), nullptr);
    this->template put<TypeParam>(1, "other");
    onOtherThread([] { EXPECT_EQ(Detail<Process>::find(99, typeid(Widget)), nullptr); });
}

// Each id is the one after the last.
TYPED_TEST(DetailTest, IdsAreConsecutive) {
    const std::uint64_t first = TestFixture::State::getNextID(typeid(Widget));
    EXPECT_EQ(TestFixture::State::getNextID(typeid(Widget)), first + 1);
    EXPECT_EQ(TestFixture::State::getNextID(typeid(int)), first + 2);
}

// Threads that ask for ids at once get different ones, and none is left out.
TYPED_TEST(DetailTest, IdsAreUniqueAcrossThreads) {
    constexpr std::size_t perThread = 1000;
    const std::uint64_t first = TestFixture::State::getNextID(typeid(Widget)) + 1;
    std::array<std::vector<std::uint64_t>, 4> ids;
    std::barrier start(std::ssize(ids));
    std::vector<std::thread> threads;
    for (auto& mine : ids) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (std::size_t i = 0; i < perThread; ++i)
                mine.push_back(TestFixture::State::getNextID(typeid(Widget)));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::vector<std::uint64_t> all;
    for (const auto& mine : ids) {
        EXPECT_TRUE(std::ranges::is_sorted(mine));
        all.insert(all.end(), mine.begin(), mine.end());
    }
    std::ranges::sort(all);
    ASSERT_THAT(all, SizeIs(ids.size() * perThread));
    for (std::size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(all[i], first + i);
}

/// No context of the scope, or none at all.
template <class Scope>
class AbsentContextTest : public TavTest {
protected:
    static auto isReportFrom(const std::string& function) {
        return isReport("Cannot call " + function + "(): No active TAV context with scope '" + scopeName<Scope> +
                            "' (specified for state type 'foundation::tests::Widget'). The context might be "
                            "inaccessible to this thread, or might have been deactivated or destroyed. 'Zarn' or "
                            "'Workspace' scoped states require an active 'Zarn' context; 'Process' scoped states "
                            "require an active 'Process' context.",
                        memberOf<Scope>("foundation::tav::Detail", function));
    }

    // Every operation but eraseAll, which requires another context, reports or throws.
    void expectAbsent() {
        using State = Detail<Scope>;
        StatePtr offered = log.state("offered");
        EXPECT_FALSE(State::isRequiredContextActive());
        EXPECT_THAT(reportOf([] { State::find(0, typeid(Widget)); }), isReportFrom("find"));
        EXPECT_THAT(reportOf([] { State::findOrFail(0, typeid(Widget)); }), isReportFrom("findOrFail"));
        EXPECT_THAT(reportOf([&] { State::findOrInsert(0, typeid(Widget), std::move(offered)); }),
                    isReportFrom("findOrInsert"));
        EXPECT_THAT(reportOf([&] { State::insert(0, typeid(Widget), std::move(offered)); }), isReportFrom("insert"));
        EXPECT_THAT(reportOf([] { State::erase(0, typeid(Widget)); }), isReportFrom("erase"));
        EXPECT_NE(offered, nullptr);
        EXPECT_THAT(handler.reports(), SizeIs(5));
        EXPECT_THROW(State::findOrThrow(0, typeid(Widget)), tav::NoActiveContextTypeError);
        EXPECT_THAT(handler.reports(), SizeIs(5));
    }
};
TYPED_TEST_SUITE(AbsentContextTest, AllScopes, ScopeNames);

// Without any context everything is refused, eraseAll in the name of its own scope.
TYPED_TEST(AbsentContextTest, IsReportedWithoutAnyContext) {
    this->expectAbsent();
    EXPECT_THAT(reportOf([] { Detail<TypeParam>::eraseAll(0, typeid(Widget)); }), this->isReportFrom("eraseAll"));
}

// A context that exists but is not active helps nobody.
TYPED_TEST(AbsentContextTest, IsReportedWhereNoneIsActive) {
    Context<Process> process(false);
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    this->expectAbsent();
    EXPECT_THAT(reportOf([] { Detail<TypeParam>::eraseAll(0, typeid(Widget)); }), this->isReportFrom("eraseAll"));
}

// eraseAll needs the Process context even where the scope's own is current.
TYPED_TEST(AbsentContextTest, IsReportedByEraseAllWithoutProcessContext) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    Context<Workspace> workspace(zarn);
    ContextActivator activator(workspace);
    process.deactivate();
    EXPECT_THAT(reportOf([] { Detail<TypeParam>::eraseAll(0, typeid(Widget)); }), this->isReportFrom("eraseAll"));
}

using AbsentWorkspaceTest = AbsentContextTest<Workspace>;

// On a thread with a Zarn context alone, Workspace state can't be had; Zarn state can.
TEST_F(AbsentWorkspaceTest, ZarnContextIsNotEnough) {
    Context<Process> process;
    Context<Zarn> zarn(process);
    ContextActivator activator(zarn);
    EXPECT_TRUE(Detail<Zarn>::isRequiredContextActive());
    expectAbsent();
    EXPECT_EQ(Detail<Workspace>::eraseAll(0, typeid(Widget)), 0u);
}

// What is current on one thread is not current on another; the Process context is active on all.
TEST_F(ContextsTest, ThreadsHaveTheProcessContextInCommon) {
    put<Process>(0, "state");
    onOtherThread([] {
        EXPECT_TRUE(has<Process>(0));
        EXPECT_FALSE(Detail<Zarn>::isRequiredContextActive());
        EXPECT_FALSE(Detail<Workspace>::isRequiredContextActive());
        EXPECT_THROW(has<Zarn>(0), Reported);
    });
}

/// Several contexts of each scope below one Process context.
class EraseAllTest : public TavTest {
protected:
    struct Branch {
        explicit Branch(Context<Process>& process) : zarn(process), workspace(zarn) {}

        Context<Zarn> zarn;
        Context<Workspace> workspace;
    };

    void fill(Branch& branch, const std::string& name) {
        ContextActivator activator(branch.workspace);
        put<Zarn>(0, name + " zarn");
        put<Workspace>(0, name + " workspace");
    }

    Context<Process> process;
    Branch first{process};
    Branch second{process};
    Branch third{process};
};

// Zarn states go in the order in which their contexts were made; contexts without one don't count.
TEST_F(EraseAllTest, ErasesEveryZarn) {
    fill(third, "third");
    fill(first, "first");
    EXPECT_EQ(Detail<Zarn>::eraseAll(0, typeid(Widget)), 2u);
    EXPECT_THAT(log.deaths(), ElementsAre("first zarn", "third zarn"));
    EXPECT_EQ(Detail<Zarn>::eraseAll(0, typeid(Widget)), 0u);
}

// Workspace states go in the order in which their parents were made.
TEST_F(EraseAllTest, ErasesEveryWorkspace) {
    fill(second, "second");
    fill(third, "third");
    fill(first, "first");
    EXPECT_EQ(Detail<Workspace>::eraseAll(0, typeid(Widget)), 3u);
    EXPECT_THAT(log.deaths(), ElementsAre("first workspace", "second workspace", "third workspace"));
    ContextActivator activator(second.workspace);
    EXPECT_TRUE(has<Zarn>(0));
    EXPECT_FALSE(has<Workspace>(0));
}

// The Process context itself holds one state of the type at most.
TEST_F(EraseAllTest, ErasesTheProcess) {
    put<Process>(0, "process");
    fill(first, "first");
    EXPECT_EQ(Detail<Process>::eraseAll(0, typeid(Widget)), 1u);
    EXPECT_EQ(Detail<Process>::eraseAll(0, typeid(Widget)), 0u);
    EXPECT_THAT(log.deaths(), ElementsAre("process"));
}

// No context is left out where the first deleter looks: all states are taken out before the first dies.
TEST_F(EraseAllTest, TakesAllOutBeforeDeleting) {
    ContextActivator activator(second.zarn);
    put<Zarn>(0, "second");
    {
        ContextActivator inner(first.zarn);
        put<Zarn>(0, "first", [] { EXPECT_FALSE(has<Zarn>(0)); });
    }
    EXPECT_EQ(Detail<Zarn>::eraseAll(0, typeid(Widget)), 2u);
}

// Other types are left alone.
TEST_F(EraseAllTest, LeavesOtherTypes) {
    ContextActivator activator(first.workspace);
    put<Zarn>(0, "other");
    put<Zarn>(1, "erased");
    EXPECT_EQ(Detail<Zarn>::eraseAll(1, typeid(Widget)), 1u);
    EXPECT_TRUE(has<Zarn>(0));
}

// Of threads that insert at once, one wins: all get the same state, and the others keep theirs.
TEST_F(TavTest, FindOrInsertHasOneWinner) {
    const Watchdog watchdog("Inserting on several threads");
    constexpr std::size_t threadCount = 4;
    Context<Process> process;
    for (std::uint64_t id = 0; id < 200; ++id) {
        std::array<StatePtr*, threadCount> found{};
        std::array<bool, threadCount> isKept{};
        std::barrier start(std::ssize(found));
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < threadCount; ++i) {
            threads.emplace_back([&, i] {
                StatePtr offered = log.state("state");
                start.arrive_and_wait();
                found[i] = &Detail<Process>::findOrInsert(id, typeid(Widget), std::move(offered));
                isKept[i] = offered != nullptr;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_THAT(found, testing::Each(Detail<Process>::find(id, typeid(Widget))));
        EXPECT_EQ(std::ranges::count(isKept, true), std::ssize(found) - 1);
    }
    EXPECT_EQ(log.alive(), 200u);
}

// All operations on one Process context at once, each thread with ids of its own and one in common.
TEST_F(TavTest, ProcessStateIsUsedOnSeveralThreads) {
    const Watchdog watchdog("Using the Process context on several threads");
    Context<Process> process;
    std::barrier start(4);
    const auto work = [&](std::uint64_t mine) {
        start.arrive_and_wait();
        for (int round = 0; round < 200; ++round) {
            put<Process>(mine, "mine");
            Detail<Process>::findOrInsert(0, typeid(Widget), log.state("common"));
            EXPECT_TRUE(has<Process>(mine));
            EXPECT_EQ(Detail<Process>::eraseAll(mine, typeid(Widget)), 1u);
            Detail<Process>::erase(0, typeid(Widget));
        }
    };
    std::vector<std::thread> threads;
    for (std::uint64_t mine : {1u, 2u, 1500u, 40000u})
        threads.emplace_back(work, mine);
    for (std::thread& thread : threads)
        thread.join();
    process.destroy();
    EXPECT_EQ(log.alive(), 0u);
}

class DetailDeathTest : public TavTest {};

// Without a handler each report ends the process, with the closing sentence.
TEST_F(DetailDeathTest, ReportsEndTheProcess) {
    const ScopedErrorHandler none(nullptr);
    EXPECT_DEATH(Detail<Zarn>::find(0, typeid(Widget)),
                 testing::HasSubstr("'Process' scoped states require an active 'Process' context. This indicates a bug "
                                    "in the code calling TAV."));
    Context<Process> process;
    EXPECT_DEATH(Detail<Process>::findOrFail(0, typeid(Widget)),
                 testing::HasSubstr("but it was never created. This indicates a bug in the code calling TAV."));
    put<Process>(0, "state");
    EXPECT_DEATH(put<Process>(0, "state"), testing::HasSubstr("State of type 'foundation::tests::Widget' already"));
}

}  // namespace
}  // namespace foundation::tests
