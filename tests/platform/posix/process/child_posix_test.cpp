#include "quillmoor/platform/posix/process/child_posix.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/child_reaper_posix.h"
#include "tests/children/child_tools.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

ChildSetup setupOf(const std::string& name, StringList arguments = {}) {
    ChildSetup setup;
    setup.path = test::childPath(name);
    setup.arguments = std::move(arguments);
    return setup;
}

TEST(Child, HasADescriptorThatReportsItsEnd) {
    const auto child = Child::start(setupOf("exit_with", {"3"}));
    ASSERT_NE(child, nullptr);
    EXPECT_GE(child->exitDescriptor(), 3);
    child->wait();
    EXPECT_EQ(child->status(), 3);
}

TEST(Child, ManyThreadsMayWaitAskAndTerminateAtOnce) {
    for (int i = 0; i < 20; ++i) {
        test::TempFolder folder;
        const auto child = Child::start(setupOf("hang", {folder / "pid"}));
        ASSERT_NE(child, nullptr);
        std::vector<std::thread> threads;
        for (int n = 0; n < 2; ++n) {
            threads.emplace_back([&] {
                child->wait();
                EXPECT_EQ(child->status(), SIGTERM);
            });
            threads.emplace_back([&] {
                while (child->isRunning()) std::this_thread::yield();
            });
            threads.emplace_back([&] { child->terminate(); });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(child->status(), SIGTERM);
    }
}

TEST(Child, SendsNoSignalAfterItsEnd) {
    const auto child = Child::start(setupOf("exit_with", {"5"}));
    ASSERT_NE(child, nullptr);
    child->wait();
    child->terminate();
    EXPECT_EQ(child->status(), 5);
}

TEST(Child, ThatHasEndedIsNeverRunningAgain) {
    const auto child = Child::start(setupOf("exit_with", {"0"}));
    ASSERT_NE(child, nullptr);
    child->wait();
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(child->isRunning());
        EXPECT_EQ(child->status(), 0);
    }
}

// The system then discards statuses; no wait for one may block.
TEST(Child, IsOverWithoutAStatusInAProgramThatIgnoresItsChildren) {
    struct sigaction before {};
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    ASSERT_EQ(::sigaction(SIGCHLD, &ignore, &before), 0);
    test::TempFolder folder;
    const auto ended = Child::start(setupOf("exit_with", {"3"}));
    ASSERT_NE(ended, nullptr);
    ended->wait();
    EXPECT_EQ(ended->status(), kUnknownStatus);
    const auto stopped = Child::start(setupOf("hang", {folder / "pid"}));
    ASSERT_NE(stopped, nullptr);
    EXPECT_TRUE(stopped->isRunning());
    stopped->terminate();
    stopped->wait();
    EXPECT_FALSE(stopped->isRunning());
    stopped->terminate();
    ::sigaction(SIGCHLD, &before, nullptr);
}

std::atomic<int> stopsToReport{0};
const SystemCalls* below = nullptr;

// macOS may report a child that was only stopped.
int reportStopsFirst(idtype_t kind, id_t child, siginfo_t* info, int options) {
    if (stopsToReport-- <= 0) return below->waitid(kind, child, info, options);
    info->si_pid = 1;
    info->si_code = CLD_STOPPED;
    info->si_status = SIGSTOP;
    return 0;
}

TEST(Child, ThatIsOnlyStoppedHasNotEnded) {
    const auto child = Child::start(setupOf("exit_with", {"3"}));
    ASSERT_NE(child, nullptr);
    SystemCalls calls = systemCalls();
    calls.waitid = reportStopsFirst;
    below = exchangeSystemCalls(&calls);
    stopsToReport = 2;
    EXPECT_TRUE(child->isRunning());
    EXPECT_EQ(child->status(), std::nullopt);
    stopsToReport = 5;
    child->wait();
    EXPECT_EQ(child->status(), 3);
    EXPECT_LE(stopsToReport, 0);
    exchangeSystemCalls(below);
}

TEST(Child, IsReapedWhenItIsReleasedBeforeItsEnd) {
    test::TempFolder folder;
    reapLater(Child::start(setupOf("hang", {folder / "first"})));
    reapLater(Child::start(setupOf("hang", {folder / "second"})));
    const pid_t first = test::pidIn(folder / "first");
    const pid_t second = test::pidIn(folder / "second");
    ASSERT_GT(first, 0);
    ASSERT_GT(second, 0);
    ::kill(second, SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(second); }));
    EXPECT_TRUE(test::processExists(first));
    ::kill(first, SIGKILL);
    EXPECT_TRUE(test::eventually([&] { return !test::processExists(first); }));
    EXPECT_EQ(test::zombieCount(), 0);
}

}  // namespace
}  // namespace quillmoor::platform::posix
