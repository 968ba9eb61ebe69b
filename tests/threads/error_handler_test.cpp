// The error handler, which any thread may exchange at any time.

#include <algorithm>
#include <array>
#include <cstddef>

#include "threads.h"

namespace foundation::tests {
namespace {

using tav::ErrorHandler;
using tav::ErrorInfo;

template <int number>
struct Thrown {};

template <int number>
[[noreturn]] void throwNumber(const ErrorInfo&) {
    throw Thrown<number>();
}

constexpr std::array<ErrorHandler, 3> handlers{&throwNumber<0>, &throwNumber<1>, &throwNumber<2>};

class ErrorHandlerOfManyThreads : public ThreadsTest {};

// The number of the handler that a report came to.
int handlerOfReport() {
    try {
        Detail<Process>::findOrFail(0, typeid(Counted));
    } catch (const Thrown<0>&) {
        return 0;
    } catch (const Thrown<1>&) {
        return 1;
    } catch (const Thrown<2>&) {
        return 2;
    }
    return -1;
}

// Each report comes to one of the handlers, and to that alone.
TEST_P(ErrorHandlerOfManyThreads, EachReportComesToOneHandler) {
    constexpr unsigned steps = 2000;
    const Context<Process> process;
    const ScopedErrorHandler first(handlers[0]);
    std::atomic<unsigned> reports = 0;
    together(threads(), [&reports](unsigned index) {
        for (unsigned step = 0; step < steps; ++step) {
            if (index % 2 == 0) {
                const int number = handlerOfReport();
                if (number >= 0 && number < 3) ++reports;
            } else {
                tav::setErrorHandler(handlers[(index + step) % handlers.size()]);
                EXPECT_NE(std::find(handlers.begin(), handlers.end(), tav::getErrorHandler()), handlers.end());
            }
        }
    });
    EXPECT_EQ(reports, (threads() + 1) / 2 * steps);
}

// Exchanges are in one order: each handler installed comes back once, or is the last.
TEST_P(ErrorHandlerOfManyThreads, ExchangesLoseNoHandler) {
    constexpr unsigned steps = 2000;
    const ScopedErrorHandler first(handlers[0]);
    std::array<std::atomic<int>, handlers.size()> installed{};
    const auto count = [&installed](ErrorHandler handler, int change) {
        installed[static_cast<std::size_t>(std::find(handlers.begin(), handlers.end(), handler) - handlers.begin())] +=
            change;
    };
    count(handlers[0], 1);
    together(threads(), [&count](unsigned index) {
        for (unsigned step = 0; step < steps; ++step) {
            const ErrorHandler next = handlers[(index + step) % handlers.size()];
            count(next, 1);
            count(tav::setErrorHandler(next), -1);
        }
    });
    count(tav::getErrorHandler(), -1);
    for (const auto& balance : installed)
        EXPECT_EQ(balance, 0);
}

INSTANTIATE_TEST_SUITE_P(Threads, ErrorHandlerOfManyThreads, testing::Values(2, 4, 16),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace foundation::tests
