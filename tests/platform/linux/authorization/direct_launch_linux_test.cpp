#include "quillmoor/platform/linux/authorization/direct_launch_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <string>

#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/support/few_descriptors.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

std::string outputOf(const std::string& tool, const StringList& arguments = {}) {
    std::shared_ptr<AuthorizedToolStream> stream;
    const AuthorizationStatus status = executeDirectly(tool, arguments, stream);
    return status == 0 ? test::allOf(*stream) : "failed: " + std::to_string(status);
}

TEST(DirectLaunch, PassesArgumentsByteForByte) {
    const std::string tool = test::childPath("print_args");
    EXPECT_EQ(outputOf(tool, {"", "a\nb", "\xff"}),
              tool + '\0' + '\0' + "a\nb" + '\0' + "\xff" + '\0');
}

TEST(DirectLaunch, PassesNoOtherDescriptorsAndNoEnvironment) {
    EXPECT_EQ(outputOf(test::childPath("print_descriptors")), "0\n1\n2\n");
    ::setenv("LD_PRELOAD", "/lost.so", 1);
    const std::string output = outputOf(test::childPath("print_env"));
    ::unsetenv("LD_PRELOAD");
    EXPECT_THAT(output, testing::HasSubstr("HOME=/root"));
    EXPECT_THAT(output, testing::Not(testing::HasSubstr("LD_PRELOAD")));
}

TEST(DirectLaunch, NeedsFewDescriptorsForManyToolsAndLeavesNoneToCollect) {
    const test::FewDescriptors few(64);
    std::shared_ptr<AuthorizedToolStream> stream;
    for (int round = 0; round < 300; ++round) {
        stream.reset();
        ASSERT_EQ(executeDirectly("/bin/true", {}, stream), kAuthorizationSuccess) << round;
    }
    EXPECT_TRUE(test::eventually([] { return test::zombieCount() == 0; }));
}

TEST(DirectLaunch, WorksInAHostThatIgnoresItsChildren) {
    ::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(outputOf("/bin/echo", {"text"}), "text\n");
    ::signal(SIGCHLD, SIG_DFL);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
