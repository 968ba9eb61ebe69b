#include <foundation/tav/context_set.h>

#include <memory>
#include <optional>
#include <type_traits>

#include "contexts.h"

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_default_constructible_v<ContextSet>);
static_assert(!std::is_copy_constructible_v<ContextSet> && !std::is_copy_assignable_v<ContextSet>);
static_assert(std::is_nothrow_move_constructible_v<ContextSet> && std::is_nothrow_move_assignable_v<ContextSet>);
static_assert(std::is_constructible_v<bool, ContextSet> && !std::is_convertible_v<ContextSet, bool>);
static_assert(!std::is_constructible_v<ContextSet, Context<Zarn>&> &&
              !std::is_constructible_v<ContextSet, Context<Workspace>&>);

// What the two comparisons say about two sets, in both directions.
enum class Comparison { equal, unequal, both, asymmetric };

Comparison compare(const ContextSet& a, const ContextSet& b) {
    if ((a == b) != (b == a) || (a != b) != (b != a)) return Comparison::asymmetric;
    if (a == b) return a != b ? Comparison::both : Comparison::equal;
    return a != b ? Comparison::unequal : Comparison::asymmetric;
}

void expectEmpty(const ContextSet& set) {
    EXPECT_TRUE(set.isEmpty());
    EXPECT_FALSE(set);
}

ContextSet movedFrom() {
    ContextSet set;
    const ContextSet moved(std::move(set));
    return set;
}

class ContextSetTest : public ContextsTest {
protected:
    // A set that names a destroyed Workspace context and no Zarn context.
    ContextSet destroyedWorkspace() {
        workspace.destroy();
        Context<Workspace> next(zarn);
        next.destroy();
        return ContextActivator(next).getActiveContexts();
    }
};

// A new set is empty.
TEST_F(ContextSetTest, StartsEmpty) { expectEmpty(ContextSet()); }

// Sets without a record, and new ones, are all the same.
TEST_F(ContextSetTest, EmptyOnesAreEqual) {
    const ContextSet a;
    const ContextSet b;
    const ContextSet gone = movedFrom();
    expectEmpty(gone);
    EXPECT_EQ(compare(a, a), Comparison::equal);
    EXPECT_EQ(compare(a, b), Comparison::equal);
    EXPECT_EQ(compare(a, gone), Comparison::equal);
    EXPECT_EQ(compare(gone, gone), Comparison::equal);
    EXPECT_EQ(compare(gone, ContextActivator().getActiveContexts()), Comparison::equal);
}

// A set taken from an activator names its contexts.
TEST_F(ContextSetTest, NamesTheContextsOfAnActivator) {
    const ContextSet set = activator.getActiveContexts();
    EXPECT_TRUE(set);
    EXPECT_FALSE(set.isEmpty());
    EXPECT_EQ(compare(set, activator.getActiveContexts()), Comparison::equal);
    EXPECT_EQ(compare(set, ContextSet()), Comparison::unequal);
    EXPECT_EQ(compare(set, movedFrom()), Comparison::unequal);
}

// Sets are compared by the contexts they name, both of them.
TEST_F(ContextSetTest, DifferentContextsMakeADifference) {
    Context<Zarn> otherZarn(process);
    const ContextSet both = activator.getActiveContexts();
    const ContextSet parentOnly = ContextActivator(zarn).getActiveContexts();
    const ContextSet other = ContextActivator(otherZarn).getActiveContexts();
    EXPECT_EQ(compare(both, parentOnly), Comparison::unequal);
    EXPECT_EQ(compare(parentOnly, other), Comparison::unequal);
    EXPECT_EQ(compare(parentOnly, ContextActivator(zarn).getActiveContexts()), Comparison::equal);
}

// Without a Zarn context sets are empty, so they are equal; different Workspace contexts make them unequal as well.
TEST_F(ContextSetTest, DestroyedWorkspacesAreEqualAndUnequal) {
    const ContextSet one = destroyedWorkspace();
    const ContextSet other = destroyedWorkspace();
    expectEmpty(one);
    EXPECT_EQ(compare(one, other), Comparison::both);
    EXPECT_EQ(compare(one, ContextSet()), Comparison::both);
    EXPECT_EQ(compare(one, one), Comparison::equal);
    EXPECT_EQ(compare(one, movedFrom()), Comparison::equal);
}

// Moving empties the source.
TEST_F(ContextSetTest, IsMoved) {
    ContextSet source = activator.getActiveContexts();
    ContextSet target(std::move(source));
    expectEmpty(source);
    EXPECT_EQ(compare(target, activator.getActiveContexts()), Comparison::equal);
    ContextSet assigned;
    assigned = std::move(target);
    expectEmpty(target);
    EXPECT_EQ(compare(assigned, activator.getActiveContexts()), Comparison::equal);
    source = std::move(assigned);
    EXPECT_EQ(compare(source, activator.getActiveContexts()), Comparison::equal);
}

// Assigning a set to itself leaves it as it is.
TEST_F(ContextSetTest, IsAssignedToItself) {
    ContextSet set = activator.getActiveContexts();
    ContextSet& itself = set;
    set = std::move(itself);
    EXPECT_EQ(compare(set, activator.getActiveContexts()), Comparison::equal);
}

// A set shares its contexts: what was put into one that is destroyed but for the set dies with the set.
TEST_F(TavTest, ContextSetKeepsItsContextsAlive) {
    const IgnoredAssertions ignoredAssertions;
    Context<Process> process;
    std::optional<Context<Zarn>> zarn(process);
    std::optional<ContextSet> set;
    {
        ContextActivator activator(*zarn);
        set = activator.getActiveContexts();
        onOtherThread([&] { zarn.reset(); });
        put<Zarn>(0, "state");
    }
    EXPECT_TRUE(*set);
    EXPECT_THAT(log.deaths(), IsEmpty());
    set = ContextSet();
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
}

// The set is no handle: a context dies by its handle although a set names it.
TEST_F(ContextSetTest, DoesNotKeepContextsFromBeingDestroyed) {
    put<Workspace>(0, "state");
    const ContextSet set = activator.getActiveContexts();
    workspace.destroy();
    EXPECT_THAT(log.deaths(), ElementsAre("state"));
    EXPECT_TRUE(set);
}

}  // namespace
}  // namespace foundation::tests
