#include <foundation/state/state.h>
#include <foundation/state/testing.h>
#include <vector>

// Quoted in the documents; a test keeps both the same.
using namespace foundation;

struct Selection {
    using StateScope = tav::scope::Workspace;
    std::vector<int> items;
};

class SelectionTest : public state::HermeticTest {};

// Nobody has selected anything yet.
TEST_F(SelectionTest, StartsEmpty) { EXPECT_TRUE(state::findOrCreate<Selection>().items.empty()); }

// A document that was never selected in has no selection.
TEST_F(SelectionTest, IsMadeOnDemand) {
    expectNoStatesLeft();
    EXPECT_THROW(state::findOrFail<Selection>(), state::Misuse);
    EXPECT_EQ(takeMisuse().size(), 1u);  // taken, it does not fail the test
}
