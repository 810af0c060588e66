#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/posix/fs/ownership_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

// A Mac opens the link itself with this flag alone, and changes the owner of such a descriptor.
int openLink(int folder, const char* name, int flags, mode_t mode) {
    const int more = (flags & O_SYMLINK) != 0 ? O_NOFOLLOW : 0;
    return nativeSystemCalls().openat(folder, name, flags | more, mode);
}
int changeOwner(int file, uid_t owner, gid_t group) {
    return ::fchownat(file, "", owner, group, AT_EMPTY_PATH);
}

class MacGivenLink : public testing::Test {
  protected:
    MacGivenLink() {
        calls_.openat = openLink;
        calls_.fchown = changeOwner;
        exchangeSystemCalls(&calls_);
    }
    ~MacGivenLink() override { exchangeSystemCalls(before_); }

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
    const SystemCalls* const before_ = &systemCalls();
    SystemCalls calls_ = *before_;
};

TEST_F(MacGivenLink, FailsForAMissingLinkAndForAnotherItem) {
    folder_.writeFile("file");
    EXPECT_EQ(give("missing", {::geteuid(), ::getegid()}), ENOENT);
    EXPECT_EQ(give("file", {::geteuid(), ::getegid()}), ESTALE);
}

TEST_F(MacGivenLink, KeepsItsOwnOwner) {
    folder_.makeLink("link", "nowhere");
    EXPECT_EQ(give("link", {::geteuid(), ::getegid()}), 0);
}

TEST_F(MacGivenLink, ChangesItsOwnerForRootAloneAndNotItsTargets) {
    folder_.writeFile("file");
    folder_.makeLink("link", "file");
    const bool isRoot = ::geteuid() == 0;
    EXPECT_EQ(give("link", kOther), isRoot ? 0 : EPERM);
    EXPECT_EQ(status("link").st_uid, isRoot ? kOther.user : ::geteuid());
    EXPECT_EQ(status("file").st_uid, ::geteuid());
    // To root it is then another user's.
    EXPECT_EQ(give("link", {::geteuid(), ::getegid()}), isRoot ? ESTALE : 0);
}

}  // namespace
}  // namespace quillmoor::platform::posix
