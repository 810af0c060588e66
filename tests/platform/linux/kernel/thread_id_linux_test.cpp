#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "quillmoor/platform/posix/ground/thread_id_posix.h"

namespace quillmoor::platform::posix {
namespace {

TEST(ThreadId, IsTheOneThatTheSystemsToolsShow) {
    EXPECT_EQ(currentThreadId(), static_cast<std::uint64_t>(::getpid()));
    std::uint64_t other = 0;
    std::string shown;
    std::thread([&] {
        other = currentThreadId();
        const std::string task = "/proc/self/task/" + std::to_string(other);
        shown = ::access(task.c_str(), F_OK) == 0 ? "shown" : "missing";
    }).join();
    EXPECT_NE(other, currentThreadId());
    EXPECT_EQ(shown, "shown");
}

}  // namespace
}  // namespace quillmoor::platform::posix
