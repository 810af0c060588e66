// How a process ends that dies of an exception of Cocoa's. GNUstep calls the handler and exits with
// 1; on a Mac the runtime's terminate handler calls it, and the process aborts.
#include "quillmoor/platform/posix/run_loop/system_exceptions_posix.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <typeinfo>

#include "quillmoor/platform/uncaught_exceptions.h"
#include "tests/platform/macos/fakes/cocoa_exception.h"
#include "tests/platform/macos/fakes/cocoa_loop.h"

namespace quillmoor::platform {
namespace {

TEST(SystemExceptions, AreThoseWhoseTypeIsAClassOfObjectiveC) {
    EXPECT_TRUE(posix::isSystemException("NSException"));
    EXPECT_TRUE(posix::isSystemException("NSString"));
    EXPECT_FALSE(posix::isSystemException("NSExceptionOfNoClass"));
    EXPECT_FALSE(posix::isSystemException(typeid(std::runtime_error).name()));
    EXPECT_FALSE(posix::isSystemException(typeid(Exception).name()));
    EXPECT_FALSE(posix::isSystemException(typeid(int).name()));
}

std::thread::id dyingThread;

void print(const Exception* exception) {
    const bool here = std::this_thread::get_id() == dyingThread;
    std::fprintf(stderr, "[%s: %s%s]", exception != nullptr ? exception->name().c_str() : "null",
                 exception != nullptr ? exception->reason().c_str() : "null",
                 here ? "" : " on another thread");
}

[[noreturn]] void dieOnAThread(void (*raise)()) {
    test::startCocoa();
    setUncaughtExceptionHandler(print);
    std::thread([raise] {
        dyingThread = std::this_thread::get_id();
        raise();
    }).join();
    ::_exit(99);
}

TEST(UncaughtSystemExceptionDeathTest, IsHandledOnceOnTheThreadThatItEscapedFrom) {
    EXPECT_EXIT(dieOnAThread([] { test::raiseCocoaException("Bad", "no path"); }),
                testing::ExitedWithCode(1), "^\\[Bad: no path\\][^[]*$");
}

TEST(UncaughtSystemExceptionDeathTest, WithoutAReasonIsPassedAsNull) {
    EXPECT_EXIT(dieOnAThread([] { test::raiseCocoaException("Bad", nullptr); }),
                testing::ExitedWithCode(1), "^\\[null: null\\]");
}

TEST(UncaughtSystemExceptionDeathTest, OneOfCxxIsStillHandledOnce) {
    EXPECT_EXIT(dieOnAThread([] { throw std::runtime_error("thrown"); }),
                testing::KilledBySignal(SIGABRT), "^\\[std::runtime_error: thrown\\][^[]*$");
}

}  // namespace
}  // namespace quillmoor::platform
