#include "quillmoor/platform/posix/process/file_handle_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "quillmoor/platform/exception.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/children/child_tools.h"
#include "tests/children/pattern.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

FileHandles& handles() {
    return *native().fileHandles;
}

int numberOf(const std::shared_ptr<FileHandle>& handle) {
    return dynamic_cast<posix::DescriptorHandle&>(*handle).descriptor();
}

std::string allOf(FileHandle& handle) {
    ByteBuffer buffer;
    while (handle.readAvailableData(buffer) != 0) {
    }
    return std::string(buffer.takeData().view());
}

std::string nameOfException(const std::function<void()>& call) {
    try {
        call();
    } catch (const Exception& exception) {
        return exception.name();
    }
    return "none";
}

// Another table of system calls for as long as it lives.
class ScopedCalls {
  public:
    ScopedCalls()
        : calls_(posix::nativeSystemCalls()), before_(posix::exchangeSystemCalls(&calls_)) {}
    ~ScopedCalls() { posix::exchangeSystemCalls(before_); }
    ScopedCalls(const ScopedCalls&) = delete;
    ScopedCalls& operator=(const ScopedCalls&) = delete;
    posix::SystemCalls* operator->() { return &calls_; }

  private:
    posix::SystemCalls calls_;
    const posix::SystemCalls* before_;
};

TEST(FileHandle, WaitsForBytesToRead) {
    const Pipe pipe = handles().makePipe();
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        pipe.writing->writeData("late");
    });
    ByteBuffer buffer;
    EXPECT_EQ(pipe.reading->readAvailableData(buffer), 4u);
    writer.join();
}

TEST(FileHandle, ClosingUnderAReaderEndsItsRead) {
    for (int i = 0; i < 50; ++i) {
        const Pipe pipe = handles().makePipe();
        std::string name;
        std::thread reader([&] {
            ByteBuffer buffer;
            name = nameOfException([&] { pipe.reading->readAvailableData(buffer); });
        });
        if (i % 2 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        pipe.reading->closeFile();
        reader.join();
        EXPECT_EQ(name, kFileHandleOperationException);
        EXPECT_EQ(numberOf(pipe.reading), -1);
    }
}

// The number may be reused as soon as it is free: no call may read from it then.
TEST(FileHandle, ClosingUnderAReaderNeverReadsAnotherFile) {
    for (int i = 0; i < 50; ++i) {
        const Pipe pipe = handles().makePipe();
        std::size_t count = 0;
        std::thread reader([&] {
            ByteBuffer buffer;
            nameOfException([&] { count = pipe.reading->readAvailableData(buffer); });
        });
        pipe.reading->closeFile();
        const Pipe other = handles().makePipe();
        other.writing->writeData("of another file");
        reader.join();
        EXPECT_EQ(count, 0u);
    }
}

TEST(FileHandle, EveryCallFailsAfterTheClosing) {
    test::TempFolder folder;
    const auto handle = handles().openForWriting(folder.writeFile("f", "abc"));
    const int before = test::openDescriptorCount();
    handle->closeFile();
    handle->closeFile();
    EXPECT_EQ(test::openDescriptorCount(), before - 1);
    ByteBuffer buffer;
    EXPECT_EQ(nameOfException([&] { handle->writeData("x"); }), kFileHandleOperationException);
    EXPECT_EQ(nameOfException([&] { handle->seekToEndOfFile(); }), kFileHandleOperationException);
    EXPECT_EQ(nameOfException([&] { handle->readAvailableData(buffer); }),
              kFileHandleOperationException);
}

TEST(FileHandle, APipeHasNoEndToSeek) {
    const Pipe pipe = handles().makePipe();
    EXPECT_EQ(nameOfException([&] { pipe.writing->seekToEndOfFile(); }),
              kFileHandleOperationException);
}

TEST(FileHandle, AFileThatIsOpenForWritingCannotBeRead) {
    test::TempFolder folder;
    const auto handle = handles().openForWriting(folder.writeFile("f", "abc"));
    ByteBuffer buffer;
    EXPECT_EQ(nameOfException([&] { handle->readAvailableData(buffer); }),
              kFileHandleOperationException);
    EXPECT_TRUE(buffer.empty());
}

TEST(FileHandle, AFileIsOpenedForWritingAtItsStartAndKeepsTheRest) {
    test::TempFolder folder;
    const std::string path = folder.writeFile("log", "abcdef");
    const auto handle = handles().openForWriting(path);
    handle->writeData("XY");
    EXPECT_EQ(test::readFile(path), "XYcdef");
    handle->seekToEndOfFile();
    handle->writeData("Z");
    EXPECT_EQ(test::readFile(path), "XYcdefZ");
}

TEST(FileHandle, AFileThatIsMissingIsNotMade) {
    test::TempFolder folder;
    EXPECT_EQ(handles().openForWriting(folder / "missing"), nullptr);
    EXPECT_FALSE(test::somethingAt(folder / "missing"));
    EXPECT_EQ(handles().openForWriting(""), nullptr);
    EXPECT_EQ(handles().openForWriting(folder.path()), nullptr);
}

TEST(FileHandle, APathWithANulIsMissing) {
    test::TempFolder folder;
    const std::string path = folder.writeFile("f", "kept");
    EXPECT_EQ(handles().openForWriting(path + std::string("\0x", 2)), nullptr);
}

TEST(FileHandle, DoesNotWaitForTheReaderOfANamedPipe) {
    test::TempFolder folder;
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(handles().openForWriting(folder / "fifo"), nullptr);
}

TEST(FileHandle, AWriteWaitsForRoomAlthoughTheOpeningDidNot) {
    test::TempFolder folder;
    const auto handle = handles().openForWriting(folder.writeFile("f"));
    EXPECT_EQ(::fcntl(numberOf(handle), F_GETFL) & O_NONBLOCK, 0);
}

TEST(FileHandle, DescriptorsAreNotInherited) {
    test::TempFolder folder;
    const Pipe pipe = handles().makePipe();
    for (const auto& handle :
         {pipe.reading, pipe.writing, handles().openForWriting(folder.writeFile("f"))})
        EXPECT_NE(::fcntl(numberOf(handle), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(FileHandle, DescriptorsStayAboveTheStandardStreamsThatTheHostHasClosed) {
    const int input = ::dup(0);
    ::close(0);
    const Pipe pipe = handles().makePipe();
    const Pipe second = handles().makePipe();
    ::dup2(input, 0);
    ::close(input);
    for (const auto& handle : {pipe.reading, pipe.writing, second.reading, second.writing})
        EXPECT_GE(numberOf(handle), 3);
    pipe.writing->writeData("through");
    pipe.writing->closeFile();
    EXPECT_EQ(allOf(*pipe.reading), "through");
}

TEST(FileHandle, WritesAndReadsNothingOnTheNullDevice) {
    const auto device = handles().nullDevice();
    device->writeData("gone");
    device->seekToEndOfFile();
    ByteBuffer buffer;
    EXPECT_EQ(device->readAvailableData(buffer), 0u);
    device->closeFile();
    device->closeFile();
    EXPECT_EQ(nameOfException([&] { device->writeData("x"); }), kFileHandleOperationException);
}

TEST(FileHandle, WithoutDescriptorsNoPipeIsMade) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::string name = nameOfException([] { handles().makePipe(); });
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(name, kFileHandleOperationException);
}

TEST(FileHandle, ReportsAFullDisk) {
    test::TempFolder folder;
    const auto handle = handles().openForWriting(folder.writeFile("f"));
    ScopedCalls calls;
    calls->write = [](int, const void*, std::size_t) -> ssize_t {
        errno = ENOSPC;
        return -1;
    };
    try {
        handle->writeData("x");
        FAIL();
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.reason(), "the file couldn’t be written: No space left on device");
    }
}

TEST(FileHandle, AFullDiskReportsHowMuchWasWritten) {
    test::TempFolder folder;
    const std::string path = folder.writeFile("f");
    const auto handle = handles().openForWriting(path);
    ScopedCalls calls;
    calls->write = [](int file, const void* bytes, std::size_t) -> ssize_t {
        static int call = 0;
        if (call++ < 2) return ::write(file, bytes, 2);
        errno = ENOSPC;
        return -1;
    };
    try {
        handle->writeData("abcdefg");
        FAIL();
    } catch (const WriteFailure& failure) {
        EXPECT_EQ(failure.written(), 4U);
        EXPECT_EQ(failure.name(), kFileHandleOperationException);
    }
    EXPECT_EQ(test::readFile(path), "abcd");
}

TEST(FileHandle, WritesAtTheEndOnlyFromThenOn) {
    test::TempFolder folder;
    const std::string path = folder.writeFile("f", "abc");
    const auto first = handles().openForWriting(path);
    const auto second = handles().openForWriting(path);
    first->writeAtEndOnly();
    second->writeAtEndOnly();
    first->writeData("1");
    second->writeData("2");
    first->writeData("3");
    EXPECT_EQ(test::readFile(path), "abc123");
    first->closeFile();
    EXPECT_EQ(nameOfException([&] { first->writeAtEndOnly(); }), kFileHandleOperationException);
}

TEST(FileHandle, ContinuesAnInterruptedWrite) {
    test::TempFolder folder;
    const std::string path = folder.writeFile("f");
    const auto handle = handles().openForWriting(path);
    ScopedCalls calls;
    calls->write = [](int file, const void* bytes, std::size_t size) -> ssize_t {
        static int call = 0;
        if (call++ % 2 == 0) {
            errno = EINTR;
            return -1;
        }
        return ::write(file, bytes, size > 2 ? 2 : size);
    };
    handle->writeData("abcdefg");
    EXPECT_EQ(test::readFile(path), "abcdefg");
}

TEST(FileHandle, ALineIsOneSystemCall) {
    test::TempFolder folder;
    const auto handle = handles().openForWriting(folder.writeFile("f"));
    static int count;
    count = 0;
    ScopedCalls calls;
    calls->write = [](int file, const void* bytes, std::size_t size) -> ssize_t {
        ++count;
        return ::write(file, bytes, size);
    };
    handle->writeData("a whole line\n");
    EXPECT_EQ(count, 1);
}

TEST(FileHandle, ContinuesAnInterruptedRead) {
    const Pipe pipe = handles().makePipe();
    pipe.writing->writeData("text");
    ScopedCalls calls;
    calls->read = [](int file, void* bytes, std::size_t size) -> ssize_t {
        static bool interrupted = false;
        if (!std::exchange(interrupted, true)) {
            errno = EINTR;
            return -1;
        }
        return ::read(file, bytes, size);
    };
    ByteBuffer buffer;
    EXPECT_EQ(pipe.reading->readAvailableData(buffer), 4u);
}

TEST(FileHandle, ReportsALackOfMemoryAsItsOwnError) {
    if (test::kSanitized) GTEST_SKIP() << "sanitizers need the address space";
    const Pipe pipe = handles().makePipe();
    pipe.writing->writeData("x");
    ByteBuffer buffer;
    buffer.reserveMore(std::size_t{300} << 20);
    buffer.addFilled(buffer.room());
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    const rlimit tight{std::size_t{400} << 20, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
    const std::string name = nameOfException([&] { pipe.reading->readAvailableData(buffer); });
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(name, kFileHandleOperationException);
}

}  // namespace
}  // namespace quillmoor::platform
