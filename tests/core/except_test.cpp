#include <foundation/core/except.h>

#include <gtest/gtest.h>
#include <barrier>
#include <boost/exception/error_info.hpp>
#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>
#include <boost/exception_ptr.hpp>
#include <cstddef>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace foundation::core::except {
namespace {

// An exception class as users have them: a base of its own below std::runtime_error, and a payload.
struct BookError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct PageError : BookError {
    explicit PageError(const std::string& text, int number = 0) : BookError(text), page(number) {}
    int page;
};

using Wrapper = Exception<IInternalException, PageError, void>;
using Thrown = detail::AnonymousInternalException<PageError>;

using Cookie = boost::error_info<struct CookieTag, std::string>;

const std::string text =
    "Page \xC2\xA7"
    "7 \xE2\x82\xAC \xF0\x9F\x93\x96";
const std::u16string text16 = u"Page \u00A77 \u20AC \U0001F4D6";

static_assert(!std::is_base_of_v<std::exception, IException>);
static_assert(std::is_abstract_v<IException> && std::is_abstract_v<IInternalException> && std::is_abstract_v<Wrapper>);
static_assert(!std::is_abstract_v<Thrown>);
static_assert(std::is_nothrow_copy_constructible_v<Thrown> && std::is_nothrow_destructible_v<Thrown>);
static_assert(!std::is_default_constructible_v<Thrown> && !std::is_convertible_v<PageError, Thrown>);

// Runs the function on a thread of its own, to its end.
template <class Function>
void onAnotherThread(Function function) {
    std::thread(std::ref(function)).join();
}

// What a handler of the exception's own type sees; the type is compared exactly.
struct Seen {
    bool exact = false;
    int page = 0;
    std::string what;
    std::u16string message;
    const void* address = nullptr;
};

template <class Throw>
Seen seenWhen(Throw throwIt) {
    try {
        throwIt();
    } catch (const Thrown& error) {
        return {.exact = typeid(error) == typeid(Thrown),
                .page = error.page,
                .what = error.what(),
                .message = error.message(),
                .address = &error};
    }
    return {};
}

void expectWhole(const Seen& seen) {
    EXPECT_TRUE(seen.exact);
    EXPECT_EQ(seen.page, 7);
    EXPECT_EQ(seen.what, text);
    EXPECT_EQ(seen.message, text16);
}

// One suite for the whole list of types by which a thrown AnonymousInternalException<T> can be caught.
template <class Base>
class CatchList : public testing::Test {};

struct BaseNames {
    template <class Base>
    static std::string GetName(int index) {
        const char* const names[] = {"Itself", "Wrapper", "IInternalException", "IException",  "CloneBase", "BoostBase",
                                     "T",      "BaseOfT", "RuntimeError",       "StdException"};
        return names[index];
    }
};

using Bases = testing::Types<Thrown, Wrapper, IInternalException, IException, boost::exception_detail::clone_base,
                             boost::exception, PageError, BookError, std::runtime_error, std::exception>;
TYPED_TEST_SUITE(CatchList, Bases, BaseNames);

// The base is reached by one way only, or a handler for it would not catch.
TYPED_TEST(CatchList, IsNotAmbiguous) { EXPECT_TRUE((std::is_convertible_v<Thrown*, TypeParam*>)); }

// A handler for the base gets the whole object.
TYPED_TEST(CatchList, CatchesTheObject) {
    const void* caught = nullptr;
    const void* object = nullptr;
    try {
        const Thrown error{PageError(text, 7)};
        try {
            throw error;  // NOLINT(misc-throw-by-value-catch-by-reference): by value, of a copy
        } catch (const TypeParam& base) {
            caught = dynamic_cast<const void*>(&base);
            throw;
        }
    } catch (const Thrown& error) {
        object = &error;
    }
    EXPECT_NE(caught, nullptr);
    EXPECT_EQ(caught, object);
}

// A handler for the base that throws on by value of the type thrown loses nothing: type, payload, text.
TYPED_TEST(CatchList, RethrowsTheObjectWhole) {
    expectWhole(seenWhen([] {
        try {
            throw Thrown(PageError(text, 7));
        } catch (const TypeParam&) {
            throw;
        }
    }));
}

// The text is the same one, whatever the exception is caught as.
TEST(AnonymousInternalException, WhatReadsTheSameThroughEveryBase) {
    const Thrown error{PageError(text)};
    const char* const what = error.what();
    EXPECT_EQ(what, text);
    EXPECT_EQ(static_cast<const Wrapper&>(error).what(), what);
    EXPECT_EQ(static_cast<const IInternalException&>(error).what(), what);
    EXPECT_EQ(static_cast<const IException&>(error).what(), what);
    EXPECT_EQ(static_cast<const PageError&>(error).what(), what);
    EXPECT_EQ(static_cast<const BookError&>(error).what(), what);
    EXPECT_EQ(static_cast<const std::runtime_error&>(error).what(), what);
    EXPECT_EQ(static_cast<const std::exception&>(error).what(), what);
}

// The UTF-16 text is that of the T part.
TEST(AnonymousInternalException, MessageIsTheTextOfT) {
    const Thrown error{PageError(text)};
    EXPECT_EQ(error.message(), text16);
    EXPECT_EQ(static_cast<const IException&>(error).message(), text16);
}

// Bytes of the T part's text that are no UTF-8 read as U+FFFD, as std::exception too.
TEST(AnonymousInternalException, InvalidBytesReadAsReplacementCharacters) {
    const Thrown error{PageError("a\xFFz")};
    EXPECT_EQ(error.message(), u"a\uFFFDz");
    EXPECT_STREQ(static_cast<const std::exception&>(error).what(), "a\xEF\xBF\xBDz");
}

struct Silent : std::exception {
    const char* what() const noexcept override { return nullptr; }
};

// A T that has no text to give.
TEST(AnonymousInternalException, AbsentTextReadsUnknownException) {
    const detail::AnonymousInternalException<Silent> error{Silent()};
    EXPECT_EQ(error.message(), u"Unknown exception");
    EXPECT_STREQ(error.what(), "Unknown exception");
}

struct NoStdException {
    const char* what() const { return "no std::exception"; }
};

// T need not be a std::exception.
TEST(AnonymousInternalException, WrapsClassesThatAreNoStdException) {
    const detail::AnonymousInternalException<NoStdException> error{NoStdException()};
    EXPECT_STREQ(error.what(), "no std::exception");
    EXPECT_FALSE((std::is_base_of_v<std::exception, detail::AnonymousInternalException<NoStdException>>));
}

// A clone has the exact type, text and payload, and lives on alone.
TEST(AnonymousInternalException, CloneIsAWholeCopy) {
    auto original = std::make_unique<Thrown>(PageError(text, 7));
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original->clone());
    EXPECT_NE(dynamic_cast<const void*>(clone.get()), original.get());
    original.reset();
    const auto& copy = dynamic_cast<const Thrown&>(*clone);
    EXPECT_EQ(typeid(copy), typeid(Thrown));
    EXPECT_EQ(copy.page, 7);
    EXPECT_EQ(copy.what(), text);
    EXPECT_EQ(copy.message(), text16);
}

// Copies make their own text: none refers to that of the original.
TEST(AnonymousInternalException, CopiesHaveTheirOwnText) {
    const Thrown original{PageError(text, 7)};
    const char* const what = original.what();
    const Thrown copy(original);
    EXPECT_EQ(copy.what(), text);
    EXPECT_NE(copy.what(), what);
    EXPECT_EQ(copy.page, 7);
}

// rethrow() throws a copy of the exact type; the original stays.
TEST(AnonymousInternalException, RethrowThrowsACopy) {
    const Thrown original{PageError(text, 7)};
    const auto& base = static_cast<const boost::exception_detail::clone_base&>(original);
    const Seen seen = seenWhen([&] { base.rethrow(); });
    expectWhole(seen);
    EXPECT_NE(seen.address, &original);
    EXPECT_EQ(original.what(), text);
}

// Error information hung on with boost::error_info goes along with clone and rethrow.
TEST(AnonymousInternalException, ErrorInformationIsKept) {
    Thrown original{PageError(text)};
    original << Cookie("crumb");
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    try {
        clone->rethrow();
    } catch (const boost::exception& error) {
        const std::string* cookie = boost::get_error_info<Cookie>(error);
        ASSERT_NE(cookie, nullptr);
        EXPECT_EQ(*cookie, "crumb");
    }
}

// A clone shares no error information: boost::exception counts the shares without a lock, and the clone may go to
// another thread. Without the copy the counts below are a race.
TEST(AnonymousInternalException, ClonesMayBeUsedOnThreadsOfTheirOwn) {
    Thrown original{PageError(text)};
    original << Cookie("crumb");
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    std::barrier start(2);
    const auto copyOften = [&start](const Thrown& error) {
        start.arrive_and_wait();
        for (int i = 0; i != 1000; ++i) {
            const Thrown copy(error);
            const std::string* cookie = boost::get_error_info<Cookie>(copy);
            ASSERT_TRUE(cookie && *cookie == "crumb");
        }
    };
    std::thread other([&] { copyOften(dynamic_cast<const Thrown&>(*clone)); });
    copyOften(original);
    other.join();
}

// boost::current_exception() on a worker, boost::rethrow_exception() here.
TEST(AcrossThreads, BoostExceptionPtrComesFromAWorker) {
    boost::exception_ptr carried;
    onAnotherThread([&] {
        try {
            throw Thrown(PageError(text, 7));
        } catch (...) {
            carried = boost::current_exception();
        }
    });
    ASSERT_TRUE(carried);
    expectWhole(seenWhen([&] { boost::rethrow_exception(carried); }));
}

// boost::current_exception() here, boost::rethrow_exception() on a worker.
TEST(AcrossThreads, BoostExceptionPtrGoesToAWorker) {
    boost::exception_ptr carried;
    try {
        throw Thrown(PageError(text, 7));
    } catch (const IException&) {
        carried = boost::current_exception();
    }
    onAnotherThread([carried = std::move(carried)]() mutable {
        expectWhole(seenWhen([&] { boost::rethrow_exception(carried); }));
        carried = {};
    });
}

// std::current_exception() on a worker, std::rethrow_exception() here.
TEST(AcrossThreads, StdExceptionPtrComesFromAWorker) {
    std::exception_ptr carried;
    onAnotherThread([&] {
        try {
            throw Thrown(PageError(text, 7));
        } catch (...) {
            carried = std::current_exception();
        }
    });
    ASSERT_TRUE(carried);
    expectWhole(seenWhen([&] { std::rethrow_exception(carried); }));
}

// std::current_exception() here, std::rethrow_exception() on a worker.
TEST(AcrossThreads, StdExceptionPtrGoesToAWorker) {
    std::exception_ptr carried;
    try {
        throw Thrown(PageError(text, 7));
    } catch (const std::exception&) {
        carried = std::current_exception();
    }
    onAnotherThread([carried = std::move(carried)]() mutable {
        expectWhole(seenWhen([&] { std::rethrow_exception(carried); }));
        carried = {};
    });
}

// One exception object in flight on several threads, each of which is the first to ask for the text.
TEST(AcrossThreads, OneObjectIsReadByManyThreads) {
    constexpr int readers = 4;
    for (int round = 0; round != 50; ++round) {
        const auto error = std::make_exception_ptr(Thrown(PageError(text, 7)));
        std::barrier start(readers);
        std::vector<const char*> texts(readers);
        std::vector<std::thread> threads;
        for (const char*& seen : texts) {
            threads.emplace_back([&] {
                try {
                    std::rethrow_exception(error);
                } catch (const std::exception& exception) {
                    start.arrive_and_wait();
                    seen = exception.what();
                    ASSERT_EQ(seen, text);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(texts, std::vector<const char*>(readers, texts.front()));
    }
}

// A host exception with a message of its own.
class Message : public IException {
public:
    explicit Message(std::u16string message) : m_text(std::move(message)) {}

    const boost::exception_detail::clone_base* clone() const override { return new Message(*this); }
    void rethrow() const override { throw *this; }

    std::u16string message() const override {
        ++asked;
        return m_text;
    }

    mutable int asked = 0;

private:
    std::u16string m_text;
};

std::string whatOf(const std::u16string& message) { return Message(message).what(); }

// UTF-16 to UTF-8, at the bounds of each length of sequence.
TEST(IException, WhatIsTheMessageInUtf8) {
    EXPECT_EQ(whatOf(u""), "");
    EXPECT_EQ(whatOf(u"plain"), "plain");
    EXPECT_EQ(whatOf(text16), text);
    EXPECT_EQ(whatOf(u"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

// A surrogate without its partner costs one replacement character and none of its neighbours.
TEST(IException, WhatReplacesLoneSurrogates) {
    constexpr char16_t high = 0xD83D;
    constexpr char16_t low = 0xDCD6;
    const std::string replacement = "\xEF\xBF\xBD";
    const std::u16string a = u"a";
    const std::u16string z = u"z";
    EXPECT_EQ(whatOf(a + high + low + z), "a\xF0\x9F\x93\x96z");
    EXPECT_EQ(whatOf(a + high + z), "a" + replacement + "z");
    EXPECT_EQ(whatOf(a + low + z), "a" + replacement + "z");
    EXPECT_EQ(whatOf(a + high), "a" + replacement);
    EXPECT_EQ(whatOf(a + low), "a" + replacement);
    EXPECT_EQ(whatOf(a + low + high + z), "a" + replacement + replacement + "z");
    EXPECT_EQ(whatOf(a + high + high + low + z), "a" + replacement + "\xF0\x9F\x93\x96z");
}

// Every character there is survives the way to UTF-8 and back.
TEST(IException, EveryCharacterGoesToUtf8AndBack) {
    std::u16string all;
    for (char32_t unit = 1; unit != 0x10000; ++unit) {
        if (unit < 0xD800 || unit > 0xDFFF) all += static_cast<char16_t>(unit);
    }
    for (char16_t high = 0xD800; high != 0xDC00; ++high) {
        for (char16_t low = 0xDC00; low != 0xE000; ++low) {
            all += high;
            all += low;
        }
    }
    EXPECT_TRUE(IException::convert_str(whatOf(all)) == all);
}

// The text is made once, and stays where it is.
TEST(IException, WhatIsMadeOnce) {
    const Message error(text16);
    const char* const what = error.what();
    EXPECT_EQ(error.what(), what);
    EXPECT_EQ(error.asked, 1);
}

class Wordless : public IException {
public:
    const boost::exception_detail::clone_base* clone() const override { return new Wordless(*this); }
    void rethrow() const override { throw *this; }
};

// A class that gives no message.
TEST(IException, MessageIsUnknownExceptionByDefault) {
    EXPECT_EQ(Wordless().message(), u"Unknown exception");
    EXPECT_STREQ(Wordless().what(), "Unknown exception");
}

class OutOfMemory : public Wordless {
public:
    std::u16string message() const override {
        if (fails) throw std::bad_alloc();
        return u"Enough memory";
    }
    bool fails = true;
};

// what() never throws; when memory is there again, so is the text.
TEST(IException, WhatIsUnknownExceptionWhenTheTextCantBeMade) {
    OutOfMemory error;
    EXPECT_STREQ(error.what(), "Unknown exception");
    error.fails = false;
    EXPECT_STREQ(error.what(), "Enough memory");
}

// The slot that a call of the virtual function goes through, as an offset in the table.
template <class Member>
std::ptrdiff_t slotOf(Member member) {
    std::ptrdiff_t words[2];
    static_assert(sizeof(member) == sizeof(words));
    std::memcpy(words, &member, sizeof(words));
    return words[0];
}

// Code compiled against another version of the host calls through these slots: clone, rethrow, the two entries of the
// destructor, what, message.
TEST(IException, SlotOrderIsSettled) {
    constexpr std::ptrdiff_t slot = sizeof(void*);
    const std::ptrdiff_t clone = slotOf(&IException::clone);
    EXPECT_EQ(slotOf(&IException::rethrow), clone + slot);
    EXPECT_EQ(slotOf(&IException::what), clone + 4 * slot);
    EXPECT_EQ(slotOf(&IException::message), clone + 5 * slot);
}

struct Conversion {
    std::string name;
    std::string utf8;
    std::u16string utf16;
};

void PrintTo(const Conversion& conversion, std::ostream* stream) { *stream << conversion.name; }

class ConvertStr : public testing::TestWithParam<Conversion> {};

// Good text is converted, and each maximal part of a bad sequence becomes one U+FFFD: the byte after it is kept.
TEST_P(ConvertStr, GivesUtf16) { EXPECT_EQ(IException::convert_str(GetParam().utf8), GetParam().utf16); }

std::string nameOf(const testing::TestParamInfo<Conversion>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(GoodText, ConvertStr,
                         testing::Values(Conversion{"Empty", "", u""}, Conversion{"Ascii", "plain\n", u"plain\n"},
                                         Conversion{"Nul", std::string("a\0z", 3), std::u16string(u"a\0z", 3)},
                                         Conversion{"AllLengths", text, text16},
                                         Conversion{"LowestOfTwo", "\xC2\x80", u"\u0080"},
                                         Conversion{"HighestOfTwo", "\xDF\xBF", u"\u07FF"},
                                         Conversion{"LowestOfThree", "\xE0\xA0\x80", u"\u0800"},
                                         Conversion{"BelowSurrogates", "\xED\x9F\xBF", u"\uD7FF"},
                                         Conversion{"AboveSurrogates", "\xEE\x80\x80", u"\uE000"},
                                         Conversion{"HighestOfThree", "\xEF\xBF\xBF", u"\uFFFF"},
                                         Conversion{"LowestOfFour", "\xF0\x90\x80\x80", u"\U00010000"},
                                         Conversion{"HighestOfFour", "\xF4\x8F\xBF\xBF", u"\U0010FFFF"}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    BytesThatBeginNothing, ConvertStr,
    testing::Values(Conversion{"LoneFF", "a\xFFz", u"a\uFFFDz"}, Conversion{"LoneFE", "a\xFEz", u"a\uFFFDz"},
                    Conversion{"OnlyFF", "\xFF", u"\uFFFD"}, Conversion{"LoneTrailing", "a\x80z", u"a\uFFFDz"},
                    Conversion{"TwoTrailing", "a\x80\xBFz", u"a\uFFFD\uFFFDz"},
                    Conversion{"TrailingAfterGood", "\xC3\xA9\x80z", u"\u00E9\uFFFDz"},
                    Conversion{"LeadOfFive", "a\xF8\x88\x80\x80\x80z", u"a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDz"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(TruncatedSequences, ConvertStr,
                         testing::Values(Conversion{"OneOfTwo", "a\xC3z", u"a\uFFFDz"},
                                         Conversion{"OneOfThree", "a\xE2z", u"a\uFFFDz"},
                                         Conversion{"TwoOfThree", "a\xE2\x82z", u"a\uFFFDz"},
                                         Conversion{"ThreeOfFour", "a\xF0\x9F\x93z", u"a\uFFFDz"},
                                         Conversion{"OneOfTwoAtEnd", "a\xC3", u"a\uFFFD"},
                                         Conversion{"TwoOfThreeAtEnd", "a\xE2\x82", u"a\uFFFD"},
                                         Conversion{"ThreeOfFourAtEnd", "a\xF0\x9F\x93", u"a\uFFFD"},
                                         Conversion{"BeforeGoodSequence", "\xE2\x82\xC3\xA9z", u"\uFFFD\u00E9z"},
                                         Conversion{"BeforeAnother", "\xF0\x9F\xE2\x82z", u"\uFFFD\uFFFDz"},
                                         Conversion{"BeforeNothing", "\xC3\xFFz", u"\uFFFD\uFFFDz"}),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(
    ForbiddenSequences, ConvertStr,
    testing::Values(Conversion{"OverlongOfTwo", "a\xC0\xAFz", u"a\uFFFD\uFFFDz"},
                    Conversion{"OverlongOfTwoHighest", "a\xC1\xBFz", u"a\uFFFD\uFFFDz"},
                    Conversion{"OverlongOfThree", "a\xE0\x9F\xBFz", u"a\uFFFD\uFFFD\uFFFDz"},
                    Conversion{"OverlongOfFour", "a\xF0\x8F\xBF\xBFz", u"a\uFFFD\uFFFD\uFFFD\uFFFDz"},
                    Conversion{"HighSurrogate", "a\xED\xA0\x80z", u"a\uFFFD\uFFFD\uFFFDz"},
                    Conversion{"LowSurrogate", "a\xED\xBF\xBFz", u"a\uFFFD\uFFFD\uFFFDz"},
                    Conversion{"AboveHighest", "a\xF4\x90\x80\x80z", u"a\uFFFD\uFFFD\uFFFD\uFFFDz"},
                    Conversion{"LeadAboveHighest", "a\xF5\x80\x80\x80z", u"a\uFFFD\uFFFD\uFFFD\uFFFDz"}),
    nameOf);

}  // namespace
}  // namespace foundation::core::except
