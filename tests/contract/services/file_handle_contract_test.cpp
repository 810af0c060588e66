#include "quillmoor/platform/file_handle.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "quillmoor/platform/exception.h"
#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

class FileHandleContract : public testing::TestWithParam<BackEnd> {
  protected:
    FileHandles& handles() { return *GetParam().platform().fileHandles; }

    static std::string allOf(FileHandle& handle) {
        ByteBuffer buffer;
        while (handle.readAvailableData(buffer) != 0) {
        }
        return std::string(buffer.takeData().view());
    }

    // The exception's name, or "none".
    static std::string exceptionOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const Exception& exception) {
            return exception.name();
        }
        return "none";
    }

    test::TempFolder folder_;
};

TEST_P(FileHandleContract, APipeReturnsWhatWasWrittenAndThenItsEnd) {
    const Pipe pipe = handles().makePipe();
    pipe.writing->writeData("one");
    ByteBuffer buffer;
    EXPECT_EQ(pipe.reading->readAvailableData(buffer), 3U);
    pipe.writing->writeData(std::string_view("two\0\xff", 5));
    EXPECT_EQ(pipe.reading->readAvailableData(buffer), 5U);
    pipe.writing->closeFile();
    EXPECT_EQ(pipe.reading->readAvailableData(buffer), 0U);
    EXPECT_EQ(pipe.reading->readAvailableData(buffer), 0U);
    EXPECT_EQ(buffer.takeData().view(), std::string_view("onetwo\0\xff", 8));
}

TEST_P(FileHandleContract, MoreThanAPipeHoldsIsWrittenWhole) {
    const Pipe pipe = handles().makePipe();
    std::string much;
    for (int i = 0; much.size() < (3U << 20U); ++i) much += std::to_string(i);
    std::thread writer([&] {
        pipe.writing->writeData(much);
        pipe.writing->closeFile();
    });
    EXPECT_TRUE(allOf(*pipe.reading) == much);
    writer.join();
}

TEST_P(FileHandleContract, ClosingEndsAReadOfAnotherThread) {
    for (int i = 0; i < 20; ++i) {
        const Pipe pipe = handles().makePipe();
        std::string name;
        std::thread reader([&] {
            ByteBuffer buffer;
            name = exceptionOf([&] { pipe.reading->readAvailableData(buffer); });
        });
        pipe.reading->closeFile();
        reader.join();
        EXPECT_EQ(name, kFileHandleOperationException);
    }
}

TEST_P(FileHandleContract, EveryCallButClosingFailsAfterTheClosing) {
    const auto file = handles().openForWriting(folder_.writeFile("file", "text"));
    ASSERT_NE(file, nullptr);
    file->closeFile();
    EXPECT_EQ(exceptionOf([&] { file->writeData("more"); }), kFileHandleOperationException);
    EXPECT_EQ(exceptionOf([&] { file->seekToEndOfFile(); }), kFileHandleOperationException);
    ByteBuffer buffer;
    EXPECT_EQ(exceptionOf([&] { file->readAvailableData(buffer); }), kFileHandleOperationException);
    EXPECT_EQ(exceptionOf([&] { file->closeFile(); }), "none");
    EXPECT_EQ(test::readFile(folder_ / "file"), "text");
}

TEST_P(FileHandleContract, AFileIsWrittenFromItsStartAndKeepsTheRest) {
    const std::string path = folder_.writeFile("file", "0123456789");
    const auto file = handles().openForWriting(path);
    ASSERT_NE(file, nullptr);
    file->writeData("ab");
    EXPECT_EQ(test::readFile(path), "ab23456789");
    EXPECT_EQ(file->seekToEndOfFile(), 10U);
    file->writeData("c");
    EXPECT_EQ(test::readFile(path), "ab23456789c");
}

TEST_P(FileHandleContract, WritesAtTheEndBesideAnotherWriter) {
    const std::string path = folder_.writeFile("file");
    const auto one = handles().openForWriting(path);
    const auto other = handles().openForWriting(path);
    ASSERT_NE(one, nullptr);
    ASSERT_NE(other, nullptr);
    one->writeAtEndOnly();
    other->writeAtEndOnly();
    one->writeData("a");
    other->writeData("b");
    one->writeData("c");
    EXPECT_EQ(test::readFile(path), "abc");
    const Pipe pipe = handles().makePipe();
    pipe.writing->writeAtEndOnly();
    pipe.writing->writeData("text");
    pipe.writing->closeFile();
    EXPECT_EQ(allOf(*pipe.reading), "text");
}

TEST_P(FileHandleContract, ReturnsNullForAFileThatCannotBeOpened) {
    EXPECT_EQ(handles().openForWriting(folder_ / "missing"), nullptr);
    EXPECT_EQ(handles().openForWriting(folder_.makeLink("dangling", "missing")), nullptr);
    EXPECT_EQ(handles().openForWriting(folder_.path()), nullptr);
    EXPECT_EQ(handles().openForWriting(""), nullptr);
    EXPECT_EQ(handles().openForWriting(folder_.writeFile("file") + '\0'), nullptr);
    EXPECT_FALSE(test::somethingAt(folder_ / "missing"));
}

TEST_P(FileHandleContract, AFileEndsWithinALineUnlessItsLastByteIsANewline) {
    EXPECT_TRUE(handles().endsWithinLine(folder_.writeFile("half", "line\nhalf")));
    EXPECT_FALSE(handles().endsWithinLine(folder_.writeFile("whole", "line\n")));
    EXPECT_FALSE(handles().endsWithinLine(folder_.writeFile("empty")));
    EXPECT_FALSE(handles().endsWithinLine(folder_ / "missing"));
    EXPECT_FALSE(handles().endsWithinLine(folder_.path()));
    EXPECT_FALSE(handles().endsWithinLine(""));
}

TEST_P(FileHandleContract, WritesAndReadsNothingOnTheNullDevice) {
    const auto device = handles().nullDevice();
    ASSERT_NE(device, nullptr);
    device->writeData(std::string(100000, 'x'));
    EXPECT_EQ(allOf(*device), "");
}

INSTANTIATE_TEST_SUITE_P(All, FileHandleContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
