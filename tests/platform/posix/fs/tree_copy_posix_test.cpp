#include "quillmoor/platform/posix/fs/tree_copy_posix.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/stop_at_call.h"

namespace quillmoor::platform::posix {
namespace {

using test::describeTree;
using test::somethingAt;
using test::TempFolder;

Outcome copyItem(const std::string& path, const std::string& destination) {
    return nativeFileManager()->copyItem(path, destination);
}

int codeOf(const Outcome& outcome) {
    return outcome ? 0 : outcome.error().code;
}

TEST(TreeCopy, ATreeOfEveryKindIsCopiedWithAllThatItsItemsHave) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    const std::string before = describeTree(tree);
    ASSERT_EQ(codeOf(copyItem(tree, folder / "copy")), 0);
    EXPECT_EQ(describeTree(folder / "copy"), before);
    EXPECT_EQ(describeTree(tree), before);
    EXPECT_EQ(test::listing(folder.path()), "copy tree");
}

TEST(TreeCopy, SingleItemsAreCopied) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    for (const char* name : {"plain", "dangling", "to folder", "fifo", "empty"}) {
        const std::string copy = folder / (std::string("copy of ") + name);
        ASSERT_EQ(codeOf(copyItem(tree + "/" + name, copy)), 0) << name;
        EXPECT_EQ(describeTree(copy), describeTree(tree + "/" + name));
    }
}

TEST(TreeCopy, AnExistingDestinationStaysAsItWas) {
    const TempFolder folder;
    folder.writeFile("source", "new");
    folder.writeFile("file", "old");
    folder.makeFolder("folder");
    folder.makeLink("dangling", "nowhere");
    for (const char* name : {"file", "folder", "dangling", "source"}) {
        const std::string before = describeTree(folder / name);
        const Outcome outcome = copyItem(folder / "source", folder / name);
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().description, "“source” couldn’t be copied: File exists");
        EXPECT_EQ(describeTree(folder / name), before);
    }
    EXPECT_EQ(test::listing(folder.path()), "dangling file folder source");
}

TEST(TreeCopy, AMissingSourceOrDestinationFolderIsAnError) {
    const TempFolder folder;
    folder.writeFile("file");
    EXPECT_EQ(codeOf(copyItem(folder / "missing", folder / "copy")), ENOENT);
    EXPECT_EQ(codeOf(copyItem(folder / "file", folder / "missing/copy")), ENOENT);
    EXPECT_EQ(codeOf(copyItem(folder / "file", folder / "file/copy")), ENOTDIR);
    EXPECT_EQ(codeOf(copyItem("", folder / "copy")), ENOENT);
    EXPECT_EQ(codeOf(copyItem(folder / "file", "")), ENOENT);
    EXPECT_EQ(test::listing(folder.path()), "file");
}

TEST(TreeCopy, ASlashAtTheEndAsksForAFolder) {
    const TempFolder folder;
    folder.writeFile("file");
    folder.makeFolder("sub");
    EXPECT_EQ(codeOf(copyItem(folder / "file/", folder / "copy")), ENOTDIR);
    EXPECT_EQ(codeOf(copyItem(folder / "file", folder / "copy/")), ENOTDIR);
    EXPECT_EQ(codeOf(copyItem(folder / "sub/", folder / "copy/")), 0);
    EXPECT_EQ(test::listing(folder.path()), "copy file sub");
}

TEST(TreeCopy, AFolderDoesNotGoIntoItself) {
    const TempFolder folder;
    folder.makeFolder("tree/sub/deeper");
    folder.makeLink("way in", "tree/sub");
    for (const char* name : {"tree/copy", "tree/sub/deeper/copy", "way in/copy"}) {
        EXPECT_EQ(codeOf(copyItem(folder / "tree", folder / name)), EINVAL) << name;
    }
    EXPECT_EQ(test::listing(folder / "tree/sub"), "deeper");
    // Its brother, whose name begins with its own, may.
    EXPECT_EQ(codeOf(copyItem(folder / "tree", folder / "tree 2")), 0);
}

TEST(TreeCopy, FailsForASocketAndLeavesNothing) {
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    ASSERT_EQ(::chdir((folder / "tree/sub").c_str()), 0);
    const Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "socket");
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::chdir("/"), 0);
    const Outcome outcome = copyItem(folder / "tree", folder / "copy");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().description, "“tree” couldn’t be copied: Operation not supported");
    EXPECT_EQ(test::listing(folder.path()), "tree");
}

TEST(TreeCopy, ADeviceIsAnError) {
    const TempFolder folder;
    EXPECT_EQ(codeOf(copyItem("/dev/null", folder / "copy")), EOPNOTSUPP);
    EXPECT_EQ(test::listing(folder.path()), "");
}

TEST(TreeCopy, AnUnreadableItemIsAnErrorAndNothingIsLeft) {
    if (test::isRoot()) GTEST_SKIP() << "root may read everything";
    const TempFolder folder;
    folder.writeFile("tree/a/file", "a");
    folder.writeFile("tree/b/secret", "b");
    // Copied before the error, and closed to its owner: it must go all the same.
    ASSERT_EQ(::chmod((folder / "tree/a").c_str(), 0555), 0);
    ASSERT_EQ(::chmod((folder / "tree/b/secret").c_str(), 0), 0);
    EXPECT_EQ(codeOf(copyItem(folder / "tree", folder / "copy")), EACCES);
    EXPECT_EQ(test::listing(folder.path()), "tree");
}

TEST(TreeCopy, ReadOnlyFoldersAreCopied) {
    const TempFolder folder;
    folder.writeFile("tree/closed/sub/file", "inside");
    for (const char* name : {"tree/closed/sub", "tree/closed", "tree"}) {
        ASSERT_EQ(::chmod((folder / name).c_str(), 0555), 0);
    }
    ASSERT_EQ(codeOf(copyItem(folder / "tree", folder / "copy")), 0);
    EXPECT_EQ(describeTree(folder / "copy"), describeTree(folder / "tree"));
}

TEST(TreeCopy, HardLinksBecomeFilesOfTheirOwn) {
    const TempFolder folder;
    folder.writeFile("tree/one", "same");
    ASSERT_EQ(::link((folder / "tree/one").c_str(), (folder / "tree/two").c_str()), 0);
    ASSERT_EQ(codeOf(copyItem(folder / "tree", folder / "copy")), 0);
    struct stat one {};
    ASSERT_EQ(::stat((folder / "copy/one").c_str(), &one), 0);
    EXPECT_EQ(one.st_nlink, 1U);
    EXPECT_EQ(test::readFile(folder / "copy/two"), "same");
}

TEST(TreeCopy, AVeryDeepTreeIsCopiedWithFewDescriptors) {
    const TempFolder folder;
    const std::string name = "a folder's name";
    test::makeDeepTree(folder / "deep", 2000, name);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 64;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_EQ(codeOf(copyItem(folder / "deep", folder / "copy")), 0);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(test::depthOf(folder / "copy", name), 2000);
    for (const char* each : {"deep", "copy"}) {
        EXPECT_TRUE(nativeFileManager()->removeItem(folder / each));
    }
}

TEST(TreeCopy, FoldersThatWerePutAsideAreReadOnFromWhereTheyWereLeft) {
    const TempFolder folder;
    folder.makeFolder("tree");
    for (int i = 0; i < 4; ++i) {
        test::makeDeepTree(folder / ("tree/deep " + std::to_string(i)), 45, "d");
        folder.writeFile("tree/file " + std::to_string(i), std::to_string(i));
        test::makeDeepTree(folder / ("tree/deep 0/d/d/side " + std::to_string(i)), 40, "e");
    }
    ASSERT_EQ(codeOf(copyItem(folder / "tree", folder / "copy")), 0);
    EXPECT_EQ(describeTree(folder / "copy"), describeTree(folder / "tree"));
}

TEST(TreeCopy, ANameAsLongAsNamesMayBeIsCopied) {
    const TempFolder folder;
    const std::string name(255, 'n');
    folder.writeFile("file", "text");
    ASSERT_EQ(codeOf(copyItem(folder / "file", folder / name)), 0);
    EXPECT_EQ(test::readFile(folder / name), "text");
    EXPECT_EQ(codeOf(copyItem(folder / "file", folder / (name + "n"))), ENAMETOOLONG);
}

TEST(TreeCopy, AFullDiskLeavesNothing) {
    const TempFolder folder;
    const test::OtherFileSystem small(folder, "64k");
    if (!small.available() || !small.isLimited()) GTEST_SKIP() << "nothing can be mounted here";
    folder.writeFile("tree/first", "fits");
    folder.writeFile("tree/second", std::string(1 << 20, 'x'));
    const Outcome outcome = copyItem(folder / "tree", small / "copy");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().description, "“tree” couldn’t be copied: No space left on device");
    EXPECT_EQ(test::listing(small.path()), "");
}

TEST(TreeCopy, AFolderSwappedForALinkRightBeforeItIsOpenedIsNotFollowed) {
    const TempFolder folder;
    folder.writeFile("secret/key", "secret");
    folder.writeFile("tree/sub/file", "swapped away");
    folder.makeLink("link", folder / "secret");
    const test::ExchangedBeforeOpening exchange("sub", folder / "tree/sub", folder / "link");
    EXPECT_FALSE(copyItem(folder / "tree", folder / "copy"));
    EXPECT_TRUE(exchange.happened());
    EXPECT_EQ(test::listing(folder.path()), "link secret tree");
}

TEST(TreeCopy, AFolderSwappedForALinkMeanwhileIsNeverFollowed) {
    const TempFolder folder;
    folder.writeFile("secret/sub/key", "secret");
    folder.writeFile("tree/sub/sub/file", "open");
    folder.makeLink("link", folder / "secret");
    std::atomic<bool> ended{false};
    std::thread swapper([&] {
        while (!ended)
            ::renameat2(AT_FDCWD, (folder / "tree/sub").c_str(), AT_FDCWD,
                        (folder / "link").c_str(), RENAME_EXCHANGE);
    });
    for (int round = 0; round < 40; ++round) {
        // It may fail or not; a copied link is a link.
        static_cast<void>(copyItem(folder / "tree", folder / "copy"));
        struct stat status {};
        const bool isFolder =
            ::lstat((folder / "copy/sub").c_str(), &status) == 0 && S_ISDIR(status.st_mode);
        EXPECT_FALSE(isFolder && somethingAt(folder / "copy/sub/sub/key"));
        if (somethingAt(folder / "copy")) {
            EXPECT_TRUE(nativeFileManager()->removeItem(folder / "copy"));
        }
    }
    ended = true;
    swapper.join();
}

TEST(TreeCopy, AStopWithinALargeFileLeavesNothing) {
    const TempFolder folder;
    folder.writeFile("tree/large", std::string(5 << 20, 'x'));
    const test::StopAtCall stop(test::StopAtCall::Kind::Write, 2);
    TreeProgress progress;
    const Outcome outcome =
        nativeFileTree()->copy(folder / "tree", folder / "copy", &progress, stop.token());
    EXPECT_EQ(codeOf(outcome), ECANCELED);
    EXPECT_LT(progress.bytes, 5U << 20U);
    EXPECT_EQ(test::listing(folder.path()), "tree");
}

TEST(TreeCopy, AStopAtAnyMomentLeavesNothing) {
    const TempFolder folder;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 30; ++j)
            folder.writeFile("tree/" + std::to_string(i) + "/" + std::to_string(j), "text");
    const std::string before = describeTree(folder / "tree");
    for (int nth = 1; nth < 280; nth += 31) {
        const test::StopAtCall stop(test::StopAtCall::Kind::OpenAt, nth);
        const Outcome outcome =
            nativeFileTree()->copy(folder / "tree", folder / "copy", nullptr, stop.token());
        EXPECT_EQ(codeOf(outcome), ECANCELED) << nth;
        EXPECT_EQ(test::listing(folder.path()), "tree") << nth;
    }
    EXPECT_EQ(describeTree(folder / "tree"), before);
}

TEST(TreeCopy, ProgressCountsHolesAsWell) {
    const TempFolder folder;
    folder.writeFile("tree/sparse", "begin");
    ASSERT_EQ(::truncate((folder / "tree/sparse").c_str(), 3 << 20), 0);
    TreeProgress progress;
    ASSERT_TRUE(nativeFileTree()->copy(folder / "tree", folder / "copy", &progress, {}));
    EXPECT_EQ(progress.bytes, 3U << 20U);
    EXPECT_EQ(progress.items, 2U);
}

TEST(TreeCopy, ALargeTreeOfEveryKindIsCopiedByManyThreads) {
    const TempFolder folder;
    for (int i = 0; i < 12; ++i) test::makeNastyTree(folder, "tree/nasty " + std::to_string(i));
    for (int i = 0; i < 300; ++i)
        folder.writeFile("tree/flat/" + std::to_string(i), std::string(1000, 'x'));
    ASSERT_EQ(codeOf(copyItem(folder / "tree", folder / "copy")), 0);
    EXPECT_EQ(describeTree(folder / "copy"), describeTree(folder / "tree"));
}

}  // namespace
}  // namespace quillmoor::platform::posix
