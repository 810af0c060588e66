#include "quillmoor/platform/fork.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillmoor::platform {
namespace {

int before = 0;
int inParent = 0;
int inChild = 0;

TEST(CallAroundFork, CallsEachFunctionInItsPlace) {
    callAroundFork([] { ++before; }, [] { ++inParent; }, [] { ++inChild; });
    callAroundFork(nullptr, nullptr, [] { inChild += 10; });
    const pid_t child = ::fork();
    if (child == 0) ::_exit(before == 1 && inParent == 0 && inChild == 11 ? 7 : 8);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(before, 1);
    EXPECT_EQ(inParent, 1);
    EXPECT_EQ(inChild, 0);
}

}  // namespace
}  // namespace quillmoor::platform
