#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform::posix {
namespace {

TEST(FirstThread, IsTheProcesssFirstThreadOnly) {
    EXPECT_TRUE(isFirstThread());
    bool isFirst = true;
    std::thread([&] { isFirst = isFirstThread(); }).join();
    EXPECT_FALSE(isFirst);
}

TEST(FirstThread, OfAForkedChildIsTheOneThatForked) {
    pid_t child = -1;
    std::thread([&] {
        child = ::fork();
        if (child == 0) ::_exit(isFirstThread() ? 0 : 1);
    }).join();
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace quillmoor::platform::posix
