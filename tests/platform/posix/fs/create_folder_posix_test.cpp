#include "quillmoor/platform/posix/fs/create_folder_posix.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <vector>

#include "quillmoor/platform/native_services.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

TEST(CreateFolder, MakesAllThatAreMissing) {
    const TempFolder folder;
    EXPECT_EQ(createFolders(folder / "a/b//c/"), 0);
    EXPECT_TRUE(isFolder(folder / "a/b/c"));
    EXPECT_EQ(createFolders(folder / "a/x/../y"), 0);
    EXPECT_EQ(test::listing(folder / "a"), "b x y");
}

TEST(CreateFolder, AFolderOrALinkToOneThatIsThereIsASuccess) {
    const TempFolder folder;
    folder.makeFolder("sub");
    folder.makeLink("link", "sub");
    EXPECT_EQ(createFolders(folder / "sub"), 0);
    EXPECT_EQ(createFolders(folder / "link"), 0);
    EXPECT_EQ(createFolders(folder / "link/inside"), 0);
    EXPECT_TRUE(isFolder(folder / "sub/inside"));
    EXPECT_EQ(createFolders("/"), 0);
}

TEST(CreateFolder, AFileOrADanglingLinkInItsPlaceIsAnError) {
    const TempFolder folder;
    folder.writeFile("file");
    folder.makeLink("dangling", "nowhere");
    EXPECT_EQ(createFolders(folder / "file"), EEXIST);
    EXPECT_EQ(createFolders(folder / "file/"), EEXIST);
    EXPECT_EQ(createFolders(folder / "file/sub"), ENOTDIR);
    EXPECT_EQ(createFolders(folder / "dangling"), EEXIST);
    EXPECT_EQ(createFolders(folder / "dangling/sub"), EEXIST);
    EXPECT_EQ(test::listing(folder.path()), "dangling file");
    const Outcome outcome = nativeFileManager()->createDirectoryWithIntermediates(folder / "file");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().description, "“file” couldn’t be created: File exists");
}

TEST(CreateFolder, RejectsAnEmptyPath) {
    EXPECT_EQ(createFolders(""), ENOENT);
    EXPECT_EQ(createFolders(std::string("/tmp\0x", 6)), ENOENT);
}

TEST(CreateFolder, OfARelativePathIsMadeInTheCurrentFolder) {
    const TempFolder folder;
    ASSERT_EQ(::chdir(folder.path().c_str()), 0);
    EXPECT_EQ(createFolders("a/b"), 0);
    ASSERT_EQ(::chdir("/"), 0);
    EXPECT_TRUE(isFolder(folder / "a/b"));
}

TEST(CreateFolder, TheUmaskDecidesOnTheMode) {
    const TempFolder folder;
    const mode_t before = ::umask(027);
    EXPECT_EQ(createFolders(folder / "a/b"), 0);
    ::umask(before);
    for (const char* name : {"a", "a/b"}) {
        struct stat status {};
        ASSERT_EQ(::stat((folder / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0750U);
        EXPECT_EQ(status.st_uid, ::geteuid());
    }
}

TEST(CreateFolder, AFolderThatMayNotBeWrittenIsAnErrorAndThoseMadeBeforeStay) {
    const TempFolder folder;
    const std::string path = folder / ("made/" + std::string(300, 'x') + "/more");
    const Outcome outcome = native().fileManager->createDirectoryWithIntermediates(path);
    EXPECT_EQ(outcome.error().code, ENAMETOOLONG);
    EXPECT_TRUE(outcome.error().isHalfDone);
    EXPECT_FALSE(native().fileManager->createDirectoryWithIntermediates(path).error().isHalfDone);
    EXPECT_EQ(test::listing(folder.path()), "made");
    if (test::isRoot()) return;
    folder.makeFolder("closed");
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0555), 0);
    EXPECT_EQ(createFolders(folder / "closed/sub"), EACCES);
}

TEST(CreateFolder, APathLongerThanOneCallTakesIsMade) {
    const TempFolder folder;
    const std::string name(100, 'n');
    std::string path = folder / "deep";
    while (path.size() < 10000) path += "/" + name;
    ASSERT_EQ(createFolders(path), 0);
    EXPECT_EQ(createFolders(path), 0);
    EXPECT_TRUE(nativeFileManager()->isDirectory(path));
    EXPECT_TRUE(nativeFileManager()->removeItem(folder / "deep"));
}

TEST(CreateFolder, SeveralThreadsMayMakeTheSameFolder) {
    const TempFolder folder;
    for (int round = 0; round < 20; ++round) {
        const std::string path = folder / (std::to_string(round) + "/a/b/c");
        int errors[4];
        std::vector<std::thread> threads;
        for (int& error : errors) threads.emplace_back([&] { error = createFolders(path); });
        for (std::thread& thread : threads) thread.join();
        for (const int error : errors) {
            EXPECT_EQ(error, 0);
        }
    }
}

}  // namespace
}  // namespace quillmoor::platform::posix
