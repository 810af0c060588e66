#include "quillmoor/platform/posix/run_loop/console_posix.h"

#include <gtest/gtest.h>

namespace quillmoor::platform::posix {
namespace {

TEST(SystemLog, LeavesTheLineToTheConsole) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(logToSystem("text"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quillmoor::platform::posix
