#include <foundation/state/type_id.h>

#include <foundation/state/state.h>
#include <foundation/tav/detail.h>
#include <set>
#include <string>
#include <typeinfo>

#include "../support/recording_sink.h"
#include "state_types.h"

namespace foundation::tests {

template <int number>
struct Numbered {
    using StateScope = Zarn;
};

namespace {

/// There is another one of this name in threads_test.cpp.
struct SameName {
    using StateScope = Zarn;
};

}  // namespace

std::uint64_t idOfOtherSameName();

namespace {

using testing::ElementsAre;

// Ids are those of Detail: one after the other in each scope, and the same each time.
TEST(RegistryTest, IdsAreDense) {
    const std::uint64_t first = state::typeID<Numbered<0>>();
    EXPECT_EQ(state::typeID<Numbered<1>>(), first + 1);
    EXPECT_EQ(state::typeID<Numbered<2>>(), first + 2);
    EXPECT_EQ(state::typeID<Numbered<0>>(), first);
    EXPECT_EQ(Detail<Zarn>::getNextID(typeid(int)), first + 3);
}

// The id is asked for once, and its trace record names the type.
TEST(RegistryTest, AsksForEachIdOnce) {
    RecordingSink sink;
    const ScopedMask mask(16);
    const std::uint64_t id = state::typeID<Numbered<10>>();
    state::typeID<Numbered<10>>();
    EXPECT_THAT(sink.take(), ElementsAre(Record{16, 0,
                                                "getNextID  scope=foundation::tav::scope::Zarn  id=" +
                                                    std::to_string(id) + "  type=foundation::tests::Numbered<10>"}));
}

// Types of unnamed namespaces are as many as there are translation units, for all that they share a name.
TEST(RegistryTest, UnnamedNamespacesAreDistinct) {
    EXPECT_EQ(state::typeID<SameName>(), state::typeID<SameName>());
    EXPECT_NE(state::typeID<SameName>(), idOfOtherSameName());
}

// Whoever knows scope and id can name the type.
TEST(RegistryTest, NamesTypes) {
    const std::uint64_t id = state::typeID<Numbered<20>>();
    EXPECT_EQ(state::typeName(typeid(Zarn), id), "foundation::tests::Numbered<20>");
    EXPECT_EQ(state::typeName(typeid(Process), 1u << 30), "");
    EXPECT_EQ(state::typeName(typeid(Workspace), id + 1000), "");
}

}  // namespace
}  // namespace foundation::tests
