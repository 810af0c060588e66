#include "quillmoor/platform/posix/fs/file_contents_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

// Before the first block is read, the file gets another size.
class ResizedBeforeReading {
  public:
    ResizedBeforeReading(std::string path, off_t size) : calls_(systemCalls()) {
        path_ = std::move(path);
        size_ = size;
        next_ = &systemCalls();
        calls_.read = [](int file, void* buffer, std::size_t count) {
            if (!path_.empty() && ::truncate(path_.c_str(), size_) == 0) path_.clear();
            return next_->read(file, buffer, count);
        };
        exchangeSystemCalls(&calls_);
    }
    ~ResizedBeforeReading() { exchangeSystemCalls(next_); }
    ResizedBeforeReading(const ResizedBeforeReading&) = delete;
    ResizedBeforeReading& operator=(const ResizedBeforeReading&) = delete;

  private:
    static inline std::string path_;
    static inline off_t size_ = 0;
    static inline const SystemCalls* next_ = nullptr;
    SystemCalls calls_;
};

int copyData(const std::string& from, const std::string& to, const CopyControl& control = {}) {
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor made(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    struct stat status {};
    EXPECT_EQ(::fstat(source.get(), &status), 0);
    return FileDataCopier(control).copy(source.get(), made.get(), status);
}

TEST(TreeData, CopiesAFileThatBecomesShorterToItsEnd) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(3 << 20, 'x'));
    const ResizedBeforeReading resized(file, 100);
    EXPECT_EQ(copyData(file, folder / "copy"), 0);
    EXPECT_EQ(test::readFile(folder / "copy"), std::string(100, 'x'));
    struct stat status {};
    ASSERT_EQ(::stat((folder / "copy").c_str(), &status), 0);
    EXPECT_LT(status.st_blocks * 512, 1 << 20);
}

TEST(TreeData, CopiesAFileWithHolesThatBecomesShorterToItsEnd) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(100000, 'x'));
    ASSERT_EQ(::truncate(file.c_str(), 10 << 20), 0);
    const ResizedBeforeReading resized(file, 50000);
    EXPECT_EQ(copyData(file, folder / "copy"), 0);
    EXPECT_EQ(test::readFile(folder / "copy"), std::string(50000, 'x'));
}

TEST(TreeData, AFileGrownMeanwhileIsCopiedAsLargeAsItWas) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(3000, 'x'));
    const ResizedBeforeReading resized(file, 5000);
    EXPECT_EQ(copyData(file, folder / "copy"), 0);
    EXPECT_EQ(test::readFile(folder / "copy"), std::string(3000, 'x'));
}

TEST(TreeData, ReadsAFileWithoutASizeToItsEnd) {
    const TempFolder folder;
    EXPECT_EQ(copyData("/proc/version", folder / "copy"), 0);
    EXPECT_EQ(test::readFile(folder / "copy"), test::readFile("/proc/version"));
    EXPECT_FALSE(test::readFile(folder / "copy").empty());
}

// Long enough to be read ahead.
constexpr std::size_t kLong = (std::size_t{20} << 20) + 4321;

TEST(TreeData, ALongFileIsCopiedWhole) {
    const TempFolder folder;
    std::string text;
    while (text.size() < kLong) text += std::to_string(text.size()) + ' ';
    const std::string file = folder.writeFile("file", text);
    TreeProgress progress;
    EXPECT_EQ(copyData(file, folder / "copy", {&progress, {}}), 0);
    EXPECT_TRUE(test::readFile(folder / "copy") == text);
    EXPECT_EQ(progress.bytes, text.size());
}

TEST(TreeData, CopiesALongFileThatBecomesShorterToItsEnd) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(kLong, 'x'));
    const ResizedBeforeReading resized(file, 3 << 20);
    EXPECT_EQ(copyData(file, folder / "copy"), 0);
    EXPECT_TRUE(test::readFile(folder / "copy") == std::string(3 << 20, 'x'));
}

TEST(TreeData, ALongFileGrownMeanwhileIsCopiedAsLargeAsItWas) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(kLong, 'x'));
    const ResizedBeforeReading resized(file, 2 * kLong);
    EXPECT_EQ(copyData(file, folder / "copy"), 0);
    EXPECT_TRUE(test::readFile(folder / "copy") == std::string(kLong, 'x'));
}

TEST(TreeData, ALongFilesHolesStayHoles) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(kLong, 'x'));
    constexpr off_t kEnd = off_t{64} << 20;
    ASSERT_EQ(::truncate(file.c_str(), kEnd), 0);
    EXPECT_EQ(copyData(file, folder / "copy"), 0);
    struct stat status {};
    ASSERT_EQ(::stat((folder / "copy").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, kEnd);
    EXPECT_LT(status.st_blocks * 512, off_t{2 * kLong});
    const std::string text = test::readFile(folder / "copy").substr(0, 2 * kLong);
    EXPECT_TRUE(text == std::string(kLong, 'x') + std::string(kLong, '\0'));
}

TEST(TreeData, AStopEndsALongFile) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", std::string(kLong, 'x'));
    StopSource stop;
    stop.requestStop();
    EXPECT_EQ(copyData(file, folder / "copy", {nullptr, stop.token()}), ECANCELED);
}

TEST(TreeData, AFullDiskEndsALongFile) {
    const TempFolder folder;
    const Descriptor source(
        ::open(folder.writeFile("file", std::string(kLong, 'x')).c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    struct stat status {};
    ASSERT_EQ(::fstat(source.get(), &status), 0);
    const CopyControl control;
    EXPECT_EQ(FileDataCopier(control).copy(source.get(), full.get(), status), ENOSPC);
}

TEST(TreeData, AStopEndsIt) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file", "text");
    StopSource stop;
    stop.requestStop();
    EXPECT_EQ(copyData(file, folder / "copy", {nullptr, stop.token()}), ECANCELED);
}

}  // namespace
}  // namespace quillmoor::platform::posix
