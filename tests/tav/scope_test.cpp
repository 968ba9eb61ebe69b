#include <foundation/tav/scope.h>

#include <foundation/core/diag.h>
#include <gtest/gtest.h>
#include <type_traits>
#include <typeinfo>

namespace foundation::tav::scope {
namespace {

template <class Tag>
constexpr bool isTag =
    std::is_empty_v<Tag>&& std::is_trivially_copy_assignable_v<Tag>&& std::is_trivially_move_assignable_v<Tag>;

static_assert(isTag<Process> && isTag<Zarn> && isTag<Workspace>);
static_assert(!std::is_same_v<Process, Zarn> && !std::is_same_v<Zarn, Workspace> &&
              !std::is_same_v<Process, Workspace>);

std::string nameOf(const std::type_info& type) { return core::diag::detail::demangle_typeid_name(type.name(), false); }

// Messages name scopes by their tags.
TEST(Scope, TagsHaveReadableNames) {
    EXPECT_EQ(nameOf(typeid(Process)), "foundation::tav::scope::Process");
    EXPECT_EQ(nameOf(typeid(Zarn)), "foundation::tav::scope::Zarn");
    EXPECT_EQ(nameOf(typeid(Workspace)), "foundation::tav::scope::Workspace");
}

}  // namespace
}  // namespace foundation::tav::scope
