#include "quillmoor/platform/posix/fs/atomic_write_posix.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "quillmoor/platform/native_services.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::readFile;
using test::TempFolder;

mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST(AtomicWrite, AFileIsThereWholeWithTheUsualMode) {
    const TempFolder folder;
    const std::string text("text\0with all bytes\xff", 20);
    const mode_t before = ::umask(027);
    EXPECT_EQ(writeFileAtomically(folder / "file", text), 0);
    ::umask(before);
    EXPECT_EQ(readFile(folder / "file"), text);
    EXPECT_EQ(modeOf(folder / "file"), 0640U);
    EXPECT_EQ(test::listing(folder.path()), "file");
}

TEST(AtomicWrite, AnEmptyFileIsWritten) {
    const TempFolder folder;
    EXPECT_EQ(writeFileAtomically(folder / "file", ""), 0);
    EXPECT_EQ(test::listing(folder.path()), "file");
}

TEST(AtomicWrite, AFileIsReplaced) {
    const TempFolder folder;
    folder.writeFile("file", "old and longer");
    ASSERT_EQ(::link((folder / "file").c_str(), (folder / "other").c_str()), 0);
    EXPECT_EQ(writeFileAtomically(folder / "file", "new"), 0);
    EXPECT_EQ(readFile(folder / "file"), "new");
    EXPECT_EQ(readFile(folder / "other"), "old and longer");
}

TEST(AtomicWrite, ALinkIsReplacedAndNotFollowed) {
    const TempFolder folder;
    folder.writeFile("victim", "stays");
    folder.makeLink("link", "victim");
    EXPECT_EQ(writeFileAtomically(folder / "link", "new"), 0);
    EXPECT_EQ(readFile(folder / "victim"), "stays");
    EXPECT_EQ(readFile(folder / "link"), "new");
}

TEST(AtomicWrite, FailsWhereAFolderHasTheNameAndLeavesNothing) {
    const TempFolder folder;
    folder.makeFolder("sub");
    EXPECT_EQ(writeFileAtomically(folder / "sub", "new"), EISDIR);
    EXPECT_EQ(writeFileAtomically(folder / "sub/", "new"), EISDIR);
    EXPECT_EQ(writeFileAtomically(folder / "sub/.", "new"), EISDIR);
    EXPECT_EQ(writeFileAtomically(folder / "missing/file", "new"), ENOENT);
    EXPECT_EQ(writeFileAtomically("", "new"), ENOENT);
    EXPECT_EQ(test::listing(folder.path()), "sub");
    const Outcome outcome = nativeFileManager()->writeAtomically(folder / "sub", "new");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().description, "“sub” couldn’t be written: Is a directory");
}

TEST(AtomicWrite, ANameAsLongAsNamesMayBeIsWritten) {
    const TempFolder folder;
    const std::string path = folder / std::string(255, 'n');
    EXPECT_EQ(writeFileAtomically(path, "text"), 0);
    EXPECT_EQ(readFile(path), "text");
    EXPECT_EQ(writeFileAtomically(path + "n", "text"), ENAMETOOLONG);
    EXPECT_EQ(test::listing(folder.path()), std::string(255, 'n'));
}

TEST(AtomicWrite, AFullDiskLeavesTheOldFile) {
    const TempFolder folder;
    const test::OtherFileSystem small(folder, "64k");
    if (!small.available() || !small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    ASSERT_EQ(writeFileAtomically(small / "file", "old"), 0);
    EXPECT_EQ(writeFileAtomically(small / "file", std::string(1 << 20, 'x')), ENOSPC);
    EXPECT_EQ(readFile(small / "file"), "old");
    EXPECT_EQ(test::listing(small.path()), "file");
}

TEST(AtomicWrite, AReaderSeesTheOldFileOrTheNewOne) {
    const TempFolder folder;
    const std::string old(50000, 'a');
    const std::string fresh(50000, 'b');
    ASSERT_EQ(writeFileAtomically(folder / "file", old), 0);
    std::atomic<bool> ended{false};
    std::thread writer([&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(writeFileAtomically(folder / "file", i % 2 == 0 ? fresh : old), 0);
        }
        ended = true;
    });
    while (!ended) {
        const std::string seen = readFile(folder / "file");
        ASSERT_TRUE(seen == old || seen == fresh) << seen.size();
    }
    writer.join();
}

}  // namespace
}  // namespace quillmoor::platform::posix
