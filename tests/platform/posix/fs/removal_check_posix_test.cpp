#include "quillmoor/platform/posix/fs/removal_check_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/locked_item.h"

namespace quillmoor::platform::posix {
namespace {

using test::TempFolder;

int check(const std::string& path) {
    DirectoryEntry entry;
    const int error = resolveParent(path, entry);
    return error != 0 ? error : checkRemovable(entry);
}

// Changes what the system says of the items of one name.
class ChangedTraits {
  public:
    ChangedTraits(std::string itemName, std::function<void(RemovalTraits&)> itemChange)
        : calls_(systemCalls()), next_(&systemCalls()) {
        name = std::move(itemName);
        change = std::move(itemChange);
        next = next_;
        calls_.getRemovalTraits = [](int folder, const char* item, RemovalTraits* traits) {
            if (next->getRemovalTraits(folder, item, traits) != 0) return -1;
            if (item == name) change(*traits);
            return 0;
        };
        exchangeSystemCalls(&calls_);
    }
    ~ChangedTraits() { exchangeSystemCalls(next_); }
    ChangedTraits(const ChangedTraits&) = delete;
    ChangedTraits& operator=(const ChangedTraits&) = delete;

  private:
    static inline std::string name;
    static inline std::function<void(RemovalTraits&)> change;
    static inline const SystemCalls* next = nullptr;
    SystemCalls calls_;
    const SystemCalls* next_;
};

TEST(RemovalCheck, LetsItemsOfEveryKindGo) {
    const TempFolder folder;
    const std::string tree = test::makeNastyTree(folder, "tree");
    folder.makeLink("dangling", "nowhere");
    folder.makeLink("link", "/");
    const std::string before = test::describeTree(tree);
    EXPECT_EQ(check(tree), 0);
    EXPECT_EQ(check(folder / "dangling"), 0);
    EXPECT_EQ(check(folder / "link"), 0);
    EXPECT_EQ(check(folder / "missing"), ENOENT);
    EXPECT_EQ(test::describeTree(tree), before);
}

TEST(RemovalCheck, FindsAFolderThatMayNotBeChangedAtAnyDepth) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    for (const int depth : {1, 3, 100}) {
        const std::string tree = folder / std::to_string(depth);
        test::makeDeepTree(tree, depth, "sub");
        std::string closed = tree;
        while (std::filesystem::exists(closed + "/sub")) closed += "/sub";
        EXPECT_EQ(check(tree), 0);
        ASSERT_EQ(::chmod(closed.c_str(), 0555), 0);
        EXPECT_EQ(check(tree), EACCES) << depth;
        ASSERT_EQ(::chmod(closed.c_str(), 0755), 0);
    }
}

TEST(RemovalCheck, FindsAFolderThatMayBeChangedButNotSearchedOrRead) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    for (const mode_t mode : {0666U, 0333U}) {
        ASSERT_EQ(::chmod((folder / "tree/sub").c_str(), mode), 0);
        EXPECT_EQ(check(folder / "tree"), EACCES) << mode;
    }
    ASSERT_EQ(::chmod((folder / "tree/sub").c_str(), 0755), 0);
}

// It needs no right to an empty folder to remove it.
TEST(RemovalCheck, AllowsAnEmptyFolderOfAnyMode) {
    const TempFolder folder;
    folder.makeFolder("tree/empty");
    ASSERT_EQ(::chmod((folder / "tree/empty").c_str(), 0555), 0);
    EXPECT_EQ(check(folder / "tree"), 0);
}

TEST(RemovalCheck, FindsTheFolderThatHoldsTheItem) {
    if (test::isRoot()) GTEST_SKIP() << "root may remove everything";
    const TempFolder folder;
    folder.writeFile("closed/file");
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0555), 0);
    EXPECT_EQ(check(folder / "closed/file"), EACCES);
    ASSERT_EQ(::chmod((folder / "closed").c_str(), 0755), 0);
}

TEST(RemovalCheck, FindsOthersItemsInAnotherUsersStickyFolder) {
    if (!test::isRoot()) GTEST_SKIP() << "needs root to act as two users";
    const TempFolder folder;
    folder.writeFile("tree/sticky/own");
    test::letEverybodyIn(folder);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    for (const char* name : {"tree", "tree/sticky"})
        ASSERT_EQ(::chmod((folder / name).c_str(), 01777), 0);
    const auto giveTo = [&](const char* name, uid_t user) {
        ASSERT_EQ(::chown((folder / name).c_str(), user, user), 0);
    };
    giveTo("tree", test::FakeUser::kId);
    giveTo("tree/sticky/own", test::FakeUser::kId);
    ASSERT_EQ(::seteuid(test::FakeUser::kId), 0);
    EXPECT_EQ(check(folder / "tree"), 0);
    EXPECT_EQ(check(folder / "tree/sticky/own"), 0);
    ASSERT_EQ(::seteuid(0), 0);
    folder.writeFile("tree/sticky/roots");
    EXPECT_EQ(check(folder / "tree"), 0);
    ASSERT_EQ(::seteuid(test::FakeUser::kId), 0);
    EXPECT_EQ(check(folder / "tree"), EPERM);
    EXPECT_EQ(check(folder / "tree/sticky/roots"), EPERM);
    ASSERT_EQ(::seteuid(0), 0);
    // In the user's own folder the user may remove them.
    giveTo("tree/sticky", test::FakeUser::kId);
    ASSERT_EQ(::seteuid(test::FakeUser::kId), 0);
    EXPECT_EQ(check(folder / "tree"), 0);
    ASSERT_EQ(::seteuid(0), 0);
}

TEST(RemovalCheck, FindsWhatTheSystemCallsFixedOrMountedOnAtAnyDepth) {
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    folder.makeLink("tree/sub/link", "file");
    for (const char* name : {"tree", "sub", "file", "link"}) {
        {
            const ChangedTraits fixed(name, [](RemovalTraits& traits) { traits.isFixed = true; });
            EXPECT_EQ(check(folder / "tree"), EPERM) << name;
        }
        const ChangedTraits mount(name, [](RemovalTraits& traits) { traits.isMountPoint = true; });
        EXPECT_EQ(check(folder / "tree"), EBUSY) << name;
    }
    // Of the folder that holds the item only the flags count.
    {
        const ChangedTraits fixed(".", [](RemovalTraits& traits) { traits.isFixed = true; });
        EXPECT_EQ(check(folder / "tree"), EPERM);
    }
    const ChangedTraits mount(".", [](RemovalTraits& traits) { traits.isMountPoint = true; });
    EXPECT_EQ(check(folder / "tree"), 0);
}

TEST(RemovalCheck, FindsOneItemAmongThousands) {
    const TempFolder folder;
    for (int i = 0; i < 3000; ++i)
        folder.writeFile("tree/" + std::to_string(i % 7) + "/" + std::to_string(i));
    EXPECT_EQ(check(folder / "tree"), 0);
    const ChangedTraits fixed("2718", [](RemovalTraits& traits) { traits.isFixed = true; });
    EXPECT_EQ(check(folder / "tree"), EPERM);
}

TEST(RemovalCheck, PassesOverWhatIsRemovedMeanwhile) {
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    const std::string file = folder / "tree/sub/file";
    const ChangedTraits removing("sub", [&](RemovalTraits&) { ::unlink(file.c_str()); });
    EXPECT_EQ(check(folder / "tree"), 0);
}

TEST(RemovalCheck, DoesNotFollowAFolderThatBecomesALink) {
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    const std::string sub = folder / "tree/sub";
    const ChangedTraits swapping("sub", [&](RemovalTraits&) {
        std::filesystem::remove_all(sub);
        std::filesystem::create_symlink("/", sub);
    });
    EXPECT_NE(check(folder / "tree"), 0);
}

TEST(RemovalCheck, FindsALockedItem) {
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    for (const char* name : {"tree/sub/file", "tree/sub", "tree"}) {
        const test::LockedItem locked(folder / name);
        if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
        EXPECT_EQ(check(folder / "tree"), EPERM) << name;
    }
    EXPECT_EQ(check(folder / "tree"), 0);
}

// The system's append-only flag, which keeps a folder's entries as well.
class AppendOnly {
  public:
    explicit AppendOnly(const std::string& path)
        : item_(systemCalls().openat(AT_FDCWD, path.c_str(), O_RDONLY, 0)) {
        isSet_ = linux_::linuxCalls().getItemFlags(item_.get(), &flags_) == 0 &&
                 linux_::linuxCalls().setItemFlags(item_.get(), flags_ | kFlag) == 0;
    }
    ~AppendOnly() {
        if (isSet_) linux_::linuxCalls().setItemFlags(item_.get(), flags_);
    }
    AppendOnly(const AppendOnly&) = delete;
    AppendOnly& operator=(const AppendOnly&) = delete;
    bool isSet() const { return isSet_; }

  private:
    static constexpr int kFlag = 0x20;  // FS_APPEND_FL
    Descriptor item_;
    int flags_ = 0;
    bool isSet_ = false;
};

TEST(RemovalCheck, FindsAnAppendOnlyItem) {
    const TempFolder folder;
    folder.writeFile("above/tree/sub/file");
    for (const char* name : {"above/tree/sub/file", "above/tree/sub", "above/tree", "above"}) {
        const AppendOnly fixed(folder / name);
        if (!fixed.isSet()) GTEST_SKIP() << "no append-only flag here";
        EXPECT_EQ(check(folder / "above/tree"), EPERM) << name;
    }
}

TEST(RemovalCheck, FindsNestedAndReadOnlyMounts) {
    const TempFolder folder;
    folder.writeFile("tree/sub/file");
    folder.writeFile("file");
    folder.makeFolder("tree/empty");
    {
        test::PrivateMounts mounts;
        if (!mounts.bind(folder / "file", folder / "tree/sub/file"))
            GTEST_SKIP() << "nothing can be mounted here";
        EXPECT_EQ(check(folder / "tree"), EBUSY);
    }
    {
        test::PrivateMounts mounts;
        ASSERT_TRUE(mounts.bind(folder / "tree/sub", folder / "tree/empty"));
        EXPECT_EQ(check(folder / "tree"), EBUSY);
        EXPECT_EQ(check(folder / "tree/empty"), EBUSY);
    }
    test::PrivateMounts mounts;
    ASSERT_TRUE(mounts.bind(folder / "tree", folder / "tree"));
    ASSERT_EQ(::mount(nullptr, (folder / "tree").c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY,
                      nullptr),
              0);
    EXPECT_EQ(check(folder / "tree/sub"), EROFS);
    EXPECT_EQ(check(folder / "tree/sub/file"), EROFS);
}

}  // namespace
}  // namespace quillmoor::platform::posix
