#include "tools/ditto/input_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

class DittoInputFile : public testing::Test {
  protected:
    static std::string read(const InputFile& file, std::uint64_t offset, std::size_t size) {
        std::vector<unsigned char> bytes(size);
        file.readAt(offset, bytes);
        return {bytes.begin(), bytes.end()};
    }
    static std::string failure(const std::string& path) {
        try {
            const InputFile file(path);
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "nothing thrown";
    }

    test::TempFolder folder_;
};

TEST_F(DittoInputFile, IsReadAtAnyOffset) {
    const InputFile file(folder_.writeFile("file", "0123456789"));
    EXPECT_EQ(file.size(), 10U);
    EXPECT_EQ(read(file, 7, 3), "789");
    EXPECT_EQ(read(file, 0, 10), "0123456789");
    EXPECT_EQ(read(file, 10, 0), "");
}

TEST_F(DittoInputFile, MayBeALinkToAFile) {
    folder_.writeFile("file", "text");
    const InputFile file(folder_.makeLink("link", "file"));
    EXPECT_EQ(read(file, 0, 4), "text");
}

TEST_F(DittoInputFile, ThatEndsEarlyIsAFailure) {
    const std::string path = folder_.writeFile("file", "0123456789");
    const InputFile file(path);
    EXPECT_THROW(read(file, 7, 4), Failure);
    EXPECT_THROW(read(file, 11, 1), Failure);
    std::filesystem::resize_file(path, 5);
    EXPECT_THROW(read(file, 4, 2), Failure);
}

TEST_F(DittoInputFile, IsNamedIfItCannotBeOpened) {
    const std::string path = folder_ / "missing";
    EXPECT_EQ(failure(path), "“" + path + "” couldn’t be opened: No such file or directory");
}

TEST_F(DittoInputFile, MustBeARegularFile) {
    const std::string folder = folder_.makeFolder("folder");
    EXPECT_EQ(failure(folder), "“" + folder + "” is not a file");
    // Opening it does not wait for a writer.
    const std::string pipe = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(failure(pipe), "“" + pipe + "” is not a file");
}

}  // namespace
}  // namespace quillmoor::ditto
