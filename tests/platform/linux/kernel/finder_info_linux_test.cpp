#include "quillmoor/platform/finder_info.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/support/call_tables.h"

namespace quillmoor::platform {
namespace {

constexpr char kAttribute[] = "user.com.apple.FinderInfo";

FinderInfo& finder() {
    return *native().finderInfo;
}

class LinuxFinderInfo : public testing::Test {
  protected:
    void SetUp() override {
        file_ = folder_.writeFile("file", "text");
        if (::setxattr(file_.c_str(), "user.test", "", 0, 0) != 0 && errno == EOPNOTSUPP)
            GTEST_SKIP() << "no extended attributes here";
    }

    FileReference reference(const std::string& path) {
        FileReference made;
        EXPECT_TRUE(finder().makeReference(path, made)) << path;
        return made;
    }

    void setRaw(const std::string& value) {
        ASSERT_EQ(::setxattr(file_.c_str(), kAttribute, value.data(), value.size(), 0), 0);
    }
    std::string raw() {
        std::string value(100, '\0');
        const ssize_t size = ::getxattr(file_.c_str(), kAttribute, value.data(), value.size());
        value.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return value;
    }

    test::TempFolder folder_;
    std::string file_;
};

TEST_F(LinuxFinderInfo, IsAnAttributeOf32BytesWithTheFlagsAtTheEighth) {
    CatalogInfo info;
    info.setFinderFlags(0x040C);
    ASSERT_EQ(finder().setFinderInfo(reference(file_), info), 0);
    std::string expected(32, '\0');
    expected[8] = '\x04';
    expected[9] = '\x0C';
    EXPECT_EQ(raw(), expected);
}

TEST_F(LinuxFinderInfo, WhatOtherSoftwareHasWrittenIsRead) {
    setRaw("TYPECREA" + std::string("\x00\x02", 2) + std::string(22, 'x'));
    CatalogInfo info;
    ASSERT_EQ(finder().catalogInfo(reference(file_), info), 0);
    EXPECT_EQ(info.finderFlags(), 2);
    EXPECT_EQ(info.finderInfo[0], 'T');
    EXPECT_EQ(info.finderInfo[31], 'x');
}

TEST_F(LinuxFinderInfo, AShorterValueIsCompletedByZeroes) {
    for (const std::string& value :
         {std::string(), std::string("TYPE"), std::string("TYPECREA\x01"), std::string(31, 'x')}) {
        setRaw(value);
        CatalogInfo info;
        info.finderInfo.fill(0xEE);
        ASSERT_EQ(finder().catalogInfo(reference(file_), info), 0);
        const std::string read(info.finderInfo.begin(), info.finderInfo.end());
        EXPECT_EQ(read, value + std::string(32 - value.size(), '\0'));
    }
}

TEST_F(LinuxFinderInfo, ALongerValueIsAFailureAndStays) {
    setRaw(std::string(33, 'x'));
    CatalogInfo info;
    info.setFinderFlags(6);
    EXPECT_NE(finder().catalogInfo(reference(file_), info), 0);
    EXPECT_EQ(info.finderFlags(), 6);
    EXPECT_EQ(raw(), std::string(33, 'x'));
}

TEST_F(LinuxFinderInfo, FailsForLinksPipesAndDevices) {
    ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0666), 0);
    for (const std::string& path : {folder_.makeLink("link", "file"), folder_ / "fifo",
                                    folder_.makeLink("dangling", "no"), std::string("/dev/null")}) {
        CatalogInfo info;
        EXPECT_EQ(finder().catalogInfo(reference(path), info), EOPNOTSUPP) << path;
        EXPECT_EQ(finder().setFinderInfo(reference(path), info), EOPNOTSUPP) << path;
    }
    EXPECT_EQ(raw(), "");
}

TEST_F(LinuxFinderInfo, AnItemPutInTheOthersPlaceAtTheLastMomentIsLeftAlone) {
    const std::string other = folder_.writeFile("other");
    static std::string one;
    static std::string two;
    static const posix::SystemCalls* below;
    one = file_;
    two = other;
    posix::SystemCalls calls = posix::systemCalls();
    calls.openat = [](int folder, const char* name, int flags, mode_t mode) {
        if (std::string(name) == "file") std::filesystem::rename(two, one);
        return below->openat(folder, name, flags, mode);
    };
    CatalogInfo info;
    info.setFinderFlags(6);
    const FileReference made = reference(file_);
    below = posix::exchangeSystemCalls(&calls);
    const std::int32_t status = finder().setFinderInfo(made, info);
    posix::exchangeSystemCalls(below);
    EXPECT_EQ(status, ESTALE);
    EXPECT_EQ(raw(), "");
}

// The file system of the Mac has no other names than its own below "osx.".
TEST_F(LinuxFinderInfo, HasAnotherNameOnAMacsFileSystem) {
    static std::string asked;
    linux_::LinuxCalls linuxCalls = linux_::linuxCalls();
    linuxCalls.isHfsPlus = [](int, bool* answer) {
        *answer = true;
        return 0;
    };
    posix::SystemCalls calls = posix::systemCalls();
    calls.fgetxattr = [](int, const char* name, void*, std::size_t) -> ssize_t {
        asked = name;
        errno = ENODATA;
        return -1;
    };
    calls.fsetxattr = [](int, const char* name, const void*, std::size_t) {
        asked += std::string(" ") + name;
        return 0;
    };
    CatalogInfo info;
    const FileReference made = reference(file_);
    const test::CallTablesInForce before = test::exchangeCallTables({&calls, &linuxCalls});
    EXPECT_EQ(finder().catalogInfo(made, info), 0);
    EXPECT_EQ(finder().setFinderInfo(made, info), 0);
    test::exchangeCallTables(before);
    EXPECT_EQ(asked, "osx.com.apple.FinderInfo osx.com.apple.FinderInfo");
}

TEST_F(LinuxFinderInfo, UserMayNotChangeAFileThatMayNotBeWritten) {
    if (test::isRoot()) GTEST_SKIP() << "root may";
    ::chmod(file_.c_str(), 0444);
    CatalogInfo info;
    EXPECT_EQ(finder().catalogInfo(reference(file_), info), 0);
    EXPECT_EQ(finder().setFinderInfo(reference(file_), info), EACCES);
    ::chmod(file_.c_str(), 0);
    EXPECT_EQ(finder().catalogInfo(reference(file_), info), EACCES);
}

TEST_F(LinuxFinderInfo, EveryCallMayFail) {
    const FileReference made = reference(file_);
    const int before = test::openDescriptors();
    const std::function<bool()> operations[] = {
        [&] {
            FileReference other;
            return finder().makeReference(file_, other);
        },
        [&] { return finder().pathOfReference(made).has_value(); },
        [&] {
            CatalogInfo info;
            return finder().catalogInfo(made, info) == 0;
        },
        [&] { return finder().setFinderInfo(made, {}) == 0; }};
    for (const auto& operation : operations) {
        for (int nth = 1;; ++nth) {
            const test::FailingCalls failing(nth, EIO);
            const bool succeeded = operation();
            EXPECT_NE(succeeded, failing.happened()) << "call " << nth;
            if (!failing.happened()) break;
        }
    }
    EXPECT_EQ(test::openDescriptors(), before);
}

}  // namespace
}  // namespace quillmoor::platform
