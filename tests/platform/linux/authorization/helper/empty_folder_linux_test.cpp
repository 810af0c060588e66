#include "quillmoor/platform/linux/authorization/helper/empty_folder_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <utility>

#include "quillmoor/platform/linux/authorization/channel/tool_environment_linux.h"
#include "quillmoor/platform/linux/authorization/channel/tool_stream_linux.h"
#include "quillmoor/platform/linux/authorization/helper/tool_linux.h"
#include "tests/children/child_tools.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"

namespace quillmoor::platform::linux_::authorization::helper {
namespace {

std::set<std::string> quillmoorFolders() {
    std::set<std::string> found;
    for (const char* const place : {"/run", "/root"})
        for (const auto& entry : std::filesystem::directory_iterator(place))
            if (entry.path().filename().string().starts_with("quillmoor-"))
                found.insert(entry.path());
    return found;
}

class RootEmptyFolder : public testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "about root";
    }
};

// As in a container. The test's process ends with the test.
void giveUpMounting() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    ASSERT_EQ(::syscall(SYS_capget, &header, data), 0);
    data[0].effective &= ~(1U << CAP_SYS_ADMIN);
    ASSERT_EQ(::syscall(SYS_capset, &header, data), 0);
}

void expectEmptyFolderOfRoot() {
    const auto before = quillmoorFolders();
    const posix::Descriptor folder = openEmptyFolder();
    // A test beside this one may have its own there for a moment.
    EXPECT_TRUE(test::eventually([&before] {
        const auto now = quillmoorFolders();
        return std::includes(before.begin(), before.end(), now.begin(), now.end());
    }));
    struct stat status {};
    ASSERT_EQ(::fstat(folder.get(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | 0700));
    EXPECT_EQ(status.st_uid, 0U);
    EXPECT_EQ(::fcntl(folder.get(), F_GETFD), FD_CLOEXEC);

    for (const char* const name : {"made", "../made", "../../../made"}) {
        EXPECT_EQ(::mkdirat(folder.get(), name, 0700), -1) << name;
        EXPECT_TRUE(errno == ENOENT || errno == EROFS) << name << errno;
        EXPECT_EQ(::openat(folder.get(), name, O_CREAT | O_WRONLY | O_CLOEXEC, 0600), -1) << name;
    }
    for (const char* const name : {"tmp", "../tmp", "../run", "../lock", "../../../etc", "etc"})
        EXPECT_EQ(::faccessat(folder.get(), name, F_OK, 0), -1) << name;
    std::string upwards;
    for (int level = 0; level < 32; ++level) upwards += "../";
    EXPECT_EQ(::faccessat(folder.get(), (upwards + "etc").c_str(), F_OK, 0), -1);
}

TEST_F(RootEmptyFolder, IsRootsAndFailsEveryRelativePath) {
    expectEmptyFolderOfRoot();
}

TEST_F(RootEmptyFolder, IsTheSameWhereNothingCanBeMounted) {
    giveUpMounting();
    expectEmptyFolderOfRoot();
}

TEST_F(RootEmptyFolder, IsTheToolsWhenTheClientSendsNoFolder) {
    std::optional<ToolPipes> pipes = openToolPipes();
    Request request;
    request.command = {test::childPath("print_args"), "a b"};
    for (const int number : {pipes->input.get(), pipes->output.get(), STDERR_FILENO})
        request.descriptors.emplace_back(::fcntl(number, F_DUPFD_CLOEXEC, 3));
    request.descriptors.emplace_back(::open("/dev/null", O_PATH | O_CLOEXEC));
    EXPECT_EQ(startTool(request, toolEnvironment("1")), 0);
    request.command = {"/bin/ls", "-A"};
    EXPECT_EQ(startTool(request, toolEnvironment("1")), 0);
    request.command = {"/bin/missing"};
    EXPECT_EQ(startTool(request, toolEnvironment("1")), ENOENT);
    request.descriptors.clear();
    pipes->output.reset();
    const std::string arguments = test::childPath("print_args") + '\0' + "a b" + '\0';
    EXPECT_EQ(test::allOf(*pipes->stream), arguments);
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization::helper
