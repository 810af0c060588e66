#include "quillmoor/platform/posix/fs/file_io_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

int interruptions = 0;

// Each call is interrupted twice first; what is written is taken three bytes at a time.
class FileData : public testing::Test {
  protected:
    FileData() {
        interruptions = 0;
        calls_.read = [](int file, void* bytes, std::size_t size) {
            return isInterrupted() ? -1 : ::read(file, bytes, size);
        };
        calls_.write = [](int file, const void* bytes, std::size_t size) {
            return isInterrupted() ? -1 : ::write(file, bytes, std::min<std::size_t>(size, 3));
        };
        before_ = exchangeSystemCalls(&calls_);
    }
    ~FileData() override { exchangeSystemCalls(before_); }
    static bool isInterrupted() {
        errno = EINTR;
        return interruptions++ % 3 < 2;
    }
    Descriptor open(const std::string& name, int flags) const {
        return Descriptor(::open((folder_ / name).c_str(), flags | O_CLOEXEC, 0600));
    }
    test::TempFolder folder_;
    SystemCalls calls_ = systemCalls();
    const SystemCalls* before_ = nullptr;
};

TEST_F(FileData, IsReadAgainAfterAnInterruption) {
    folder_.writeFile("file", "text");
    const Descriptor file = open("file", O_RDONLY);
    char bytes[10]{};
    EXPECT_EQ(readSome(file.get(), bytes, sizeof bytes), 4);
    EXPECT_STREQ(bytes, "text");
    EXPECT_EQ(interruptions, 3);
    EXPECT_EQ(readSome(file.get(), bytes, sizeof bytes), 0) << "the end";
}

TEST_F(FileData, ThatCannotBeReadIsAnError) {
    const Descriptor file = open("file", O_WRONLY | O_CREAT);
    char byte = 0;
    EXPECT_EQ(readSome(file.get(), &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FileData, IsWrittenWholeInAnyNumberOfPieces) {
    const Descriptor file = open("file", O_WRONLY | O_CREAT);
    EXPECT_EQ(writeAll(file.get(), "ten bytes.", 10), 0);
    EXPECT_EQ(test::readFile(folder_ / "file"), "ten bytes.");
    EXPECT_EQ(writeAll(file.get(), "", 0), 0);
}

TEST_F(FileData, ThatCannotBeWrittenIsAnErrorAfterWhatFitted) {
    calls_.write = [](int file, const void* bytes, std::size_t) {
        errno = ENOSPC;
        return interruptions++ == 0 ? ::write(file, bytes, 2) : -1;
    };
    const Descriptor file = open("file", O_WRONLY | O_CREAT);
    EXPECT_EQ(writeAll(file.get(), "text", 4), ENOSPC);
    EXPECT_EQ(test::readFile(folder_ / "file"), "te");
}

TEST_F(FileData, ThatIsRefusedAtTheEndIsAnErrorAndTheFileIsClosed) {
    Descriptor file = open("file", O_WRONLY | O_CREAT);
    const int number = file.get();
    calls_.close = [](int descriptor) {
        ::close(descriptor);
        errno = EDQUOT;
        return -1;
    };
    EXPECT_EQ(closeChecked(file), EDQUOT);
    EXPECT_FALSE(file);
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

TEST_F(FileData, IsNoErrorWhenItIsWritten) {
    Descriptor file = open("file", O_WRONLY | O_CREAT);
    EXPECT_EQ(closeChecked(file), 0);
    EXPECT_FALSE(file);
}

}  // namespace
}  // namespace quillmoor::platform::posix
