#include <foundation/core/except.h>
#include <foundation/log/diagnostic_logger.h>

#include <gtest/gtest.h>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

namespace foundation::log::detail {
namespace {

using HostError = core::except::detail::AnonymousInternalException<std::runtime_error>;

HostError hostError(const char* text) { return HostError(std::runtime_error(text)); }

// What is no std::exception and no host exception.
struct Unknown {};

// The chain of what the function throws.
template <class Function>
std::string chainOf(Function function) {
    try {
        function();
    } catch (...) {
        return current_exception_chain_as_string();
    }
    return "nothing was thrown";
}

// Throws `outer` with what the function throws nested in it.
template <class Outer, class Function>
void throwAround(const Outer& outer, Function function) {
    try {
        function();
    } catch (...) {
        std::throw_with_nested(outer);
    }
}

// No exception, no text.
TEST(CurrentExceptionChain, IsEmptyWithoutAnException) {
    EXPECT_EQ(current_exception_chain_as_string(), "");
    EXPECT_EQ(chainOf([] { throw std::runtime_error("caught"); }), "caught");
    EXPECT_EQ(current_exception_chain_as_string(), "");
}

// The text of each kind of exception alone.
TEST(CurrentExceptionChain, OneExceptionIsItsText) {
    EXPECT_EQ(chainOf([] { throw std::logic_error("standard"); }), "standard");
    EXPECT_EQ(chainOf([] { throw hostError("host \xE2\x82\xAC"); }), "host \xE2\x82\xAC");
    EXPECT_EQ(chainOf([] { throw 42; }), "Unknown exception");
    EXPECT_EQ(chainOf([] { throw Unknown(); }), "Unknown exception");
}

// A host exception that is no std::exception at all.
class PureHostError : public core::except::IException {
public:
    const boost::exception_detail::clone_base* clone() const override { return new PureHostError(*this); }
    void rethrow() const override { throw *this; }
    std::u16string message() const override { return u"host only \u20AC"; }
};

TEST(CurrentExceptionChain, HostExceptionsNeedNotBeStandardOnes) {
    EXPECT_EQ(chainOf([] { throw PureHostError(); }), "host only \xE2\x82\xAC");
}

struct Silent : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

// A standard exception without a text.
TEST(CurrentExceptionChain, AbsentTextReadsUnknownException) {
    EXPECT_EQ(chainOf([] { throw Silent(); }), "Unknown exception");
}

// Three deep, of three kinds, in every order of standard, host and unknown: the outermost comes first.
TEST(CurrentExceptionChain, NestedExceptionsFollowOnePerLine) {
    const auto throwStandard = [] { throw std::out_of_range("standard"); };
    const auto throwHost = [] { throw hostError("host"); };
    const auto throwUnknown = [] { throw Unknown(); };
    const std::out_of_range standard("standard");
    const HostError host = hostError("host");
    const Unknown unknown;
    EXPECT_EQ(chainOf([&] { throwAround(standard, [&] { throwAround(host, throwUnknown); }); }),
              "standard\nhost\nUnknown exception");
    EXPECT_EQ(chainOf([&] { throwAround(standard, [&] { throwAround(unknown, throwHost); }); }),
              "standard\nUnknown exception\nhost");
    EXPECT_EQ(chainOf([&] { throwAround(host, [&] { throwAround(standard, throwUnknown); }); }),
              "host\nstandard\nUnknown exception");
    EXPECT_EQ(chainOf([&] { throwAround(host, [&] { throwAround(unknown, throwStandard); }); }),
              "host\nUnknown exception\nstandard");
    EXPECT_EQ(chainOf([&] { throwAround(unknown, [&] { throwAround(standard, throwHost); }); }),
              "Unknown exception\nstandard\nhost");
    EXPECT_EQ(chainOf([&] { throwAround(unknown, [&] { throwAround(host, throwStandard); }); }),
              "Unknown exception\nhost\nstandard");
}

// A std::nested_exception that was made where there was nothing to nest.
TEST(CurrentExceptionChain, EndsAtANestedExceptionThatHoldsNone) {
    EXPECT_EQ(chainOf([] { std::throw_with_nested(std::runtime_error("alone")); }), "alone");
}

// In a handler within a handler the inner exception counts; then the outer one again.
TEST(CurrentExceptionChain, IsThatOfTheInnermostHandler) {
    try {
        throw std::runtime_error("outer");
    } catch (const std::exception&) {
        EXPECT_EQ(chainOf([] { throw std::runtime_error("inner"); }), "inner");
        EXPECT_EQ(current_exception_chain_as_string(), "outer");
    }
}

// Looking at the exception leaves it as it was, in flight and the same object.
TEST(CurrentExceptionChain, LeavesTheExceptionAsItIs) {
    try {
        throwAround(std::runtime_error("outer"), [] { throw std::runtime_error("inner"); });
    } catch (const std::exception& error) {
        const std::exception_ptr before = std::current_exception();
        EXPECT_EQ(current_exception_chain_as_string(), "outer\ninner");
        EXPECT_EQ(current_exception_chain_as_string(), "outer\ninner");
        EXPECT_EQ(std::current_exception(), before);
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        EXPECT_STREQ(error.what(), "outer");
    }
}

// One thread's exception is none of another's.
TEST(CurrentExceptionChain, IsTheCallingThreadsOwn) {
    try {
        throw std::runtime_error("here");
    } catch (const std::exception&) {
        std::string there = "not called";
        std::thread([&there] { there = current_exception_chain_as_string(); }).join();
        EXPECT_EQ(there, "");
    }
}

}  // namespace
}  // namespace foundation::log::detail
