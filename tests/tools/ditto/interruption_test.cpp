#include "tools/ditto/interruption.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace quillmoor::ditto {
namespace {

// Each test runs in a separate process, as signal handlers and the signal are never reset.
constexpr int kInterrupted = 10;
constexpr int kNotInterrupted = 11;

[[noreturn]] void raiseAndReport(int signal) {
    ::raise(signal);
    try {
        throwIfInterrupted();
    } catch (const Interrupted&) {
        ::_exit(interruptingSignal() == signal ? kInterrupted : 1);
    }
    ::_exit(interruptingSignal() == 0 ? kNotInterrupted : 1);
}

TEST(DittoInterruption, StopsTheWorkAtItsNextStep) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        EXPECT_EXIT((watchForInterruption(), raiseAndReport(signal)),
                    testing::ExitedWithCode(kInterrupted), "")
            << signal;
}

TEST(DittoInterruption, LeavesIgnoredSignalsIgnored) {
    EXPECT_EXIT((::signal(SIGHUP, SIG_IGN), watchForInterruption(), raiseAndReport(SIGHUP)),
                testing::ExitedWithCode(kNotInterrupted), "");
}

TEST(DittoInterruption, FullLimitsAndClosedPipesAreErrorsOnly) {
    for (const int signal : {SIGXFSZ, SIGPIPE})
        EXPECT_EXIT((watchForInterruption(), raiseAndReport(signal)),
                    testing::ExitedWithCode(kNotInterrupted), "")
            << signal;
}

TEST(DittoInterruption, EndsTheProcessAsTheSignalWould) {
    EXPECT_EXIT((watchForInterruption(), dieOfSignal(SIGTERM)), testing::KilledBySignal(SIGTERM),
                "");
}

}  // namespace
}  // namespace quillmoor::ditto
