#include "quillmoor/platform/posix/fs/tree_size_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string_view>
#include <thread>

#include "quillmoor/platform/native_services.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

std::uint64_t sizeOf(const std::string& path) {
    return treeSize(path, {});
}

// The definition itself, item by item.
std::uint64_t sizeByRecursion(const std::string& path) {
    FileManager& files = *nativeFileManager();
    if (!files.isDirectory(path)) {
        struct stat status {};
        return ::lstat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
    }
    std::uint64_t total = 0;
    for (const std::string& name : files.contentsOfDirectory(path).value_or(StringList()))
        total += sizeByRecursion(std::string(path).append("/").append(name));
    return total;
}

TEST(TreeSize, ATreeOfEveryKindCountsAsItemByItem) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    ASSERT_EQ(::unlink((tree + "/to root").c_str()), 0);
    folder.writeFile("elsewhere/a/file", "elsewhere");
    folder.makeLink("tree/sub/out", folder / "elsewhere");
    folder.makeLink("tree/sub/deeper/out", "../out/a");
    EXPECT_EQ(sizeOf(tree), sizeByRecursion(tree));
    EXPECT_GT(sizeOf(tree), 60U);
}

TEST(TreeSize, AWideTreeWithLinksCountsAsItemByItem) {
    const TempFolder folder;
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 60; ++j)
            folder.writeFile("tree/" + std::to_string(i) + "/sub/" + std::to_string(j),
                             std::string(static_cast<std::size_t>(i + j), 'x'));
    for (int i = 0; i < 7; ++i)
        folder.makeLink("tree/" + std::to_string(i) + "/next", "../" + std::to_string(i + 1));
    EXPECT_EQ(sizeOf(folder / "tree"), sizeByRecursion(folder / "tree"));
}

TEST(TreeSize, AVeryDeepTreeIsMeasuredWithFewDescriptors) {
    const TempFolder folder;
    test::makeDeepTree(folder / "deep", 2000, "a folder's name");
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 64;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(sizeOf(folder / "deep"), 4U);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(treeCount(folder / "deep", {}), (TreeCount{4, 2002}));
    ASSERT_TRUE(nativeFileManager()->removeItem(folder / "deep"));
}

TEST(TreeSize, FoldersThatWerePutAsideAreReadOnFromWhereTheyWereLeft) {
    const TempFolder folder;
    for (int i = 0; i < 3; ++i) {
        test::makeDeepTree(folder / ("tree" + std::to_string(i)), 30, "d");
        ASSERT_EQ(::symlink(("../tree" + std::to_string((i + 1) % 3)).c_str(),
                            (folder / ("tree" + std::to_string(i) + "/d/d/link")).c_str()),
                  0);
        for (int j = 0; j < 3; ++j) {
            const std::string name = "tree" + std::to_string(i) + "/d/side" + std::to_string(j);
            test::makeDeepTree(folder / name, 25, "e");
        }
    }
    EXPECT_EQ(sizeOf(folder.path()), sizeByRecursion(folder.path()));
}

TEST(TreeSize, AChainOfLinksEndsWhereAPathThroughItWould) {
    const TempFolder folder;
    for (int i = 0; i < 60; ++i) {
        folder.writeFile(std::to_string(i) + "/file", "x");
        folder.makeLink(std::to_string(i) + "/next", "../" + std::to_string(i + 1));
    }
    folder.makeFolder("60");
    // A file in each of the folders that 40 links lead to, and the text of the next link. The items
    // are not counted by paths here: a busy system fails early for such paths.
    EXPECT_EQ(sizeOf(folder / "0"), 41U + std::string_view("../41").size());
}

TEST(TreeSize, CountsNothingForAnUnreadableFolder) {
    if (test::isRoot()) GTEST_SKIP() << "root may read everything";
    const TempFolder folder;
    folder.writeFile("tree/closed/file", "hidden");
    folder.writeFile("tree/listed/file", "hidden");
    folder.writeFile("tree/unreadable file", "seen");
    ASSERT_EQ(::chmod((folder / "tree/closed").c_str(), 0), 0);
    ASSERT_EQ(::chmod((folder / "tree/listed").c_str(), 0444), 0);
    ASSERT_EQ(::chmod((folder / "tree/unreadable file").c_str(), 0), 0);
    EXPECT_EQ(sizeOf(folder / "tree"), 4U);
    ASSERT_EQ(::chmod((folder / "tree/closed").c_str(), 0755), 0);
    ASSERT_EQ(::chmod((folder / "tree/listed").c_str(), 0755), 0);
}

TEST(TreeSize, AFolderMovedAboutMeanwhileEndsIt) {
    const TempFolder folder;
    test::makeDeepTree(folder / "tree", 60, "d");
    folder.makeFolder("elsewhere/place");
    std::atomic<bool> ended{false};
    std::thread mover([&] {
        while (!ended)
            ::renameat2(AT_FDCWD, (folder / "tree/d/d/d").c_str(), AT_FDCWD,
                        (folder / "elsewhere/place").c_str(), RENAME_EXCHANGE);
    });
    for (int i = 0; i < 50; ++i) {
        EXPECT_LE(sizeOf(folder / "tree"), 4U);
    }
    ended = true;
    mover.join();
}

TEST(TreeSize, ALinkBeforeItIsCountedMayChangeIntoAnything) {
    const TempFolder folder;
    folder.writeFile("elsewhere/file", "four");
    folder.writeFile("tree/sub/file", "four");
    folder.makeLink("link", folder / "elsewhere");
    const test::ExchangedBeforeOpening exchange("sub", folder / "tree/sub", folder / "link");
    const std::uint64_t size = sizeOf(folder / "tree");
    EXPECT_TRUE(exchange.happened());
    EXPECT_LE(size, 4U);
}

}  // namespace
}  // namespace quillmoor::platform::posix
