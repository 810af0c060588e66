#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

class GivenLink : public testing::Test {
  protected:
    static constexpr Owner kOther{54321, 54322};
    struct stat status(const std::string& name) const {
        struct stat result {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &result), 0);
        return result;
    }
    int give(const std::string& name, const Owner& owner) const {
        return giveLink(self_.get(), name, owner);
    }
    test::TempFolder folder_;
    const Descriptor self_{::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(GivenLink, FailsForAMissingLink) {
    EXPECT_EQ(give("missing", {::geteuid(), ::getegid()}), ENOENT);
}

TEST_F(GivenLink, FailsForAnItemThatIsNotALink) {
    folder_.writeFile("file");
    EXPECT_EQ(give("file", {::geteuid(), ::getegid()}), ESTALE);
}

TEST_F(GivenLink, KeepsItsOwnOwner) {
    folder_.makeLink("link", "nowhere");
    EXPECT_EQ(give("link", {::geteuid(), ::getegid()}), 0);
}

TEST_F(GivenLink, ChangesItsOwnerOnlyForRoot) {
    if (test::isRoot()) GTEST_SKIP();
    folder_.makeLink("link", "nowhere");
    EXPECT_EQ(give("link", kOther), EPERM);
}

class RootGivenLink : public GivenLink {
  protected:
    void SetUp() override {
        if (!test::isRoot()) GTEST_SKIP() << "for root";
    }
};

TEST_F(RootGivenLink, ChangesItsOwnerAndNotItsTargets) {
    folder_.writeFile("file");
    folder_.makeLink("link", "file");
    EXPECT_EQ(give("link", kOther), 0);
    EXPECT_EQ(status("link").st_uid, kOther.user);
    EXPECT_EQ(status("link").st_gid, kOther.group);
    EXPECT_EQ(status("file").st_uid, ::geteuid());
}

TEST_F(RootGivenLink, FailsForALinkOfAnotherUser) {
    folder_.makeLink("link", "nowhere");
    ASSERT_EQ(::lchown((folder_ / "link").c_str(), kOther.user, kOther.group), 0);
    EXPECT_EQ(give("link", {0, 0}), ESTALE);
    EXPECT_EQ(status("link").st_uid, kOther.user);
}

}  // namespace
}  // namespace quillmoor::platform::posix
