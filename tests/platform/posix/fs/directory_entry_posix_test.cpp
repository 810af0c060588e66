#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/native_services.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

Identity identityAt(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return identityOf(status);
}

Identity identityOfOpen(const Descriptor& folder) {
    struct stat status {};
    EXPECT_EQ(::fstat(folder.get(), &status), 0);
    return identityOf(status);
}

// A path of more than `length` bytes that leads through folders of this name.
std::string longPath(const std::string& start, const std::string& name, std::size_t length) {
    std::string path = start;
    while (path.size() <= length) path += "/" + name;
    return path;
}

TEST(DirectoryEntry, IsTheFolderAndTheNameInIt) {
    const TempFolder folder;
    folder.makeFolder("sub");
    DirectoryEntry entry;
    ASSERT_EQ(resolveParent(folder / "sub//item", entry), 0);
    EXPECT_EQ(entry.name, "item");
    EXPECT_FALSE(entry.asFolder);
    EXPECT_EQ(identityOfOpen(entry.folder), identityAt(folder / "sub"));
}

TEST(DirectoryEntry, OfARelativePathBeginsInTheCurrentFolder) {
    const TempFolder folder;
    ASSERT_EQ(::chdir(folder.path().c_str()), 0);
    DirectoryEntry entry;
    ASSERT_EQ(resolveParent("item", entry), 0);
    EXPECT_EQ(identityOfOpen(entry.folder), identityAt(folder.path()));
    ASSERT_EQ(::chdir("/"), 0);
}

TEST(DirectoryEntry, ASlashAtTheEndIsRemembered) {
    const TempFolder folder;
    DirectoryEntry entry;
    ASSERT_EQ(resolveParent(folder / "item//", entry), 0);
    EXPECT_EQ(entry.name, "item");
    EXPECT_TRUE(entry.asFolder);
}

TEST(DirectoryEntry, OfTheRootIsTheRootItself) {
    for (const char* path : {"/", "//", "///"}) {
        DirectoryEntry entry;
        ASSERT_EQ(resolveParent(path, entry), 0);
        EXPECT_EQ(entry.name, ".");
        EXPECT_FALSE(entry.hasNameOfItsOwn());
        EXPECT_EQ(identityOfOpen(entry.folder), identityAt("/"));
    }
}

TEST(DirectoryEntry, OfAnEmptyPathIsMissing) {
    DirectoryEntry entry;
    EXPECT_EQ(resolveParent("", entry), ENOENT);
    EXPECT_EQ(resolveParent(std::string_view("/tmp\0/x", 7), entry), ENOENT);
    Descriptor folder;
    EXPECT_EQ(openFolder("", folder), ENOENT);
}

TEST(DirectoryEntry, CannotBeBelowAFile) {
    const TempFolder folder;
    folder.writeFile("file");
    DirectoryEntry entry;
    EXPECT_EQ(resolveParent(folder / "file/x", entry), ENOTDIR);
}

TEST(DirectoryEntry, IsResolvedForAPathThatIsTooLongForOneCall) {
    const TempFolder folder;
    const std::string name(60, 'n');
    test::makeDeepTree(folder / "deep", 150, name);
    for (std::size_t length = 4085; length < 4110; ++length) {
        // Slashes make the path exactly that long.
        std::string path = longPath(folder / "deep", name, length - 70);
        path += std::string(length - path.size(), '/');
        DirectoryEntry entry;
        ASSERT_EQ(resolveParent(path + "bottom", entry), 0) << length;
        EXPECT_EQ(entry.name, "bottom");
    }
    DirectoryEntry entry;
    const std::string bottom = longPath(folder / "deep", name, (folder / "deep").size() + 149 * 61);
    ASSERT_GT(bottom.size(), 9000U);
    ASSERT_EQ(resolveParent(bottom + "/bottom", entry), 0);
    struct stat status {};
    EXPECT_EQ(statusOf(entry, FollowLink::No, status), 0);
    EXPECT_EQ(status.st_size, 4);
    EXPECT_EQ(statusAt(bottom + "/bottom", status), 0);
    EXPECT_EQ(statusAt(bottom + "/nothing", status), ENOENT);
    EXPECT_EQ(statusAt(bottom + "/bottom/", status), ENOTDIR);
    EXPECT_TRUE(nativeFileManager()->removeItem(folder / "deep"));
}

TEST(DirectoryEntry, ANameThatNoFileSystemTakesIsTooLong) {
    const TempFolder folder;
    struct stat status {};
    EXPECT_EQ(statusAt(folder / std::string(300, 'x'), status), ENAMETOOLONG);
    EXPECT_EQ(statusAt(folder / std::string(5000, 'x'), status), ENAMETOOLONG);
    EXPECT_EQ(statusAt(folder / (std::string(5000, 'x') + "/y"), status), ENAMETOOLONG);
}

TEST(DirectoryEntry, DeterminesWhatIsBelowAFolder) {
    const TempFolder folder;
    folder.makeFolder("a/b/c");
    folder.makeFolder("ab");
    Descriptor inner;
    ASSERT_EQ(openFolder(folder / "a/b/c", inner), 0);
    EXPECT_TRUE(isSameOrBelow(inner.get(), identityAt(folder / "a")));
    EXPECT_TRUE(isSameOrBelow(inner.get(), identityAt(folder / "a/b/c")));
    EXPECT_TRUE(isSameOrBelow(inner.get(), identityAt("/")));
    EXPECT_FALSE(isSameOrBelow(inner.get(), identityAt(folder / "ab")));
}

TEST(DirectoryEntry, AFolderMayBeSearchableAndNotReadable) {
    const TempFolder folder;
    folder.writeFile("closed/item", "inside");
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0311), 0);
    DirectoryEntry entry;
    struct stat status {};
    ASSERT_EQ(resolveParent(folder / "closed/item", entry), 0);
    EXPECT_EQ(statusOf(entry, FollowLink::No, status), 0);
}

}  // namespace
}  // namespace quillmoor::platform::posix
