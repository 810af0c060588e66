#include "quillmoor/platform/attributes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/locked_item.h"

namespace quillmoor::platform {
namespace {

using std::chrono::system_clock;
using test::LockedItem;

Attributes& attributes() {
    return *native().attributes;
}

bool isImmutable(const std::string& path) {
    const auto item = attributes().attributesOfItem(path);
    return item && item->isImmutable;
}

// How many items have been opened for more than naming others in them.
int opened = 0;
const posix::SystemCalls* callsBelow = nullptr;

class CountsOpening {
  public:
    CountsOpening() : calls_(posix::systemCalls()) {
        opened = 0;
        calls_.openat = [](int folder, const char* name, int flags, mode_t mode) {
            if ((flags & O_PATH) == 0) ++opened;
            return callsBelow->openat(folder, name, flags, mode);
        };
        callsBelow = posix::exchangeSystemCalls(&calls_);
    }
    ~CountsOpening() { posix::exchangeSystemCalls(callsBelow); }
    CountsOpening(const CountsOpening&) = delete;
    CountsOpening& operator=(const CountsOpening&) = delete;

  private:
    posix::SystemCalls calls_;
};

class LinuxAttributes : public testing::Test {
  protected:
    test::TempFolder folder_;
};

TEST_F(LinuxAttributes, ALockedFileIsLocked) {
    const std::string file = folder_.writeFile("file", "text");
    const LockedItem locked(file);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    ASSERT_TRUE(locked.outcome());
    EXPECT_TRUE(isImmutable(file));
    EXPECT_NE(::unlink(file.c_str()), 0);
    EXPECT_NE(::chmod(file.c_str(), 0777), 0);
    EXPECT_TRUE(attributes().setImmutable(file, true)) << "a second time";
    EXPECT_TRUE(attributes().setImmutable(file, false));
    EXPECT_FALSE(isImmutable(file));
    EXPECT_EQ(::unlink(file.c_str()), 0);
}

TEST_F(LinuxAttributes, ALockedFolderIsLockedAndItsFilesAreNot) {
    const std::string inside = folder_.makeFolder("inside");
    const std::string file = folder_.writeFile("inside/file");
    const LockedItem locked(inside);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    ASSERT_TRUE(locked.outcome());
    EXPECT_TRUE(isImmutable(inside));
    EXPECT_TRUE(isImmutable(inside + "/"));
    EXPECT_FALSE(isImmutable(file));
    EXPECT_NE(::unlink(file.c_str()), 0);
}

TEST_F(LinuxAttributes, ALockedFileIsNotChanged) {
    const std::string file = folder_.writeFile("file");
    const LockedItem locked(file);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    const std::string expected =
        "\u201cfile\u201d couldn\u2019t be changed: Operation not permitted";
    const auto now = system_clock::now();
    const Outcome permissions = attributes().setPosixPermissions(file, 0600);
    const Outcome date = attributes().setModificationDate(file, now);
    ASSERT_FALSE(permissions);
    ASSERT_FALSE(date);
    EXPECT_EQ(permissions.error().description, expected);
    EXPECT_EQ(date.error().description, expected);
}

TEST_F(LinuxAttributes, OtherFlagsOfAnItemStay) {
    constexpr int kNoDump = 0x40;
    const std::string file = folder_.writeFile("file");
    const posix::Descriptor item(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    int flags = 0;
    if (linux_::nativeLinuxCalls().getItemFlags(item.get(), &flags) != 0 ||
        linux_::nativeLinuxCalls().setItemFlags(item.get(), flags | kNoDump) != 0)
        GTEST_SKIP() << "no flags here";
    const LockedItem locked(file);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    ASSERT_TRUE(attributes().setImmutable(file, false));
    ASSERT_EQ(linux_::nativeLinuxCalls().getItemFlags(item.get(), &flags), 0);
    EXPECT_EQ(flags & kNoDump, kNoDump);
}

TEST_F(LinuxAttributes, LockNeitherALinkNorItsTarget) {
    const std::string file = folder_.writeFile("file");
    for (const std::string& link :
         {folder_.makeLink("link", "file"), folder_.makeLink("dangling", "nowhere")}) {
        const LockedItem locked(link);
        ASSERT_FALSE(locked.outcome());
        EXPECT_EQ(locked.outcome().error().code, EOPNOTSUPP);
    }
    EXPECT_FALSE(isImmutable(file));
}

TEST_F(LinuxAttributes, APipeAndADeviceAreNeitherLockedNorOpened) {
    ASSERT_EQ(::mkfifo((folder_ / "fifo").c_str(), 0666), 0);
    const CountsOpening counting;
    for (const std::string& path : {folder_ / "fifo", std::string("/dev/null")}) {
        const Outcome locked = attributes().setImmutable(path, true);
        ASSERT_FALSE(locked);
        EXPECT_EQ(locked.error().code, EOPNOTSUPP) << path;
        EXPECT_TRUE(attributes().setImmutable(path, false));
        EXPECT_TRUE(attributes().attributesOfItem(path));
    }
    EXPECT_EQ(opened, 0);
}

TEST_F(LinuxAttributes, WhatIsNotLockedIsUnlockedWithoutBeingOpened) {
    const std::string file = folder_.writeFile("file");
    ::chmod(file.c_str(), 0);
    const CountsOpening counting;
    EXPECT_TRUE(attributes().setImmutable(file, false));
    EXPECT_EQ(opened, 0);
}

TEST_F(LinuxAttributes, AFileSystemWithoutTheFlagSaysSo) {
    const Outcome locked = attributes().setImmutable("/proc/self/status", true);
    ASSERT_FALSE(locked);
    EXPECT_TRUE(locked.error().code == EOPNOTSUPP || locked.error().code == EPERM)
        << locked.error().description;
}

TEST_F(LinuxAttributes, UserMayNotLock) {
    if (test::isRoot()) GTEST_SKIP() << "root may";
    const Outcome locked = attributes().setImmutable(folder_.writeFile("file"), true);
    ASSERT_FALSE(locked);
    EXPECT_TRUE(locked.error().code == EPERM || locked.error().code == EOPNOTSUPP)
        << locked.error().description;
}

TEST_F(LinuxAttributes, UserMayNotChangeWhatBelongsToAnother) {
    if (test::isRoot()) GTEST_SKIP() << "root may";
    const auto& calls = posix::nativeSystemCalls();
    const auto* guarded = posix::exchangeSystemCalls(&calls);
    const Outcome permissions = attributes().setPosixPermissions("/etc/passwd", 0644);
    const Outcome date = attributes().setModificationDate("/etc/passwd", system_clock::now());
    posix::exchangeSystemCalls(guarded);
    ASSERT_FALSE(permissions);
    ASSERT_FALSE(date);
    EXPECT_EQ(permissions.error().description,
              "\u201cpasswd\u201d couldn\u2019t be changed: Operation not permitted");
}

TEST_F(LinuxAttributes, ACreationDateCannotBeSet) {
    const Outcome outcome =
        attributes().setCreationDate(folder_.writeFile("file"), system_clock::now());
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().description,
              "\u201cfile\u201d couldn\u2019t be changed: Operation not supported");
}

TEST_F(LinuxAttributes, ADateBeyondTheClockIsTheLastOrTheFirst) {
    const std::string file = folder_.writeFile("file");
    for (const long seconds : {std::numeric_limits<long>::max(), std::numeric_limits<long>::min(),
                               100'000'000'000L, -100'000'000'000L}) {
        static long reported;
        reported = seconds;
        posix::SystemCalls calls = posix::systemCalls();
        calls.fstatat = [](int folder, const char* name, struct stat* status, int flags) {
            const int failed = posix::nativeSystemCalls().fstatat(folder, name, status, flags);
            status->st_mtim = {reported, 999'999'999};
            return failed;
        };
        const auto* before = posix::exchangeSystemCalls(&calls);
        const auto item = attributes().attributesOfItem(file);
        posix::exchangeSystemCalls(before);
        ASSERT_TRUE(item);
        const auto limit =
            seconds > 0 ? system_clock::time_point::max() : system_clock::time_point::min();
        const auto distance =
            seconds > 0 ? limit - item->modificationDate : item->modificationDate - limit;
        EXPECT_LE(distance, std::chrono::seconds(2)) << seconds;
    }
}

TEST_F(LinuxAttributes, TheEndsOfTheClockCanBeSet) {
    const std::string file = folder_.writeFile("file");
    for (const auto date : {system_clock::time_point::min(), system_clock::time_point::max()})
        EXPECT_TRUE(attributes().setModificationDate(file, date));
}

TEST_F(LinuxAttributes, APathLongerThanOneCallTakesWorks) {
    const std::string name(200, 'n');
    test::makeDeepTree(folder_ / "deep", 30, name);
    std::string path = folder_ / "deep";
    for (int i = 0; i < 30; ++i) path += "/" + name;
    path += "/bottom";
    ASSERT_GT(path.size(), 4096U);
    const system_clock::time_point date(std::chrono::seconds(1234));
    EXPECT_TRUE(attributes().setPosixPermissions(path, 0600));
    EXPECT_TRUE(attributes().setModificationDate(path, date));
    EXPECT_TRUE(attributes().setImmutable(path, false));
    ASSERT_TRUE(attributes().attributesOfItem(path));
    EXPECT_EQ(attributes().attributesOfItem(path)->modificationDate, date);
    EXPECT_EQ(attributes().attributesOfItem(path)->size, 4U);
}

// Every call of `operation` fails once: it must say so, and leave no descriptor behind.
template <typename Operation>
void failEveryCall(Operation operation) {
    const int before = test::openDescriptors();
    for (int nth = 1;; ++nth) {
        const test::FailingCalls failing(nth, EIO);
        const bool succeeded = operation();
        if (!failing.happened()) {
            EXPECT_TRUE(succeeded);
            EXPECT_GT(nth, 2);
            break;
        }
        EXPECT_FALSE(succeeded) << "call " << nth;
    }
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(LinuxAttributes, EveryCallMayFail) {
    const std::string file = folder_.writeFile("file");
    failEveryCall([&] { return attributes().attributesOfItem(file).has_value(); });
    failEveryCall([&] { return bool(attributes().setPosixPermissions(file, 0600)); });
    failEveryCall([&] { return bool(attributes().setModificationDate(file, {})); });
    failEveryCall([&] { return bool(attributes().setImmutable(file, false)); });
}

TEST_F(LinuxAttributes, EveryCallOfALockMayFail) {
    const std::string file = folder_.writeFile("file");
    {
        const LockedItem locked(file);
        if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    }
    failEveryCall([&] {
        const Outcome locked = attributes().setImmutable(file, true);
        if (!locked) {
            EXPECT_EQ(locked.error().description,
                      "\u201cfile\u201d couldn\u2019t be changed: Input/output error");
        }
        return bool(locked);
    });
    EXPECT_TRUE(isImmutable(file));
    failEveryCall([&] { return bool(attributes().setImmutable(file, false)); });
    EXPECT_FALSE(isImmutable(file));
}

}  // namespace
}  // namespace quillmoor::platform
