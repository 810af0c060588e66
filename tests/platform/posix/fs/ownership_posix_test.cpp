#include "quillmoor/platform/posix/fs/ownership_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform::posix {
namespace {

using test::FakeUser;
using test::TempFolder;

uid_t ownerOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_uid;
}

Descriptor opened(const std::string& path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool created(const std::string& path) {
    return static_cast<bool>(nativeFileManager()->createDirectoryWithIntermediates(path));
}

TEST(UserOwnership, WhatAnOrdinaryUserMakesIsHisEverywhere) {
    if (test::isRoot()) GTEST_SKIP() << "about ordinary users";
    const TempFolder folder;
    EXPECT_FALSE(ownerOfNewItemsIn(opened(folder.path()).get()));
    EXPECT_FALSE(ownerOfNewItemsIn(opened("/tmp").get()));
}

class RootOwnership : public testing::Test {
  protected:
    void SetUp() override {
        if (!test::isRoot()) GTEST_SKIP() << "for root";
        user_ = std::make_unique<FakeUser>(folder_);
        if (!user_->available()) GTEST_SKIP() << "the password database cannot be replaced here";
    }

    const TempFolder folder_;
    std::unique_ptr<FakeUser> user_;
};

TEST_F(RootOwnership, FoldersMadeInAUsersHomeAreTheUsers) {
    ASSERT_TRUE(created(user_->home() + "/Library/Logs/Quillmoor"));
    for (const char* name : {"/Library", "/Library/Logs", "/Library/Logs/Quillmoor"}) {
        EXPECT_EQ(ownerOf(user_->home() + name), FakeUser::kId) << name;
        struct stat status {};
        ASSERT_EQ(::stat((user_->home() + name).c_str(), &status), 0);
        EXPECT_EQ(status.st_gid, FakeUser::kId);
    }
}

TEST_F(RootOwnership, FilesWrittenInAUsersHomeAreTheUsers) {
    ASSERT_TRUE(nativeFileManager()->writeAtomically(user_->home() + "/file", "text"));
    EXPECT_EQ(ownerOf(user_->home() + "/file"), FakeUser::kId);
}

TEST_F(RootOwnership, KeepsItemsOutsideOfHomesRoots) {
    // The user's folder, but outside of any home.
    const std::string elsewhere = folder_.makeFolder("elsewhere");
    ASSERT_EQ(::chown(elsewhere.c_str(), FakeUser::kId, FakeUser::kId), 0);
    ASSERT_TRUE(created(elsewhere + "/a/b"));
    EXPECT_EQ(ownerOf(elsewhere + "/a"), 0U);
    ASSERT_TRUE(created(folder_ / "new/folder"));
    EXPECT_EQ(ownerOf(folder_ / "new"), 0U);
    ASSERT_TRUE(nativeFileManager()->writeAtomically(elsewhere + "/file", "text"));
    EXPECT_EQ(ownerOf(elsewhere + "/file"), 0U);
}

TEST_F(RootOwnership, AFolderOfRootsInAHomeKeepsNewItemsRoots) {
    ASSERT_EQ(::mkdir((user_->home() + "/closed").c_str(), 0755), 0);
    ASSERT_TRUE(created(user_->home() + "/closed/sub"));
    EXPECT_EQ(ownerOf(user_->home() + "/closed/sub"), 0U);
}

TEST_F(RootOwnership, AHomeWhoseNameOnlyBeginsAlikeIsNotTheHome) {
    const std::string other = folder_.makeFolder("homes/tester 2");
    ASSERT_EQ(::chown(other.c_str(), FakeUser::kId, FakeUser::kId), 0);
    ASSERT_TRUE(created(other + "/sub"));
    EXPECT_EQ(ownerOf(other + "/sub"), 0U);
}

TEST_F(RootOwnership, ChangesNoOwnerThroughALinkOutOfAHome) {
    const std::string system = folder_.makeFolder("system");
    ASSERT_EQ(::symlink(system.c_str(), (user_->home() + "/Library").c_str()), 0);
    ASSERT_TRUE(created(user_->home() + "/Library/Logs/Quillmoor"));
    EXPECT_EQ(ownerOf(system), 0U);
    EXPECT_EQ(ownerOf(system + "/Logs"), 0U);
    EXPECT_EQ(ownerOf(system + "/Logs/Quillmoor"), 0U);
}

// The user replaces the new folder by a folder of root's, or by a link.
class SwappedFolder {
  public:
    explicit SwappedFolder(const std::string& replacement) : calls_(systemCalls()) {
        replacement_ = replacement;
        next_ = &systemCalls();
        calls_.mkdirat = [](int folder, const char* name, mode_t mode) {
            const int result = next_->mkdirat(folder, name, mode);
            ::unlinkat(folder, name, AT_REMOVEDIR);
            ::renameat(AT_FDCWD, replacement_.c_str(), folder, name);
            return result;
        };
        exchangeSystemCalls(&calls_);
    }
    ~SwappedFolder() { exchangeSystemCalls(next_); }
    SwappedFolder(const SwappedFolder&) = delete;
    SwappedFolder& operator=(const SwappedFolder&) = delete;

  private:
    static const SystemCalls* next_;
    static std::string replacement_;
    SystemCalls calls_;
};
const SystemCalls* SwappedFolder::next_ = nullptr;
std::string SwappedFolder::replacement_;

TEST_F(RootOwnership, DoesNotChangeTheOwnerOfASwappedFolder) {
    folder_.writeFile("homes/tester/secret/key", "secret");
    const Descriptor secret = opened(user_->home() + "/secret");
    {
        const SwappedFolder swap(user_->home() + "/secret");
        EXPECT_FALSE(created(user_->home() + "/new"));
    }
    EXPECT_FALSE(test::somethingAt(user_->home() + "/secret"));
    struct stat status {};
    ASSERT_EQ(::fstat(secret.get(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
    EXPECT_EQ(::faccessat(secret.get(), "key", F_OK, 0), 0);
}

TEST_F(RootOwnership, ALinkPutInThePlaceOfTheNewOneIsNotFollowed) {
    const std::string system = folder_.makeFolder("system");
    ASSERT_EQ(::symlink(system.c_str(), (user_->home() + "/link").c_str()), 0);
    {
        const SwappedFolder swap(user_->home() + "/link");
        EXPECT_FALSE(created(user_->home() + "/new/deeper"));
    }
    EXPECT_EQ(ownerOf(system), 0U);
    EXPECT_EQ(test::listing(system), "");
}

TEST_F(RootOwnership, ChangesTheOwnerOfTheLinkOnly) {
    const std::string victim = folder_.writeFile("victim", "stays");
    const Descriptor folder = opened(folder_.path());
    ASSERT_EQ(::symlinkat("victim", folder.get(), "link"), 0);
    EXPECT_EQ(giveLink(folder.get(), "link", {FakeUser::kId, FakeUser::kId}), 0);
    EXPECT_EQ(ownerOf(folder_ / "link"), FakeUser::kId);
    EXPECT_EQ(ownerOf(victim), 0U);
    // The item in its place is unchanged.
    EXPECT_EQ(giveLink(folder.get(), "victim", {FakeUser::kId, FakeUser::kId}), ESTALE);
    EXPECT_EQ(ownerOf(victim), 0U);
}

}  // namespace
}  // namespace quillmoor::platform::posix
