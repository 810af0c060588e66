#include "quillmoor/platform/linux/authorization/launch/launch_turn_linux.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <future>
#include <optional>
#include <thread>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

TEST(LaunchTurnTest, IsHadByOneThreadAtATime) {
    constexpr int kThreads = 4;
    constexpr int kTurns = 2000;
    // Not atomic: threads that have their turn together lose some of these.
    int inside = 0;
    int total = 0;
    bool wasAlone = true;
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number)
        threads.emplace_back([&] {
            for (int turn = 0; turn < kTurns; ++turn) {
                const LaunchTurn mine;
                if (++inside != 1) wasAlone = false;
                ++total;
                --inside;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(wasAlone);
    EXPECT_EQ(total, kThreads * kTurns);
}

TEST(LaunchTurnTest, OfAThreadIsNotWaitedForInAForkedChild) {
    std::promise<void> taken;
    std::promise<void> done;
    std::thread other([&] {
        const LaunchTurn turn;
        taken.set_value();
        done.get_future().wait();
    });
    taken.get_future().wait();
    EXPECT_EQ(test::exitStatusOfFork([] {
                  ::alarm(10);
                  const LaunchTurn turn;
                  return 7;
              }),
              7);
    done.set_value();
    other.join();
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
