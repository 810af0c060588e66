#include <gtest/gtest.h>

#include <thread>

#include "quillmoor/platform/posix/run_loop/main_thread_posix.h"

namespace quillmoor::platform::posix {
namespace {

TEST(MacFirstThread, IsTheProcesssFirstThreadOnly) {
    EXPECT_TRUE(isFirstThread());
    bool isFirst = true;
    std::thread([&] { isFirst = isFirstThread(); }).join();
    EXPECT_FALSE(isFirst);
}

}  // namespace
}  // namespace quillmoor::platform::posix
