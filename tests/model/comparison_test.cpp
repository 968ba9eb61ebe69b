#include "comparison.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace foundation::tests::model {
namespace {

using Kind = Event::Kind;

// Contexts keep their addresses from event to event and from call to call.
TEST(Comparison, FollowsAddresses) {
    Comparison comparison;
    EXPECT_TRUE(comparison.isSame({{Kind::record, "push  zarn=@1  workspace=0"}, {Kind::record, "this=@2"}},
                                  {{Kind::record, "push  zarn=0xa0  workspace=0"}, {Kind::record, "this=0xb0"}}));
    EXPECT_TRUE(comparison.isSame({{Kind::record, "this=@1"}}, {{Kind::record, "this=0xa0"}}));
    EXPECT_FALSE(comparison.isSame({{Kind::record, "this=@1"}}, {{Kind::record, "this=0xb0"}}));
}

// Two contexts never have one address, unless the first is gone.
TEST(Comparison, TellsContextsApart) {
    Comparison comparison;
    EXPECT_TRUE(comparison.isSame({{Kind::record, "this=@1"}}, {{Kind::record, "this=0xa0"}}));
    EXPECT_FALSE(comparison.isSame({{Kind::record, "this=@2"}}, {{Kind::record, "this=0xa0"}}));
    EXPECT_TRUE(comparison.isSame({{Kind::release, "@1"}, {Kind::release, "@2"}}, {}));
    EXPECT_TRUE(comparison.isSame({{Kind::record, "this=@3"}}, {{Kind::record, "this=0xa0"}}));
}

// An address where none belongs, and none where one belongs, is a difference.
TEST(Comparison, TellsNullFromAddresses) {
    EXPECT_FALSE(Comparison().isSame({{Kind::record, "this=@1"}}, {{Kind::record, "this=0"}}));
    EXPECT_FALSE(Comparison().isSame({{Kind::record, "this=0"}}, {{Kind::record, "this=0xa0"}}));
}

// Number, order, kind and text of the events all count.
TEST(Comparison, SeesEveryDifference) {
    const Event death{Kind::death, "1"};
    const Event other{Kind::death, "2"};
    const Event assertion{Kind::assertion, "1"};
    Comparison comparison;
    EXPECT_TRUE(comparison.isSame({death, other}, {death, other}));
    EXPECT_FALSE(comparison.isSame({death, other}, {other, death}));
    EXPECT_FALSE(comparison.isSame({death, other}, {death}));
    EXPECT_FALSE(comparison.isSame({death}, {death, other}));
    EXPECT_FALSE(comparison.isSame({death}, {assertion}));
    EXPECT_FALSE(comparison.isSame({death}, {{Kind::death, "12"}}));
    EXPECT_FALSE(comparison.isSame({{Kind::death, "12"}}, {death}));
}

}  // namespace
}  // namespace foundation::tests::model
