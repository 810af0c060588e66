#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <vector>

#include "quillmoor/platform/posix/process/child_system_posix.h"
#include "quillmoor/platform/posix/process/spawn_setup_posix.h"
#include "tests/platform/macos/fakes/fake_kernel.h"

namespace quillmoor::platform::posix {
namespace {

TEST(MacChild, InheritsItsStandardStreamsAndNothingElse) {
    test::FakeKernel kernel;
    SpawnActions actions;
    SpawnAttributes attributes(SpawnSession::Inherited);
    EXPECT_EQ(closeAllButStandardStreams(actions.get(), attributes.get()), 0);
    ASSERT_FALSE(kernel.spawnFlags.empty());
    // The flags that were set before are kept.
    EXPECT_EQ(kernel.spawnFlags.back(), 0x4000 | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    EXPECT_EQ(kernel.inherited, (std::vector<int>{0, 1, 2}));
}

TEST(MacChild, AClosedStreamIsNotInherited) {
    test::FakeKernel kernel;
    SpawnActions actions;
    SpawnAttributes attributes(SpawnSession::Inherited);
    const Descriptor kept(::dup(STDIN_FILENO));
    ::close(STDIN_FILENO);
    EXPECT_EQ(closeAllButStandardStreams(actions.get(), attributes.get()), 0);
    EXPECT_EQ(kernel.inherited, (std::vector<int>{1, 2}));
    if (kept) ::dup2(kept.get(), STDIN_FILENO);
}

TEST(MacChild, InheritsTheEnvironmentThatTheSystemGives) {
    test::FakeKernel kernel;
    std::string variable = "NAME=from the system";
    kernel.environment = {variable.data(), nullptr};
    EXPECT_EQ(ownEnvironment(), kernel.environment.data());
    // Looked up for each child: it moves when a variable is added.
    kernel.environment = {nullptr, nullptr, nullptr};
    EXPECT_EQ(ownEnvironment(), kernel.environment.data());
}

TEST(MacChild, IsSignalledAndWaitedForByItsNumber) {
    const pid_t child = ::fork();
    if (child == 0)
        for (;;) ::pause();
    const Descriptor exit = openExitDescriptor(child);
    EXPECT_FALSE(exit);
    siginfo_t info{};
    EXPECT_EQ(waitForChild(exit, child, &info, WEXITED | WNOHANG), 0);
    EXPECT_EQ(info.si_pid, 0) << "it still runs";
    EXPECT_EQ(signalChild(exit, child, SIGUSR1), 0);
    EXPECT_EQ(waitForChild(exit, child, &info, WEXITED), 0);
    EXPECT_EQ(info.si_pid, child);
    EXPECT_EQ(info.si_status, SIGUSR1);
    EXPECT_EQ(waitForChild(exit, child, &info, WEXITED), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(MacChild, APipeIsLeftAsItIs) {
    enlargePipe(-1);
}

}  // namespace
}  // namespace quillmoor::platform::posix
