#include "tests/support/write_guard.h"

#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/native_services.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::test {
namespace {

using platform::posix::Descriptor;
using platform::posix::systemCalls;

// A folder that the guard does not allow, outside this process's folder. Created without the table
// of system calls.
class ForbiddenFolder {
  public:
    ForbiddenFolder() {
        std::string pattern = "/tmp/kx-forbidden-XXXXXX";
        if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
        const Descriptor file(
            ::open((path_ + "/file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    }
    ~ForbiddenFolder() {
        ::unlink((path_ + "/file").c_str());
        ::rmdir(path_.c_str());
    }
    ForbiddenFolder(const ForbiddenFolder&) = delete;
    ForbiddenFolder& operator=(const ForbiddenFolder&) = delete;
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// Static, because the macro's statement cannot see local variables.
std::string forbidden;
int result = 0;
int error = 0;

template <typename Call>
void expectRefusal(Call call) {
    static Call theCall = call;
    theCall = call;
    EXPECT_NONFATAL_FAILURE(
        {
            errno = 0;
            result = theCall();
            error = errno;
        },
        "outside the test's own folders: ");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(error, EPERM);
}

class WriteGuard : public testing::Test {
  protected:
    void SetUp() override { forbidden = folder_.path(); }
    void TearDown() override { EXPECT_EQ(listing(folder_.path()), "file"); }

    const ForbiddenFolder folder_;
};

TEST_F(WriteGuard, RefusesToMakeAnythingElsewhere) {
    expectRefusal([] {
        return systemCalls().openat(AT_FDCWD, (forbidden + "/new").c_str(), O_WRONLY | O_CREAT,
                                    0644);
    });
    expectRefusal([] { return systemCalls().mkdirat(AT_FDCWD, (forbidden + "/new").c_str(), 0); });
    expectRefusal([] { return systemCalls().mkfifoat(AT_FDCWD, (forbidden + "/new").c_str(), 0); });
    expectRefusal(
        [] { return systemCalls().symlinkat("x", AT_FDCWD, (forbidden + "/new").c_str()); });
}

TEST_F(WriteGuard, RefusesToRemoveOrChangeAnythingElsewhere) {
    expectRefusal(
        [] { return systemCalls().unlinkat(AT_FDCWD, (forbidden + "/file").c_str(), 0); });
    expectRefusal([] { return systemCalls().unlinkat(AT_FDCWD, forbidden.c_str(), AT_REMOVEDIR); });
    expectRefusal(
        [] { return systemCalls().openat(AT_FDCWD, (forbidden + "/file").c_str(), O_WRONLY, 0); });
    expectRefusal(
        [] { return systemCalls().fchmodat(AT_FDCWD, (forbidden + "/file").c_str(), 0600, 0); });
    expectRefusal(
        [] { return systemCalls().fchownat(AT_FDCWD, (forbidden + "/file").c_str(), 0, 0, 0); });
    expectRefusal([] {
        return systemCalls().utimensat(AT_FDCWD, (forbidden + "/file").c_str(), nullptr, 0);
    });
}

TEST_F(WriteGuard, RefusesChangesThroughADescriptor) {
    static int file;
    const Descriptor opened(::open((forbidden + "/file").c_str(), O_RDONLY | O_CLOEXEC));
    file = opened.get();
    expectRefusal([] { return systemCalls().fchmod(file, 0600); });
    expectRefusal([] { return systemCalls().fchown(file, 0, 0); });
    expectRefusal([] { return systemCalls().futimens(file, nullptr); });
    expectRefusal([] { return systemCalls().ftruncate(file, 0); });
    expectRefusal([] { return systemCalls().fsetxattr(file, "user.x", "", 0); });
    const Descriptor folder(::open(forbidden.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    file = folder.get();
    expectRefusal([] { return systemCalls().unlinkat(file, "file", 0); });
    expectRefusal([] { return systemCalls().mkdirat(file, "new", 0755); });
}

TEST_F(WriteGuard, RefusesToMoveOrLinkToOrFromElsewhere) {
    static std::string own;
    const TempFolder mine;
    own = mine.writeFile("own");
    expectRefusal([] {
        return systemCalls().renameat(AT_FDCWD, own.c_str(), AT_FDCWD,
                                      (forbidden + "/new").c_str());
    });
    expectRefusal([] {
        return systemCalls().renameNoReplace(AT_FDCWD, (forbidden + "/file").c_str(), AT_FDCWD,
                                             (own + " 2").c_str());
    });
    expectRefusal([] {
        return systemCalls().linkat(AT_FDCWD, own.c_str(), AT_FDCWD, (forbidden + "/new").c_str(),
                                    0);
    });
    EXPECT_EQ(listing(mine.path()), "own");
}

TEST_F(WriteGuard, RefusesChangesThroughLinksThatLeadOut) {
    static std::string link;
    const TempFolder mine;
    link = mine.makeLink("way out", forbidden);
    expectRefusal([] { return systemCalls().unlinkat(AT_FDCWD, (link + "/file").c_str(), 0); });
    link = mine.makeLink("to file", forbidden + "/file");
    expectRefusal([] { return systemCalls().openat(AT_FDCWD, link.c_str(), O_WRONLY, 0); });
    expectRefusal([] { return systemCalls().fchmodat(AT_FDCWD, link.c_str(), 0600, 0); });
    link = mine.makeLink("to nothing", forbidden + "/new");
    expectRefusal(
        [] { return systemCalls().openat(AT_FDCWD, link.c_str(), O_WRONLY | O_CREAT, 0644); });
    // The link itself is the test's own.
    EXPECT_EQ(systemCalls().unlinkat(AT_FDCWD, link.c_str(), 0), 0);
}

TEST_F(WriteGuard, TheFileOperationsAreGuarded) {
    EXPECT_NONFATAL_FAILURE(
        {
            const Outcome outcome = platform::nativeFileManager()->removeItem(forbidden + "/file");
            error = outcome ? 0 : outcome.error().code;
        },
        "unlinkat outside the test's own folders: /tmp/kx-forbidden-");
    EXPECT_EQ(error, EPERM);
}

TEST_F(WriteGuard, AFolderMayBeAllowedForAWhile) {
    {
        const AllowWritesBelow allowed(folder_.path());
        EXPECT_EQ(systemCalls().mkdirat(AT_FDCWD, (forbidden + "/new").c_str(), 0755), 0);
        EXPECT_EQ(systemCalls().unlinkat(AT_FDCWD, (forbidden + "/new").c_str(), AT_REMOVEDIR), 0);
    }
    expectRefusal([] { return systemCalls().mkdirat(AT_FDCWD, (forbidden + "/new").c_str(), 0); });
}

TEST_F(WriteGuard, AllowsReading) {
    const Descriptor file(
        systemCalls().openat(AT_FDCWD, (forbidden + "/file").c_str(), O_RDONLY, 0));
    EXPECT_TRUE(file);
    const Descriptor null(systemCalls().openat(AT_FDCWD, "/dev/null", O_WRONLY, 0));
    EXPECT_TRUE(null);
    EXPECT_EQ(systemCalls().faccessat(AT_FDCWD, forbidden.c_str(), R_OK, 0), 0);
}

TEST_F(WriteGuard, AllowsFoldersTooDeepForAPath) {
    const TempFolder mine;
    const std::string name(100, 'n');
    makeDeepTree(mine / "deep", 60, name);
    Descriptor at(::open((mine / "deep").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < 60; ++i)
        at = Descriptor(::openat(at.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(systemCalls().mkdirat(at.get(), "new", 0755), 0);
    EXPECT_EQ(systemCalls().fchmod(at.get(), 0700), 0);
    EXPECT_TRUE(platform::nativeFileManager()->removeItem(mine / "deep"));
}

}  // namespace
}  // namespace quillmoor::test
