#include "quillmoor/platform/process_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <mutex>
#include <set>
#include <thread>

#include "quillmoor/platform/linux/ground/assignments_linux.h"
#include "quillmoor/platform/platform.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

ProcessInfo& processInfo() {
    return *native().processInfo;
}

TEST(LinuxProcessInfo, TheUniqueStringIsAUuidTheProcessAndACounter) {
    const std::string form =
        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}-" +
        std::to_string(::getpid()) + "-[0-9A-F]{16}";
    EXPECT_THAT(processInfo().globallyUniqueString(), testing::MatchesRegex(form));
}

TEST(LinuxProcessInfo, TheCounterGrowsWithEveryCallOnEveryThread) {
    std::set<std::string> counters;
    std::mutex mutex;
    const auto ask = [&] {
        for (int i = 0; i < 500; ++i) {
            const std::string text = processInfo().globallyUniqueString();
            const std::lock_guard lock(mutex);
            counters.insert(text.substr(text.rfind('-')));
        }
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(counters.size(), 1000U);
}

TEST(LinuxProcessInfo, TheSystemIsNamedAsItsReleaseFileSays) {
    const std::string release = test::readFile("/etc/os-release");
    const OptionalString name = linux_::assignedValue(release, "PRETTY_NAME");
    if (!name) GTEST_SKIP() << "this system has no release file";
    EXPECT_EQ(processInfo().operatingSystemVersionString(), *name);
    EXPECT_EQ(name->find('"'), std::string::npos);
}

TEST(LinuxProcessInfo, MemoryIsCountedInBytes) {
    struct sysinfo info {};
    ASSERT_EQ(::sysinfo(&info), 0);
    EXPECT_EQ(processInfo().physicalMemory(),
              static_cast<std::uint64_t>(info.totalram) * info.mem_unit);
}

// Only root may have two different ones.
TEST(RootProcessInfo, TheUserIdIsTheRealOne) {
    if (::getuid() != 0) GTEST_SKIP() << "not root";
    constexpr uid_t kOther = 12345;
    ASSERT_EQ(::seteuid(kOther), 0);
    EXPECT_EQ(processInfo().realUserId(), 0U);
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_EQ(::setreuid(kOther, 0), 0);
    EXPECT_EQ(processInfo().realUserId(), kOther);
    ASSERT_EQ(::setreuid(0, 0), 0);
}

}  // namespace
}  // namespace quillmoor::platform
