#include "quillmoor/platform/clock.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <ctime>
#include <future>
#include <thread>

#include "quillmoor/platform/platform.h"

namespace quillmoor::platform {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

TEST(PosixClock, ASignalDoesNotCutASleepShort) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    std::promise<void> ready;
    steady_clock::duration slept{};
    std::thread sleeper([&] {
        ready.set_value();
        const auto start = steady_clock::now();
        native().clock->sleep(seconds(1));
        slept = steady_clock::now() - start;
    });
    ready.get_future().wait();
    for (int i = 0; i < 10; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ::pthread_kill(sleeper.native_handle(), SIGUSR1);
    }
    sleeper.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_GE(slept, std::chrono::milliseconds(990));
}

TEST(PosixClock, ProcessorTimeCountsTheLibrarysTicks) {
    const std::clock_t before = std::clock();
    const std::int64_t ticks = native().clock->processorTime();
    EXPECT_GE(ticks, static_cast<std::int64_t>(before));
    EXPECT_LE(ticks, static_cast<std::int64_t>(std::clock()));
}

}  // namespace
}  // namespace quillmoor::platform
