#include "host/ground/file_io.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/ground/host_error.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

template <typename Function>
std::string errorOf(Function function) {
    try {
        function();
    } catch (const HostError& error) {
        return error.what();
    }
    return "";
}

TEST(FileIo, WhatIsWrittenIsRead) {
    const test::TempFolder folder;
    std::string contents(100'000, 'x');
    contents[7] = '\0';
    writeWholeFile(folder / "a\xff", contents);
    EXPECT_EQ(readWholeFile(folder / "a\xff"), contents);
    writeWholeFile(folder / "a\xff", "short");
    EXPECT_EQ(readWholeFile(folder / "a\xff"), "short");
}

TEST(FileIo, AMissingFileGivesTheSystemsText) {
    const test::TempFolder folder;
    EXPECT_EQ(errorOf([&] { readWholeFile(folder / "a"); }), "No such file or directory");
    EXPECT_EQ(errorOf([&] { writeWholeFile(folder / "a/b", ""); }), "No such file or directory");
}

TEST(FileIo, OnlyRegularFilesAreRead) {
    const test::TempFolder folder;
    EXPECT_EQ(errorOf([&] { readWholeFile(folder.path()); }), "not a regular file");
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(errorOf([&] { readWholeFile(folder / "fifo"); }), "not a regular file");
}

TEST(FileIo, AFullDiskIsAnError) {
    if (!test::somethingAt("/dev/full")) GTEST_SKIP() << "this system has no /dev/full";
    EXPECT_EQ(errorOf([] { writeWholeFile("/dev/full", "x"); }), "No space left on device");
}

}  // namespace
}  // namespace quillmoor::host
