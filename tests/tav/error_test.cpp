#include <foundation/tav/error.h>

#include <foundation/tav/context.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/format.hpp>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "../support/error_reports.h"
#include "../support/recording_sink.h"

namespace foundation::tav {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using tests::Reported;
using tests::ScopedErrorHandler;
using tests::ThrowingErrorHandler;
using ProcessContext = management::Context<scope::Process>;

static_assert(std::is_same_v<ErrorHandler, void (*)(const ErrorInfo&)>);
static_assert(std::is_same_v<decltype(ErrorInfo::m_message), const std::string>);
static_assert(std::is_same_v<decltype(ErrorInfo::m_file), const char* const>);
static_assert(std::is_same_v<decltype(ErrorInfo::m_line), const int>);
static_assert(std::is_same_v<decltype(ErrorInfo::m_function), const char* const>);
static_assert(std::is_copy_constructible_v<ErrorInfo> && std::is_move_constructible_v<ErrorInfo>);
static_assert(!std::is_copy_assignable_v<ErrorInfo> && !std::is_move_assignable_v<ErrorInfo>);
static_assert(!std::is_default_constructible_v<ErrorInfo>);

// Misuse that every program can commit: it needs no other context.
void activateShutDownContext() {
    ProcessContext process(false);
    process.shutdown();
    process.activate();
}

constexpr const char* shutDownMessage = "Attempting to activate a shutdown process context";
constexpr const char* closingSentence = " This indicates a bug in the code calling TAV.";

// The record holds what it was given, pointers as they are.
TEST(ErrorInfo, KeepsItsParts) {
    const char* const file = "some/file.cpp";
    const char* const function = "some::function";
    const ErrorInfo info("What happened", file, 12, function);
    EXPECT_EQ(info.m_message, "What happened");
    EXPECT_EQ(info.m_file, file);
    EXPECT_EQ(info.m_line, 12);
    EXPECT_EQ(info.m_function, function);
}

// A message may come as a C string, a std::string or a format.
TEST(ErrorInfo, TakesThreeFormsOfMessage) {
    const std::string text = "text";
    const boost::format format = boost::format("%1% of %2%") % "one" % "two";
    EXPECT_EQ(ErrorInfo("literal", "", 1, "").m_message, "literal");
    EXPECT_EQ(ErrorInfo(text, "", 1, "").m_message, "text");
    EXPECT_EQ(ErrorInfo(std::string("moved"), "", 1, "").m_message, "moved");
    EXPECT_EQ(ErrorInfo(format, "", 1, "").m_message, "one of two");
    EXPECT_EQ(ErrorInfo(boost::format("%1%!") % "one", "", 1, "").m_message, "one!");
}

// A format that lacks an argument is the caller's fault, and Boost.Format says so.
TEST(ErrorInfo, RefusesFormatWithTooFewArguments) {
    const boost::format format = boost::format("%1% of %2%") % "one";
    EXPECT_THROW(ErrorInfo(format, "", 1, ""), boost::io::too_few_args);
}

// A record handed to a handler is not emptied by anybody who copies or moves it.
TEST(ErrorInfo, MovedFromRecordKeepsItsMessage) {
    ErrorInfo info(std::string(100, 'x'), "file", 3, "function");
    const ErrorInfo copy(info);
    const ErrorInfo moved(std::move(info));
    for (const ErrorInfo* each : {&std::as_const(info), &copy, &moved}) {
        EXPECT_EQ(each->m_message, std::string(100, 'x'));
        EXPECT_STREQ(each->m_file, "file");
        EXPECT_EQ(each->m_line, 3);
        EXPECT_STREQ(each->m_function, "function");
    }
}

void ignore(const ErrorInfo&) {}

// Installing returns what was installed before; null uninstalls.
TEST(ErrorHandler, IsExchanged) {
    const ScopedErrorHandler none(nullptr);
    EXPECT_EQ(getErrorHandler(), nullptr);
    EXPECT_EQ(setErrorHandler(&ignore), nullptr);
    EXPECT_EQ(getErrorHandler(), &ignore);
    EXPECT_EQ(setErrorHandler(nullptr), &ignore);
    EXPECT_EQ(getErrorHandler(), nullptr);
    EXPECT_EQ(setErrorHandler(nullptr), nullptr);
}

// What the handler throws leaves the failing call; the record lacks the closing sentence.
TEST(ErrorHandler, LeavesTheFailingCallByThrowing) {
    const ThrowingErrorHandler handler;
    EXPECT_THAT(tests::reportOf(&activateShutDownContext),
                tests::isReport(shutDownMessage,
                                "foundation::tav::management::Context<struct foundation::tav::scope::Process>"
                                "::activate"));
    EXPECT_EQ(handler.reports().size(), 1u);
}

// The strings of a record are static: they are still there when the record and the failing call are not.
TEST(ErrorHandler, GetsNamesWithStaticStorage) {
    static const char* file = nullptr;
    static const char* function = nullptr;
    const ScopedErrorHandler handler([](const ErrorInfo& info) {
        file = info.m_file;
        function = info.m_function;
        throw Reported(info);
    });
    EXPECT_THROW(activateShutDownContext(), Reported);
    EXPECT_STREQ(file, "foundation/tav/management.cpp");
    EXPECT_STREQ(function, "foundation::tav::management::Context<struct foundation::tav::scope::Process>::activate");
}

// The handler is called whether the record is traced or not.
TEST(ErrorHandler, IsCalledWithTheTraceMaskedOff) {
    const ThrowingErrorHandler handler;
    const tests::ScopedMask mask(0);
    tests::RecordingSink sink;
    EXPECT_THROW(activateShutDownContext(), Reported);
    EXPECT_THAT(sink.take(), testing::IsEmpty());
}

// A handler may replace itself.
TEST(ErrorHandler, MayInstallAnotherOne) {
    const ScopedErrorHandler handler([](const ErrorInfo& info) {
        setErrorHandler(&ignore);
        throw Reported(info);
    });
    EXPECT_THROW(activateShutDownContext(), Reported);
    EXPECT_EQ(getErrorHandler(), &ignore);
}

const auto terminationReport =
    AllOf(HasSubstr(std::string(shutDownMessage) + closingSentence), HasSubstr("foundation/tav/management.cpp"),
          HasSubstr("Context<struct foundation::tav::scope::Process>::activate"));

// Without a handler the process ends, with the whole message.
TEST(ErrorHandlerDeathTest, NoneEndsTheProcess) {
    const ScopedErrorHandler none(nullptr);
    EXPECT_DEATH(activateShutDownContext(), terminationReport);
}

// A handler that returns ends the process just the same.
TEST(ErrorHandlerDeathTest, ReturningEndsTheProcess) {
    const ScopedErrorHandler handler(&ignore);
    EXPECT_DEATH(activateShutDownContext(), terminationReport);
}

// Without severity 512 in the mask nothing is traced; termination goes on.
TEST(ErrorHandlerDeathTest, NoneEndsTheProcessWithTheTraceMaskedOff) {
    const ScopedErrorHandler none(nullptr);
    const tests::ScopedMask mask(0);
    EXPECT_DEATH(activateShutDownContext(), terminationReport);
}

// A sink that throws doesn't save the process from a report.
TEST(ErrorHandlerDeathTest, NoneEndsTheProcessWithABrokenSink) {
    const ScopedErrorHandler none(nullptr);
    tests::RecordingSink sink;
    sink.fail(tests::SinkFailure::whenWritten);
    EXPECT_DEATH(activateShutDownContext(), terminationReport);
}

}  // namespace
}  // namespace foundation::tav
