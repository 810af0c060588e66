#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "quillmoor/platform/posix/ground/thread_id_posix.h"

namespace quillmoor::platform::posix {
namespace {

TEST(MacThreadId, IsTheCallingThreads) {
    EXPECT_EQ(currentThreadId(), static_cast<std::uint64_t>(::gettid()));
    std::uint64_t other = 0;
    std::uint64_t expected = 0;
    std::thread([&] {
        other = currentThreadId();
        expected = static_cast<std::uint64_t>(::gettid());
    }).join();
    EXPECT_EQ(other, expected);
    EXPECT_NE(other, currentThreadId());
}

}  // namespace
}  // namespace quillmoor::platform::posix
