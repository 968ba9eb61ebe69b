#include <foundation/tav/type_error.h>

#include <foundation/core/except.h>
#include <foundation/tav/detail.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/exception/exception.hpp>
#include <exception>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "contexts.h"

namespace foundation::tests {
namespace {

using core::except::IException;
using core::except::IInternalException;
using core::except::detail::AnonymousInternalException;
using tav::DoesNotExistTypeError;
using tav::NoActiveContextTypeError;
using tav::TypeError;

static_assert(std::is_abstract_v<TypeError> && std::has_virtual_destructor_v<TypeError>);
static_assert(std::is_base_of_v<std::runtime_error, TypeError>);
static_assert(!std::is_constructible_v<TypeError, std::string_view, const std::type_info&>);

template <class Error>
constexpr bool isConcreteTypeError =
    std::is_base_of_v<TypeError, Error> && !std::is_abstract_v<Error> && std::is_nothrow_copy_constructible_v<Error> &&
    std::is_nothrow_copy_assignable_v<Error> && std::is_nothrow_destructible_v<Error> &&
    std::is_constructible_v<Error, const std::type_info&> && !std::is_convertible_v<const std::type_info&, Error>;
static_assert(isConcreteTypeError<DoesNotExistTypeError> && isConcreteTypeError<NoActiveContextTypeError>);

constexpr const char* doesNotExistMessage =
    "Type 'foundation::tests::Widget' does not exist in TAV. The caller requested pre-existing state of the specified "
    "type, but it was never created. This indicates a bug in the code calling TAV.";

constexpr const char* noActiveContextMessage =
    "No active TAV context with scope specified for state type 'foundation::tests::Widget'. The context might be "
    "inaccessible to this thread, or might have been deactivated or destroyed. 'Zarn' or 'Workspace' scoped states "
    "require an active 'Zarn' context; 'Process' scoped states require an active 'Process' context. This indicates a "
    "bug in the code calling TAV.";

struct OwnTypeError : TypeError {
    using TypeError::TypeError;
};

// The base adds the sentence with which every type error ends, and nothing else.
TEST(TypeError, AppendsTheClosingSentence) {
    const OwnTypeError error("Something.", typeid(Widget));
    EXPECT_STREQ(error.what(), "Something. This indicates a bug in the code calling TAV.");
    EXPECT_STREQ(OwnTypeError("", typeid(int)).what(), " This indicates a bug in the code calling TAV.");
}

// The type is the very one passed in, and its name the one of the message.
TEST(TypeError, KnowsItsType) {
    const OwnTypeError error("", typeid(Widget));
    EXPECT_EQ(&error.getType(), &typeid(Widget));
    EXPECT_EQ(error.getTypeName(), widgetName);
}

// Assignment takes message and type; assigning an error to itself keeps both.
TEST(TypeError, IsAssignable) {
    DoesNotExistTypeError error(typeid(int));
    const DoesNotExistTypeError other(typeid(Widget));
    error = other;
    error = std::as_const(error);
    EXPECT_STREQ(error.what(), doesNotExistMessage);
    EXPECT_EQ(&error.getType(), &typeid(Widget));
}

// A copy outlives its source.
TEST(TypeError, IsCopied) {
    auto source = std::make_unique<NoActiveContextTypeError>(typeid(Widget));
    const NoActiveContextTypeError copy(*source);
    source.reset();
    EXPECT_STREQ(copy.what(), noActiveContextMessage);
    EXPECT_EQ(&copy.getType(), &typeid(Widget));
}

// The whole text, for a state that was never created.
TEST(DoesNotExistTypeError, NamesTheType) {
    EXPECT_STREQ(DoesNotExistTypeError(typeid(Widget)).what(), doesNotExistMessage);
}

// The whole text, for a context that is not there; one blank between its two sentences.
TEST(NoActiveContextTypeError, NamesTheType) {
    EXPECT_STREQ(NoActiveContextTypeError(typeid(Widget)).what(), noActiveContextMessage);
}

// Assignment takes message and type here, too.
TEST(NoActiveContextTypeError, IsAssignable) {
    NoActiveContextTypeError error(typeid(int));
    const NoActiveContextTypeError other(typeid(double));
    error = other;
    EXPECT_EQ(&error.getType(), &typeid(double));
    EXPECT_STREQ(error.what(), other.what());
}

class ThrownTypeErrorTest : public ContextsTest {};

template <class Caught>
bool isCaughtAs() {
    try {
        Detail<Process>::findOrThrow(7, typeid(Widget));
    } catch (const Caught&) {
        return true;
    } catch (...) {
    }
    return false;
}

// A thrown type error can be caught as everything that it is, the host's bases included.
TEST_F(ThrownTypeErrorTest, IsCaughtByEachOfItsBases) {
    EXPECT_TRUE(isCaughtAs<AnonymousInternalException<DoesNotExistTypeError>>());
    EXPECT_TRUE((isCaughtAs<core::except::Exception<IInternalException, DoesNotExistTypeError, void>>()));
    EXPECT_TRUE(isCaughtAs<IInternalException>());
    EXPECT_TRUE(isCaughtAs<IException>());
    EXPECT_TRUE(isCaughtAs<boost::exception_detail::clone_base>());
    EXPECT_TRUE(isCaughtAs<boost::exception>());
    EXPECT_TRUE(isCaughtAs<DoesNotExistTypeError>());
    EXPECT_TRUE(isCaughtAs<TypeError>());
    EXPECT_TRUE(isCaughtAs<std::runtime_error>());
    EXPECT_TRUE(isCaughtAs<std::exception>());
    EXPECT_FALSE(isCaughtAs<NoActiveContextTypeError>());
}

// It reads the same from either side, and carries the type.
TEST_F(ThrownTypeErrorTest, ReadsTheSameFromEachBase) {
    try {
        Detail<Zarn>::findOrThrow(7, typeid(Widget));
        FAIL() << "Nothing was thrown.";
    } catch (const TypeError& error) {
        EXPECT_STREQ(error.what(), doesNotExistMessage);
        EXPECT_EQ(&error.getType(), &typeid(Widget));
        const auto& hostError = dynamic_cast<const IInternalException&>(error);
        EXPECT_STREQ(hostError.what(), doesNotExistMessage);
        EXPECT_EQ(hostError.message(), IException::convert_str(doesNotExistMessage));
    }
}

// It travels to another thread and is rethrown there as what it was.
TEST_F(ThrownTypeErrorTest, IsRethrownOnAnotherThread) {
    std::exception_ptr thrown;
    try {
        Detail<Workspace>::findOrThrow(7, typeid(Widget));
    } catch (...) {
        thrown = std::current_exception();
    }
    onOtherThread([&] {
        try {
            std::rethrow_exception(thrown);
        } catch (const DoesNotExistTypeError& error) {
            EXPECT_STREQ(error.what(), doesNotExistMessage);
        }
    });
}

// Absent contexts are thrown in the same way, and never reported.
TEST_F(TavTest, AbsentContextIsThrownAndNotReported) {
    try {
        Detail<Process>::findOrThrow(7, typeid(Widget));
        FAIL() << "Nothing was thrown.";
    } catch (const IInternalException& error) {
        EXPECT_STREQ(error.what(), noActiveContextMessage);
        EXPECT_NE(dynamic_cast<const NoActiveContextTypeError*>(&error), nullptr);
    }
    EXPECT_THAT(handler.reports(), testing::IsEmpty());
}

}  // namespace
}  // namespace foundation::tests
