#include <foundation/tav/detail.h>

#include <memory>
#include <optional>
#include <stdexcept>

#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;

/// One context of the scope without children, required by its operations, in a handle that deleters may free.
template <class Scope>
class DeleterTest : public TavTest {
protected:
    static constexpr std::uint64_t older = 0;
    static constexpr std::uint64_t dying = 1;
    static constexpr std::uint64_t newer = 2;
    static constexpr std::uint64_t offered = 3000;  // beyond the table, which has to grow meanwhile

    DeleterTest() {
        if constexpr (std::is_same_v<Scope, Process>) {
            context = std::make_unique<Context<Process>>();
        } else {
            process.emplace();
            if constexpr (std::is_same_v<Scope, Zarn>) {
                context = std::make_unique<Context<Zarn>>(*process);
            } else {
                zarn.emplace(*process);
                context = std::make_unique<Context<Workspace>>(*zarn);
            }
            activator.emplace(*context);
        }
    }

    ~DeleterTest() noexcept override = default;  // an activator's destructor may throw, a test's may not

    // Three states; what is given happens at the death of the second.
    void fill(std::function<void()> atDeath) {
        put<Scope>(older, "older");
        put<Scope>(dying, "dying", std::move(atDeath));
        put<Scope>(newer, "newer");
    }

    // Every operation of the scope, from the deleter of a state: it is gone, those that are older are there.
    void useEverything() {
        EXPECT_TRUE(Detail<Scope>::isRequiredContextActive());
        EXPECT_FALSE(has<Scope>(dying));
        EXPECT_TRUE(has<Scope>(older));
        EXPECT_EQ(&Detail<Scope>::findOrFail(older, typeid(Widget)),
                  &Detail<Scope>::findOrThrow(older, typeid(Widget)));
        Detail<Scope>::findOrInsert(offered, typeid(Widget), log.state("found or inserted"));
        put<Scope>(dying, "inserted");
        put<Scope>(offered + 1, "erased");
        EXPECT_TRUE(Detail<Scope>::erase(offered + 1, typeid(Widget)));
        EXPECT_EQ(Detail<Scope>::eraseAll(offered + 1, typeid(Widget)), 0u);
    }

    bool erase(std::uint64_t id) { return Detail<Scope>::erase(id, typeid(Widget)); }
    std::uint64_t eraseAll(std::uint64_t id) { return Detail<Scope>::eraseAll(id, typeid(Widget)); }

    const Watchdog watchdog{"Using a context from a deleter"};
    std::optional<Context<Process>> process;
    std::optional<Context<Zarn>> zarn;
    std::unique_ptr<Context<Scope>> context;
    std::optional<ContextActivator> activator;
};
TYPED_TEST_SUITE(DeleterTest, AllScopes, ScopeNames);

// A deleter run by erase may call every operation on the same context.
TYPED_TEST(DeleterTest, MayUseItsContextWhenErased) {
    this->fill([this] { this->useEverything(); });
    EXPECT_TRUE(this->erase(this->dying));
    EXPECT_THAT(this->log.deaths(), ElementsAre("dying", "erased"));
    EXPECT_TRUE(this->template has<TypeParam>(this->dying));
    EXPECT_TRUE(this->template has<TypeParam>(this->newer));
}

// So may a deleter run by eraseAll.
TYPED_TEST(DeleterTest, MayUseItsContextWhenErasedEverywhere) {
    this->fill([this] { this->useEverything(); });
    EXPECT_EQ(this->eraseAll(this->dying), 1u);
    EXPECT_THAT(this->log.deaths(), ElementsAre("dying", "erased"));
    EXPECT_TRUE(this->template has<TypeParam>(this->dying));
}

// So may a deleter run by destroy: newer states are gone already, and what it inserts is destroyed before older ones.
TYPED_TEST(DeleterTest, MayUseItsContextWhenDestroyed) {
    this->fill([this] {
        EXPECT_FALSE(this->template has<TypeParam>(this->newer));
        this->useEverything();
    });
    this->context->destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "erased", "inserted", "found or inserted", "older"));
    EXPECT_FALSE(this->context->isActive());
    EXPECT_FALSE(Detail<TypeParam>::isRequiredContextActive());
}

// So may a deleter run by the end of the handle.
TYPED_TEST(DeleterTest, MayUseItsContextWhenTheHandleIsFreed) {
    this->fill([this] { EXPECT_TRUE(this->template has<TypeParam>(this->older)); });
    this->context.reset();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "older"));
}

// A deleter may destroy the context that it dies by: the destruction in progress does the rest.
TYPED_TEST(DeleterTest, MayDestroyTheContextItDiesBy) {
    this->fill([this] {
        this->context->destroy();
        EXPECT_EQ(this->log.alive(), 1u);
    });
    this->context->destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "older"));
    EXPECT_FALSE(this->context->isActive());
    EXPECT_TRUE(this->context->isShutdown());
}

// A deleter may destroy its context when its state alone is erased.
TYPED_TEST(DeleterTest, MayDestroyItsContextWhenErased) {
    this->fill([this] { this->context->destroy(); });
    EXPECT_TRUE(this->erase(this->dying));
    EXPECT_THAT(this->log.deaths(), ElementsAre("dying", "newer", "older"));
    EXPECT_FALSE(Detail<TypeParam>::isRequiredContextActive());
}

// The same where it is erased everywhere.
TYPED_TEST(DeleterTest, MayDestroyItsContextWhenErasedEverywhere) {
    this->fill([this] { this->context->destroy(); });
    EXPECT_EQ(this->eraseAll(this->dying), 1u);
    EXPECT_THAT(this->log.deaths(), ElementsAre("dying", "newer", "older"));
}

// A deleter may free the handle whose destroy() runs it.
TYPED_TEST(DeleterTest, MayFreeItsHandleWhenDestroyed) {
    this->fill([this] { this->context.reset(); });
    this->context->destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "older"));
    EXPECT_FALSE(Detail<TypeParam>::isRequiredContextActive());
}

// A deleter may free the handle of its context when its state alone is erased.
TYPED_TEST(DeleterTest, MayFreeItsHandleWhenErased) {
    this->fill([this] { this->context.reset(); });
    EXPECT_TRUE(this->erase(this->dying));
    EXPECT_THAT(this->log.deaths(), ElementsAre("dying", "newer", "older"));
    EXPECT_FALSE(Detail<TypeParam>::isRequiredContextActive());
}

// The same where it is erased everywhere.
TYPED_TEST(DeleterTest, MayFreeItsHandleWhenErasedEverywhere) {
    this->fill([this] { this->context.reset(); });
    EXPECT_EQ(this->eraseAll(this->dying), 1u);
    EXPECT_THAT(this->log.deaths(), ElementsAre("dying", "newer", "older"));
}

// A deleter may end the activation of its context.
TYPED_TEST(DeleterTest, MayEndTheActivation) {
    this->fill([this] {
        if constexpr (std::is_same_v<TypeParam, Process>)
            this->context->deactivate();
        else
            this->activator.reset();
        EXPECT_FALSE(Detail<TypeParam>::isRequiredContextActive());
    });
    this->context->destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("newer", "dying", "older"));
    EXPECT_FALSE(this->context->isActive());
}

// No deleter runs while the Process context is locked: another thread gets in meanwhile.
TYPED_TEST(DeleterTest, LeavesTheProcessContextToOtherThreads) {
    const auto useProcessContextElsewhere = [] {
        onOtherThread([] { EXPECT_EQ(Detail<Process>::find(99, typeid(Widget)), nullptr); });
    };
    this->template put<TypeParam>(0, "destroyed", useProcessContextElsewhere);
    this->template put<TypeParam>(1, "erased", useProcessContextElsewhere);
    this->template put<TypeParam>(2, "erased everywhere", useProcessContextElsewhere);
    this->erase(1);
    this->eraseAll(2);
    this->context->destroy();
    EXPECT_THAT(this->log.deaths(), ElementsAre("erased", "erased everywhere", "destroyed"));
}

using ProcessDeleterTest = DeleterTest<Process>;

// A destruction in progress is left alone by another thread's.
TEST_F(ProcessDeleterTest, DestructionInProgressIsNotRepeatedElsewhere) {
    fill([this] {
        onOtherThread([this] { context->destroy(); });
        EXPECT_EQ(log.alive(), 1u);
    });
    context->destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "dying", "older"));
    EXPECT_FALSE(context->isActive());
}

// While its states die a context has no new children.
TEST_F(ProcessDeleterTest, FindsItsContextShutDown) {
    fill([this] {
        EXPECT_TRUE(context->isShutdown());
        EXPECT_THROW(Context<Zarn> child(*context), Reported);
    });
    context->destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("newer", "dying", "older"));
}

// States of a Workspace context may use those of its parents while they die.
TEST_F(ContextsTest, DeletersFindTheStatesOfParents) {
    put<Process>(0, "process");
    put<Zarn>(0, "zarn");
    put<Workspace>(0, "workspace", [] {
        EXPECT_TRUE(has<Zarn>(0));
        EXPECT_TRUE(has<Process>(0));
    });
    workspace.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("workspace"));
}

template <class Scope>
class DeleterDeathTest : public DeleterTest<Scope> {
protected:
    DeleterDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }  // the watchdog is a thread
    ~DeleterDeathTest() override { GTEST_FLAG_SET(death_test_style, "fast"); }

    void putThrowing() {
        Detail<Scope>::insert(this->dying, typeid(Widget),
                              StatePtr(this, [](void*) { throw std::runtime_error("A deleter failed."); }));
    }
};
TYPED_TEST_SUITE(DeleterDeathTest, AllScopes, ScopeNames);

// An exception that escapes a deleter ends the process, whoever runs the deleter.
TYPED_TEST(DeleterDeathTest, EscapingExceptionEndsTheProcess) {
    const auto terminated = testing::HasSubstr("terminate called after throwing an instance of 'std::runtime_error'");
    EXPECT_DEATH((this->putThrowing(), this->erase(this->dying)), terminated);
    EXPECT_DEATH((this->putThrowing(), this->eraseAll(this->dying)), terminated);
    EXPECT_DEATH((this->putThrowing(), this->context->destroy()), terminated);
    EXPECT_DEATH((this->putThrowing(), this->context.reset()), terminated);
}

}  // namespace
}  // namespace foundation::tests
