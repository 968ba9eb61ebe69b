#include <foundation/state/state.h>

#include <foundation/tav/type_error.h>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "declared_only.h"
#include "state_types.h"

namespace foundation::tests {

/// A type that can't be edited.
struct Foreign {
    int number = 0;
};

/// An aggregate, and its scope a member's.
struct Point {
    using StateScope = Workspace;
    int x;
    int y;
};

/// Found by its own type, whatever is derived from it.
struct Shape {
    using StateScope = Zarn;
    Shape() = default;
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;
    virtual ~Shape() = default;
    virtual std::string name() const = 0;
};

struct Other {
    virtual ~Other() = default;
    int number = 1;
};

/// Its `Shape` lies behind something else.
struct Circle : Other, Shape {
    explicit Circle(bool& lives) : isAlive(lives) { isAlive = true; }
    ~Circle() override { isAlive = false; }
    std::string name() const override { return "circle"; }
    bool& isAlive;
};

/// Aligned beyond what `operator new` gives anyway.
struct alignas(256) Wide {
    using StateScope = Process;
    char bytes[256];
};

/// Finds a state of its own type while it is constructed.
struct Impatient {
    using StateScope = Zarn;
    explicit Impatient(int more) : depth(more) {
        if (depth > 0) state::findOrCreate<Impatient>(depth - 1);
    }
    int depth;
};

/// Its construction fails.
struct Failing {
    using StateScope = Process;
    Failing() { throw std::runtime_error("no such thing"); }
};

}  // namespace foundation::tests

template <>
struct foundation::state::ScopeOf<foundation::tests::Foreign> {
    using type = foundation::tav::scope::Process;
};

namespace foundation::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_same_v<decltype(state::find<Point>()), Point*>);
static_assert(std::is_same_v<decltype(state::findOrFail<Point>()), Point&>);
static_assert(std::is_same_v<decltype(state::findOrThrow<Point>()), Point&>);
static_assert(std::is_same_v<decltype(state::findOrCreate<Point>(1, 2)), Point&>);
static_assert(std::is_same_v<decltype(state::create<Point>(1, 2)), Point&>);
static_assert(std::is_same_v<decltype(state::insert(std::unique_ptr<Point>())), Point&>);
static_assert(std::is_same_v<decltype(state::erase<Point>()), bool>);
static_assert(std::is_same_v<decltype(state::eraseAll<Point>()), std::uint64_t>);
// A pointer whose deleter was made for another address must not slip in.
static_assert(!std::is_convertible_v<state::Ptr<Circle>, state::Ptr<Shape>>);
static_assert(std::is_same_v<state::ScopeOf<Point>::type, Workspace>);

template <class Scope>
class StateTest : protected DeathList, public ContextsTest {
protected:
    using NoteType = Note<Scope>;

    /// Its name as messages have it.
    static std::string noteName() { return std::string("foundation::tests::Note<") + scopeName<Scope> + ">"; }
};
TYPED_TEST_SUITE(StateTest, AllScopes, ScopeNames);

// What is created is what every operation finds, under the id that Detail knows it by.
TYPED_TEST(StateTest, FindsWhatWasCreated) {
    using Note = typename TestFixture::NoteType;
    EXPECT_EQ(state::find<Note>(), nullptr);
    Note& created = state::create<Note>(this->deaths, "created");
    EXPECT_EQ(state::find<Note>(), &created);
    EXPECT_EQ(&state::findOrFail<Note>(), &created);
    EXPECT_EQ(&state::findOrThrow<Note>(), &created);
    EXPECT_EQ(&state::findOrCreate<Note>(this->deaths, "not needed"), &created);
    EXPECT_EQ(Detail<TypeParam>::find(state::typeID<Note>(), typeid(Note))->get(), &created);
    EXPECT_THAT(this->deaths, IsEmpty());
    EXPECT_TRUE(state::erase<Note>());
    EXPECT_THAT(this->deaths, ElementsAre("created"));
    EXPECT_FALSE(state::erase<Note>());
}

// A state is constructed only when there is none, and of the arguments given.
TYPED_TEST(StateTest, FindOrCreateConstructsOnce) {
    using Note = typename TestFixture::NoteType;
    EXPECT_EQ(state::findOrCreate<Note>(this->deaths, "first").name, "first");
    EXPECT_EQ(state::findOrCreate<Note>(this->deaths, "second").name, "first");
    EXPECT_THAT(this->deaths, IsEmpty());
}

// The state is its context's and goes with it.
TYPED_TEST(StateTest, DiesWithItsContext) {
    using Note = typename TestFixture::NoteType;
    state::create<Note>(this->deaths, "state");
    if constexpr (!std::is_same_v<TypeParam, Workspace>) this->workspace.destroy();
    if constexpr (std::is_same_v<TypeParam, Process>) this->zarn.destroy();
    EXPECT_THAT(this->deaths, IsEmpty());
    this->template context<TypeParam>().destroy();
    EXPECT_THAT(this->deaths, ElementsAre("state"));
}

// Creating a second one is the library's own report, and the second one does not leak.
TYPED_TEST(StateTest, CreateReportsAPresentState) {
    using Note = typename TestFixture::NoteType;
    state::create<Note>(this->deaths, "first");
    EXPECT_THAT(reportOf([this] { state::create<Note>(this->deaths, "second"); }),
                isReport("State of type '" + TestFixture::noteName() +
                             "' already inserted. Consider using 'findOrInsert' to safely retrieve the existing state "
                             "or insert one if absent.",
                         contextMember<TypeParam>("insert")));
    EXPECT_THAT(this->deaths, ElementsAre("second"));
    EXPECT_EQ(state::findOrFail<Note>().name, "first");
}

// Absence is reported by findOrFail and thrown by findOrThrow, with the readable name.
TYPED_TEST(StateTest, TellsOfAbsence) {
    using Note = typename TestFixture::NoteType;
    EXPECT_THAT(reportOf([] { state::findOrFail<Note>(); }),
                isReport("Type '" + TestFixture::noteName() +
                             "' does not exist in TAV. The caller requested pre-existing state of the specified type, "
                             "but it was never created.",
                         memberOf<TypeParam>("foundation::tav::Detail", "findOrFail")));
    try {
        state::findOrThrow<Note>();
        ADD_FAILURE() << "Nothing was thrown.";
    } catch (const tav::DoesNotExistTypeError& error) {
        EXPECT_EQ(error.getType(), typeid(Note));
    }
}

// Without its context every operation says so, as Detail does, and nothing leaks.
TYPED_TEST(StateTest, ReportsAMissingContext) {
    using Note = typename TestFixture::NoteType;
    this->activator.deactivate();
    this->process.deactivate();
    const auto missing = [](const std::string& operation) {
        return isReport("Cannot call " + operation + "(): No active TAV context with scope '" + scopeName<TypeParam> +
                            "' (specified for state type '" + TestFixture::noteName() +
                            "'). The context might be inaccessible to this thread, or might have been deactivated or "
                            "destroyed. 'Zarn' or 'Workspace' scoped states require an active 'Zarn' context; "
                            "'Process' scoped states require an active 'Process' context.",
                        memberOf<TypeParam>("foundation::tav::Detail", operation));
    };
    EXPECT_FALSE(state::isContextActive<Note>());
    EXPECT_THAT(reportOf([] { state::find<Note>(); }), missing("find"));
    EXPECT_THAT(reportOf([] { state::findOrFail<Note>(); }), missing("findOrFail"));
    EXPECT_THAT(reportOf([this] { state::findOrCreate<Note>(this->deaths, "never"); }), missing("find"));
    EXPECT_THAT(reportOf([this] { state::create<Note>(this->deaths, "created"); }), missing("insert"));
    EXPECT_THAT(reportOf([this] { state::insert(std::make_unique<Note>(this->deaths, "inserted")); }),
                missing("insert"));
    EXPECT_THAT(reportOf([] { state::erase<Note>(); }), missing("erase"));
    EXPECT_THAT(reportOf([] { state::eraseAll<Note>(); }), missing("eraseAll"));
    EXPECT_THROW(state::findOrThrow<Note>(), tav::NoActiveContextTypeError);
    EXPECT_THAT(this->deaths, ElementsAre("created", "inserted"));
}

// A null pointer is no state.
TYPED_TEST(StateTest, InsertReportsANullPointer) {
    using Note = typename TestFixture::NoteType;
    const auto isNull =
        isStateReport("registry.cpp",
                      "Attempting to insert a null pointer as state of type '" + TestFixture::noteName() +
                          "'. Insert an object, or 'erase' the state to have none.",
                      "insert");
    EXPECT_THAT(reportOf([] { state::insert(std::unique_ptr<Note>()); }), isNull);
    EXPECT_THAT(reportOf([] { state::insert(state::Ptr<Note>()); }), isNull);
    EXPECT_EQ(state::find<Note>(), nullptr);
}

// eraseAll reaches all contexts of the scope.
TYPED_TEST(StateTest, ErasesAll) {
    using Note = typename TestFixture::NoteType;
    state::create<Note>(this->deaths, "first");
    {
        Context<Zarn> secondZarn(this->process);
        Context<Workspace> secondWorkspace(secondZarn);
        const ContextActivator second(secondWorkspace);
        if (!state::find<Note>()) state::create<Note>(this->deaths, "second");
        EXPECT_EQ(state::eraseAll<Note>(), (std::is_same_v<TypeParam, Process> ? 1 : 2));
        EXPECT_EQ(state::eraseAll<Note>(), 0);
    }
    EXPECT_EQ(this->deaths.size(), (std::is_same_v<TypeParam, Process> ? 1 : 2));
    EXPECT_EQ(state::find<Note>(), nullptr);
}

class TypedStateTest : public ContextsTest {};

// A type that can't be edited has its scope from a specialisation, and is found in that scope.
TEST_F(TypedStateTest, ScopeOfServesForeignTypes) {
    state::create<Foreign>().number = 3;
    EXPECT_EQ(static_cast<Foreign*>(Detail<Process>::find(state::typeID<Foreign>(), typeid(Foreign))->get())->number,
              3);
}

// An aggregate is made of its members.
TEST_F(TypedStateTest, MakesAggregates) {
    EXPECT_EQ(state::findOrCreate<Point>(3, 4).y, 4);
    EXPECT_EQ(state::findOrFail<Point>().x, 3);
}

// An object of a derived class is found by the type of the pointer that it came in, at that base's address, and dies
// whole.
TEST_F(TypedStateTest, InsertsPolymorphicStates) {
    bool isAlive = false;
    auto circle = std::make_unique<Circle>(isAlive);
    Shape* const shape = circle.get();
    EXPECT_EQ(&state::insert<Shape>(std::move(circle)), shape);
    EXPECT_EQ(state::findOrFail<Shape>().name(), "circle");
    EXPECT_TRUE(state::erase<Shape>());
    EXPECT_FALSE(isAlive);
}

// Memory of any alignment is given back as it was taken.
TEST_F(TypedStateTest, KeepsAlignment) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&state::create<Wide>()) % alignof(Wide), 0);
    EXPECT_TRUE(state::erase<Wide>());
}

// All that needs no definition goes without one, on the id that others know the type by, and names the type itself.
TEST_F(TypedStateTest, ServesTypesThatAreOnlyDeclared) {
    EXPECT_TRUE(state::isContextActive<Opaque>());
    EXPECT_EQ(state::find<Opaque>(), nullptr);
    EXPECT_EQ(state::typeID<Opaque>(), idWhereDefined());
    Opaque& inserted = state::insert(makeOpaque(7));
    EXPECT_EQ(state::find<Opaque>(), &inserted);
    EXPECT_EQ(numberOf(state::findOrFail<Opaque>()), 7);
    EXPECT_EQ(&state::findOrThrow<Opaque>(), &inserted);
    EXPECT_TRUE(state::erase<Opaque>());
    state::insert(makeOpaque(8));
    EXPECT_EQ(state::eraseAll<Opaque>(), 1);
    EXPECT_EQ(livingOpaques(), 0);
    EXPECT_THAT(reportOf([] { state::findOrFail<Opaque>(); }),
                isReport("Type 'foundation::tests::Opaque' does not exist in TAV. The caller requested pre-existing "
                         "state of the specified type, but it was never created.",
                         memberOf<Zarn>("foundation::tav::Detail", "findOrFail")));
}

// A constructor may create the very state that it is to become: then that one stays.
TEST_F(TypedStateTest, ConstructorsMayUseEveryOperation) {
    EXPECT_EQ(state::findOrCreate<Impatient>(3).depth, 0);
    EXPECT_TRUE(state::erase<Impatient>());
    EXPECT_THAT(handler.reports(), IsEmpty());
}

// A constructor that throws leaves nothing behind.
TEST_F(TypedStateTest, FailedConstructionLeavesNothing) {
    EXPECT_THROW(state::create<Failing>(), std::runtime_error);
    EXPECT_THROW(state::findOrCreate<Failing>(), std::runtime_error);
    EXPECT_EQ(state::find<Failing>(), nullptr);
}

// Each thread works on its own current contexts.
TEST_F(TypedStateTest, OtherThreadsHaveTheirOwnContexts) {
    state::create<Point>(1, 2);
    onOtherThread([this] {
        EXPECT_FALSE(state::isContextActive<Point>());
        Context<Zarn> other(process);
        Context<Workspace> otherWorkspace(other);
        const ContextActivator otherActivator(otherWorkspace);
        EXPECT_TRUE(state::isContextActive<Point>());
        EXPECT_EQ(state::find<Point>(), nullptr);
    });
}

}  // namespace
}  // namespace foundation::tests
