#include "quillmoor/platform/posix/fs/tree_remove_posix.h"

#include <fcntl.h>
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
#include <utility>
#include <vector>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/stop_at_call.h"
#include "tests/support/few_descriptors.h"

namespace quillmoor::platform::posix {
namespace {

using test::somethingAt;
using test::TempFolder;

Outcome removeItem(const std::string& path) {
    return nativeFileManager()->removeItem(path);
}

TEST(TreeRemove, RemovesItemsOfEveryKindAndKeepsLinkTargets) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    const std::string victim = folder.writeFile("victim/file", "stays");
    folder.makeLink("tree/to victim", folder / "victim");
    folder.makeLink("tree/sub/to file", victim);
    ASSERT_TRUE(removeItem(tree));
    EXPECT_FALSE(somethingAt(tree));
    EXPECT_EQ(test::readFile(victim), "stays");
}

TEST(TreeRemove, RemovesASocket) {
    const TempFolder folder;
    folder.makeFolder("tree");
    ASSERT_EQ(::chdir((folder / "tree").c_str()), 0);
    const Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "socket");
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::chdir("/"), 0);
    EXPECT_TRUE(removeItem(folder / "tree"));
    EXPECT_FALSE(somethingAt(folder / "tree"));
}

TEST(TreeRemove, RemovesAVeryDeepTreeWithFewDescriptorsAndLittleStack) {
    const TempFolder folder;
    test::makeDeepTree(folder / "deep", 2000, "a folder's name");
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 64;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    EXPECT_TRUE(removeItem(folder / "deep"));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_FALSE(somethingAt(folder / "deep"));
}

TEST(TreeRemove, RemovesADeepTreeWithManyBranches) {
    const TempFolder folder;
    folder.makeFolder("tree");
    for (int i = 0; i < 3; ++i)
        test::makeDeepTree(folder / ("tree/deep " + std::to_string(i)), 70, "d");
    for (int i = 0; i < 3; ++i) {
        folder.writeFile("tree/file " + std::to_string(i));
        folder.writeFile("tree/deep 0/d/d/d/file " + std::to_string(i));
        test::makeDeepTree(folder / ("tree/deep 1/d/d/side " + std::to_string(i)), 50, "e");
    }
    ASSERT_TRUE(removeItem(folder / "tree"));
    EXPECT_FALSE(somethingAt(folder / "tree"));
}

TEST(TreeRemove, RemovesAWideFolder) {
    const TempFolder folder;
    for (int i = 0; i < 500; ++i) folder.writeFile("wide/" + std::to_string(i));
    ASSERT_TRUE(removeItem(folder / "wide"));
    EXPECT_FALSE(somethingAt(folder / "wide"));
}

TEST(TreeRemove, RemovesTheRestOfATreeWithUnremovableItems) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    folder.writeFile("tree/closed/kept", "kept");
    folder.writeFile("tree/a");
    folder.writeFile("tree/z/file");
    ASSERT_EQ(::chmod((folder / "tree/closed").c_str(), 0555), 0);
    const Outcome outcome = removeItem(folder / "tree");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().description, "“tree” couldn’t be removed: Permission denied");
    EXPECT_TRUE(outcome.error().isHalfDone);
    EXPECT_FALSE(removeItem(folder / "tree").error().isHalfDone);
    EXPECT_EQ(test::listing(folder / "tree"), "closed");
    EXPECT_EQ(test::readFile(folder / "tree/closed/kept"), "kept");
}

TEST(TreeRemove, EndsWithUnremovableItemsDeepDown) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    test::makeDeepTree(folder / "tree", 100, "d");
    std::string bottom = folder / "tree";
    for (int i = 0; i < 100; ++i) bottom += "/d";
    ASSERT_EQ(::chmod(bottom.c_str(), 0555), 0);
    const Outcome outcome = removeItem(folder / "tree");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, EACCES);
    EXPECT_EQ(test::readFile(bottom + "/bottom"), "here");
    ASSERT_EQ(::chmod(bottom.c_str(), 0755), 0);
    EXPECT_TRUE(removeItem(folder / "tree"));
}

TEST(TreeRemove, RemovesAnUnreadableEmptyFolder) {
    const TempFolder folder;
    folder.makeFolder("tree/unreadable");
    ASSERT_EQ(::chmod((folder / "tree/unreadable").c_str(), 0), 0);
    EXPECT_TRUE(removeItem(folder / "tree"));
    EXPECT_FALSE(somethingAt(folder / "tree"));
}

TEST(TreeRemove, AnUnreadableFolderThatHoldsSomethingStays) {
    if (test::isRoot()) GTEST_SKIP() << "root may read everything";
    const TempFolder folder;
    folder.writeFile("tree/unreadable/file", "kept");
    ASSERT_EQ(::chmod((folder / "tree/unreadable").c_str(), 0), 0);
    const Outcome outcome = removeItem(folder / "tree");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, EACCES);
    ASSERT_EQ(::chmod((folder / "tree/unreadable").c_str(), 0755), 0);
    EXPECT_EQ(test::readFile(folder / "tree/unreadable/file"), "kept");
}

TEST(TreeRemove, RemovesAnOwnTreeOfAnyModes) {
    const TempFolder folder;
    folder.writeFile("tree/unreadable/file");
    folder.writeFile("tree/unwritable/sub/file");
    ASSERT_EQ(::chmod((folder / "tree/unreadable").c_str(), 0), 0);
    ASSERT_EQ(::chmod((folder / "tree/unwritable/sub").c_str(), 0555), 0);
    ASSERT_EQ(::chmod((folder / "tree/unwritable").c_str(), 0555), 0);
    const Descriptor parent(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
    const RemovalResult result = removeTree(parent.get(), "tree", TreeKind::OurOwn);
    EXPECT_EQ(result.error, 0);
    EXPECT_TRUE(result.removedSomething);
    EXPECT_FALSE(somethingAt(folder / "tree"));
}

TEST(TreeRemove, ReportsWhetherAnythingWasRemoved) {
    const TempFolder folder;
    const Descriptor parent(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
    const RemovalResult result = removeTree(parent.get(), "missing", TreeKind::Given);
    EXPECT_EQ(result.error, ENOENT);
    EXPECT_FALSE(result.removedSomething);
}

TEST(TreeRemove, FoldersWithoutNamesOfTheirOwnAreRefused) {
    const TempFolder folder;
    folder.writeFile("sub/file", "stays");
    for (const std::string& path : {folder / "sub/.", folder / "sub/..", folder / "sub/./",
                                    std::string("/"), std::string("."), std::string("..")}) {
        const Outcome outcome = removeItem(path);
        ASSERT_FALSE(outcome) << path;
        EXPECT_EQ(outcome.error().code, EINVAL);
    }
    EXPECT_EQ(test::readFile(folder / "sub/file"), "stays");
}

TEST(TreeRemove, ASlashAtTheEndAsksForAFolder) {
    const TempFolder folder;
    const std::string file = folder.writeFile("file");
    folder.writeFile("folder/inside", "stays");
    const std::string link = folder.makeLink("link", "folder");
    const Outcome outcome = removeItem(file + "/");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, ENOTDIR);
    EXPECT_TRUE(somethingAt(file));
    // The link is removed, not its target.
    EXPECT_TRUE(removeItem(link + "/"));
    EXPECT_FALSE(somethingAt(link));
    EXPECT_EQ(test::readFile(folder / "folder/inside"), "stays");
    EXPECT_TRUE(removeItem(folder / "folder//"));
    EXPECT_FALSE(somethingAt(folder / "folder"));
}

// Somebody swaps a folder of the tree, again and again, for a link to a folder elsewhere.
class Swapper {
  public:
    Swapper(std::string one, std::string other)
        : one_(std::move(one)), other_(std::move(other)), thread_([this] { run(); }) {}
    ~Swapper() {
        ended_ = true;
        thread_.join();
    }

  private:
    void run() {
        while (!ended_)
            ::renameat2(AT_FDCWD, one_.c_str(), AT_FDCWD, other_.c_str(), RENAME_EXCHANGE);
    }

    const std::string one_;
    const std::string other_;
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

TEST(TreeRemove, AFolderSwappedForALinkRightBeforeItIsOpenedIsNotFollowed) {
    const TempFolder folder;
    folder.writeFile("victim/file", "stays");
    folder.writeFile("tree/sub/file", "swapped away");
    folder.makeLink("link", folder / "victim");
    const test::ExchangedBeforeOpening exchange("sub", folder / "tree/sub", folder / "link");
    EXPECT_TRUE(removeItem(folder / "tree"));
    EXPECT_TRUE(exchange.happened());
    EXPECT_FALSE(somethingAt(folder / "tree"));
    EXPECT_EQ(test::readFile(folder / "victim/file"), "stays");
    EXPECT_EQ(test::readFile(folder / "link/file"), "swapped away");
}

TEST(TreeRemove, AnItemSwappedForALinkRightBeforeItIsOpenedIsNotFollowed) {
    const TempFolder folder;
    folder.writeFile("victim/file", "stays");
    folder.writeFile("tree/file", "swapped away");
    folder.makeLink("link", folder / "victim");
    const test::ExchangedBeforeOpening exchange("tree", folder / "tree", folder / "link");
    EXPECT_TRUE(removeItem(folder / "tree"));
    EXPECT_TRUE(exchange.happened());
    EXPECT_EQ(test::readFile(folder / "victim/file"), "stays");
}

TEST(TreeRemove, DoesNotFollowAFolderThatIsSwappedForALink) {
    const TempFolder folder;
    for (int i = 0; i < 20; ++i) folder.writeFile("victim/sub/file " + std::to_string(i), "stays");
    const std::string victim = test::describeTree(folder / "victim");
    for (int round = 0; round < 30; ++round) {
        for (int i = 0; i < 20; ++i) folder.writeFile("tree/sub/sub/file " + std::to_string(i));
        folder.makeLink("link", folder / "victim");
        {
            const Swapper swapper(folder / "tree/sub", folder / "link");
            // It may fail or succeed: the swap may be faster.
            static_cast<void>(removeItem(folder / "tree"));
        }
        ASSERT_EQ(test::describeTree(folder / "victim"), victim) << round;
        for (const char* name : {"tree", "link"})
            if (somethingAt(folder / name)) {
                ASSERT_TRUE(removeItem(folder / name));
            }
    }
}

TEST(TreeRemove, AFolderMovedAwayMeanwhileDoesNotLeadItAstray) {
    const TempFolder folder;
    for (int round = 0; round < 10; ++round) {
        folder.writeFile("elsewhere/kept", "stays");
        test::makeDeepTree(folder / "tree", 80, "d");
        folder.makeFolder("elsewhere/place");
        {
            const Swapper swapper(folder / "tree/d/d/d", folder / "elsewhere/place");
            static_cast<void>(removeItem(folder / "tree"));
        }
        ASSERT_EQ(test::readFile(folder / "elsewhere/kept"), "stays");
        for (const char* name : {"tree", "elsewhere"})
            if (somethingAt(folder / name)) {
                ASSERT_TRUE(removeItem(folder / name));
            }
    }
}

TEST(TreeRemove, AStopLeavesTheRest) {
    for (int nth = 1; nth < 100; nth += 24) {
        const TempFolder folder;
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 30; ++j)
                folder.writeFile("tree/" + std::to_string(i) + "/" + std::to_string(j));
        const test::StopAtCall stop(test::StopAtCall::Kind::UnlinkAt, nth);
        EXPECT_EQ(removePath(folder / "tree", stop.token()).error, ECANCELED) << nth;
        EXPECT_GT(nativeFileTree()->count(folder / "tree", {}).items, 1U) << nth;
    }
}

TEST(TreeRemove, AStopBeforehandLeavesAll) {
    const TempFolder folder;
    folder.writeFile("tree/file", "text");
    const StopSource source;
    source.requestStop();
    EXPECT_EQ(removePath(folder / "tree", source.token()).error, ECANCELED);
    EXPECT_EQ(test::readFile(folder / "tree/file"), "text");
}

TEST(TreeRemove, SucceedsWhenTheStopComesTooLate) {
    const TempFolder folder;
    folder.writeFile("tree/file");
    const test::StopAtCall stop(test::StopAtCall::Kind::UnlinkAt, 3);
    EXPECT_EQ(removePath(folder / "tree", stop.token()).error, 0);
    EXPECT_FALSE(somethingAt(folder / "tree"));
}

TEST(TreeRemove, RemovesTheRestOfALargeTreeWithUnremovableItems) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    for (int i = 0; i < 200; ++i) {
        const std::string name = "tree/" + std::to_string(i % 20) + "/" + std::to_string(i);
        folder.writeFile(name + "/file");
        if (i % 50 == 7) {
            ASSERT_EQ(::chmod((folder / name).c_str(), 0555), 0);
        }
    }
    const Outcome outcome = removeItem(folder / "tree");
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, EACCES);
    // The tree, two folders (7 and 17), and in each two that are closed, with a file.
    EXPECT_EQ(nativeFileTree()->count(folder / "tree", {}).items, 1U + 2U + 4U + 4U);
}

Descriptor openFolderAt(const std::string& path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

TEST(EmptyFolder, RemovesAllThatIsInItAndFollowsNoLink) {
    const TempFolder folder;
    const std::string kept = folder.writeFile("outside/kept", "stays");
    const std::string tree = test::makeNastyTree(folder, "tree");
    folder.makeLink("tree/link", folder / "outside");
    folder.writeFile("tree/closed/inner/file");
    ASSERT_EQ(::chmod((folder / "tree/closed/inner").c_str(), 0555), 0);
    ASSERT_EQ(::chmod((folder / "tree/closed").c_str(), 0), 0);
    EXPECT_EQ(emptyFolder(openFolderAt(tree).get()), 0);
    EXPECT_EQ(test::listing(tree), "");
    EXPECT_EQ(test::readFile(kept), "stays");
    EXPECT_EQ(emptyFolder(openFolderAt(tree).get()), 0);
}

TEST(EmptyFolder, RemovesWhatIsInAWideFolder) {
    const TempFolder folder;
    for (int i = 0; i < 500; ++i) {
        folder.writeFile("wide/" + std::to_string(i));
        folder.makeFolder("wide/folder " + std::to_string(i));
    }
    EXPECT_EQ(emptyFolder(openFolderAt(folder / "wide").get()), 0);
    EXPECT_EQ(test::listing(folder / "wide"), "");
}

// All descriptors are in use but so many.
class DescriptorsLeft {
  public:
    DescriptorsLeft(int open, std::size_t count) {
        for (Descriptor copy(::dup(open)); copy; copy = Descriptor(::dup(open)))
            used_.push_back(std::move(copy));
        used_.resize(used_.size() - count);
    }

  private:
    const test::FewDescriptors most_{64};
    std::vector<Descriptor> used_;
};

TEST(EmptyFolder, NeedsNoMoreDescriptorsThanItSays) {
    const TempFolder folder;
    folder.makeFolder("tree");
    test::makeDeepTree(folder / "tree/deep", 200, "d");
    folder.writeFile("tree/deep/d/side/file");
    const Descriptor tree = openFolderAt(folder / "tree");
    {
        const DescriptorsLeft tooFew(tree.get(), kDescriptorsToEmpty - 1);
        EXPECT_EQ(emptyFolder(tree.get()), EMFILE);
    }
    EXPECT_NE(test::listing(folder / "tree"), "");
    {
        const DescriptorsLeft enough(tree.get(), kDescriptorsToEmpty);
        EXPECT_EQ(emptyFolder(tree.get()), 0);
    }
    EXPECT_EQ(test::listing(folder / "tree"), "");
}

// A folder is moved elsewhere when the first file in it is to be removed.
class MovedWhenEmptied {
  public:
    MovedWhenEmptied(std::string from, std::string to) : calls_(systemCalls()) {
        from_ = std::move(from);
        to_ = std::move(to);
        calls_.unlinkat = [](int folder, const char* name, int flags) {
            if (!from_.empty()) {
                EXPECT_EQ(::rename(from_.c_str(), to_.c_str()), 0);
            }
            from_.clear();
            return next_->unlinkat(folder, name, flags);
        };
        next_ = exchangeSystemCalls(&calls_);
    }
    ~MovedWhenEmptied() { exchangeSystemCalls(next_); }
    MovedWhenEmptied(const MovedWhenEmptied&) = delete;
    MovedWhenEmptied& operator=(const MovedWhenEmptied&) = delete;

  private:
    static inline std::string from_;
    static inline std::string to_;
    static inline const SystemCalls* next_ = nullptr;
    SystemCalls calls_;
};

TEST(EmptyFolder, EndsWhenAFolderInItIsMovedElsewhere) {
    const TempFolder folder;
    folder.writeFile("other/precious", "stays");
    folder.writeFile("tree/inner/file");
    const Descriptor tree = openFolderAt(folder / "tree");
    const MovedWhenEmptied move(folder / "tree/inner", folder / "other/inner");
    EXPECT_EQ(emptyFolder(tree.get()), EBUSY);
    EXPECT_EQ(test::readFile(folder / "other/precious"), "stays");
}

TEST(EmptyFolder, ReportsThatItCannotBeRead) {
    EXPECT_EQ(emptyFolder(-1), EBADF);
}

}  // namespace
}  // namespace quillmoor::platform::posix
