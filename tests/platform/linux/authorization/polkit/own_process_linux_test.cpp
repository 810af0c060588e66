#include "quillmoor/platform/linux/authorization/polkit/own_process_linux.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

// The field as proc(5) counts it, for a process whose name holds no blank.
std::string fieldOfStat(int number) {
    std::ifstream file("/proc/self/stat");
    std::string field;
    while (number-- > 0) file >> field;
    return field;
}

TEST(OwnStartTimeTest, IsWhatTheSystemSays) {
    ::prctl(PR_SET_NAME, "plain");
    EXPECT_EQ(std::to_string(ownStartTime().value_or(0)), fieldOfStat(22));
}

TEST(OwnStartTimeTest, DoesNotDependOnTheProcessesName) {
    const auto plain = ownStartTime();
    ::prctl(PR_SET_NAME, "a) b (c) 1 2");
    EXPECT_EQ(ownStartTime(), plain);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
