#include <foundation/tav/state_ptr.h>

#include <gtest/gtest.h>
#include <memory>
#include <type_traits>
#include <utility>

namespace foundation::tav {
namespace {

static_assert(std::is_same_v<StateDeleter, void (*)(void*)>);
static_assert(std::is_same_v<StatePtr, std::unique_ptr<void, StateDeleter>>);
static_assert(!std::is_copy_constructible_v<StatePtr> && std::is_nothrow_move_constructible_v<StatePtr>);

void countDeath(void* deaths) { ++*static_cast<int*>(deaths); }

// The deleter gets the object's own address, once, wherever the object has been moved.
TEST(StatePtr, DeletesItsObjectOnce) {
    int deaths = 0;
    {
        StatePtr state(&deaths, &countDeath);
        StatePtr moved(std::move(state));
        EXPECT_EQ(state, nullptr);
        EXPECT_EQ(moved.get(), &deaths);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
}

// An empty one may have no deleter at all.
TEST(StatePtr, EmptyOneNeedsNoDeleter) {
    StatePtr state(nullptr, nullptr);
    state.reset();
    EXPECT_FALSE(state);
}

}  // namespace
}  // namespace foundation::tav
