#include "quillmoor/platform/posix/fs/scoped_directory_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::posix {
namespace {

template <int kError>
int openBeneathFailing(int, const char*) {
    errno = kError;
    return -1;
}

struct Way {
    const char* name;
    int (*openBeneath)(int, const char*);
};

// With the kernel's own call, on a kernel that lacks it, in a sandbox that forbids it, and where it
// gives up.
class ScopedDirectory : public testing::TestWithParam<Way> {
  protected:
    void SetUp() override {
        calls_ = systemCalls();
        if (GetParam().openBeneath != nullptr) calls_.openBeneath = GetParam().openBeneath;
        before_ = exchangeSystemCalls(&calls_);
    }
    void TearDown() override { exchangeSystemCalls(before_); }

    int open(std::string_view path) {
        Descriptor folder;
        return openFolderBeneath(root_.get(), path, folder);
    }
    // Opening `path` gives the folder `expected`.
    bool leadsTo(std::string_view path, const std::string& expected) {
        Descriptor folder;
        struct stat found {};
        struct stat wanted {};
        return openFolderBeneath(root_.get(), path, folder) == 0 &&
               ::fstat(folder.get(), &found) == 0 &&
               ::stat((folder_ / expected).c_str(), &wanted) == 0 &&
               identityOf(found) == identityOf(wanted);
    }

    test::TempFolder folder_;
    const std::string inside_ = folder_.makeFolder("root/a/b");
    const Descriptor root_{::open((folder_ / "root").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    SystemCalls calls_{};
    const SystemCalls* before_ = nullptr;
};

TEST_P(ScopedDirectory, OpensFoldersBelowTheRoot) {
    EXPECT_TRUE(leadsTo("a", "root/a"));
    EXPECT_TRUE(leadsTo("a/b", "root/a/b"));
    EXPECT_TRUE(leadsTo("a/./b//", "root/a/b"));
    EXPECT_TRUE(leadsTo("", "root"));
}

TEST_P(ScopedDirectory, FollowsNoLink) {
    folder_.makeLink("root/link", "a");
    folder_.makeLink("root/a/out", folder_ / "outside");
    folder_.makeFolder("outside");
    for (const char* path : {"link", "link/b", "link/", "a/out", "a/out/x"})
        EXPECT_TRUE(open(path) == ELOOP || open(path) == ENOTDIR) << path;
}

TEST_P(ScopedDirectory, RefusesAPathThatLeadsUpOrIsAbsolute) {
    const std::string absolute = folder_ / "root/a";
    for (const std::string& path : {std::string(".."), std::string("a/../../root"),
                                    std::string("a/.."), std::string("/"), absolute})
        EXPECT_EQ(open(path), EXDEV) << path;
    folder_.makeFolder("root/..a");
    EXPECT_TRUE(leadsTo("..a", "root/..a"));
}

TEST_P(ScopedDirectory, RefusesAPathThatIsTooLongForOneCall) {
    std::string path = "a/b";
    while (path.size() < 4095) path.insert(0, "./");
    ASSERT_EQ(path.size(), 4095U);
    EXPECT_TRUE(leadsTo(path, "root/a/b"));
    EXPECT_EQ(open(path + "/"), ENAMETOOLONG);
    EXPECT_EQ(open(std::string(300, 'n')), ENAMETOOLONG);
}

TEST_P(ScopedDirectory, RefusesAPathWithANul) {
    EXPECT_EQ(open(std::string("a\0b", 3)), ENOENT);
}

TEST_P(ScopedDirectory, LeavesTheDescriptorUnchangedAfterAnError) {
    Descriptor folder(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int before = folder.get();
    EXPECT_EQ(openFolderBeneath(root_.get(), "a/missing", folder), ENOENT);
    EXPECT_EQ(folder.get(), before);
}

TEST_P(ScopedDirectory, ReportsWhatIsNotAFolder) {
    folder_.writeFile("root/file");
    EXPECT_EQ(open("file"), ENOTDIR);
    EXPECT_EQ(open("missing"), ENOENT);
}

// Another error of the call is its last word: a second try could succeed with what was refused.
TEST(ScopedDirectoryErrors, AreReportedAsTheyAre) {
    const test::TempFolder folder;
    folder.makeFolder("a");
    const Descriptor root(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    SystemCalls calls = systemCalls();
    calls.openBeneath = openBeneathFailing<EXDEV>;
    const SystemCalls* const before = exchangeSystemCalls(&calls);
    Descriptor opened;
    EXPECT_EQ(openFolderBeneath(root.get(), "a", opened), EXDEV);
    exchangeSystemCalls(before);
    EXPECT_FALSE(opened);
}

INSTANTIATE_TEST_SUITE_P(With, ScopedDirectory,
                         testing::Values(Way{"OneCall", nullptr},
                                         Way{"AnOldKernel", openBeneathFailing<ENOSYS>},
                                         Way{"ASandbox", openBeneathFailing<EPERM>},
                                         Way{"FoldersBeingRenamed", openBeneathFailing<EAGAIN>}),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace quillmoor::platform::posix
