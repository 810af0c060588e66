#include "quillmoor/platform/linux/kernel/immutable_flag_linux.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

class ImmutableFlag : public testing::Test {
  protected:
    posix::DirectoryEntry entry(const std::string& name) const {
        posix::DirectoryEntry result;
        result.folder =
            posix::Descriptor(::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        result.name = name;
        return result;
    }
    bool isImmutable(const std::string& name) const {
        bool immutable = false;
        EXPECT_EQ(linuxCalls().isImmutable(AT_FDCWD, (folder_ / name).c_str(), &immutable), 0);
        return immutable;
    }
    test::TempFolder folder_;
};

TEST_F(ImmutableFlag, ThatIsAsWantedIsLeftAlone) {
    folder_.writeFile("file");
    // Not even opened: the test may not read it.
    ::chmod((folder_ / "file").c_str(), 0);
    EXPECT_EQ(setImmutable(entry("file"), false), 0);
    ::mkfifo((folder_ / "pipe").c_str(), 0600);
    EXPECT_EQ(setImmutable(entry("pipe"), false), 0);
    folder_.makeLink("link", "nowhere");
    EXPECT_EQ(setImmutable(entry("link"), false), 0);
}

TEST_F(ImmutableFlag, OfAMissingItemIsAnError) {
    EXPECT_EQ(setImmutable(entry("missing"), false), ENOENT);
    EXPECT_EQ(setImmutable(entry("missing"), true), ENOENT);
}

TEST_F(ImmutableFlag, IsOnlyForFilesAndFolders) {
    ::mkfifo((folder_ / "pipe").c_str(), 0600);
    folder_.makeLink("link", "nowhere");
    EXPECT_EQ(setImmutable(entry("pipe"), true), EOPNOTSUPP);
    EXPECT_EQ(setImmutable(entry("link"), true), EOPNOTSUPP);
}

TEST_F(ImmutableFlag, CanBeSetByRootOnly) {
    if (test::isRoot()) GTEST_SKIP();
    folder_.writeFile("file");
    const int error = setImmutable(entry("file"), true);
    EXPECT_TRUE(error == EPERM || error == EOPNOTSUPP) << error;
    EXPECT_FALSE(isImmutable("file"));
}

class RootImmutableFlag : public ImmutableFlag {
  protected:
    void SetUp() override {
        if (!test::isRoot()) GTEST_SKIP() << "for root";
    }
};

TEST_F(RootImmutableFlag, IsSetAndCleared) {
    folder_.writeFile("file");
    folder_.makeFolder("folder");
    if (setImmutable(entry("file"), true) == EOPNOTSUPP)
        GTEST_SKIP() << "the temporary folder has no such flag";
    EXPECT_TRUE(isImmutable("file"));
    EXPECT_EQ(::unlink((folder_ / "file").c_str()), -1);
    EXPECT_EQ(setImmutable(entry("file"), false), 0);
    EXPECT_FALSE(isImmutable("file"));
    EXPECT_EQ(setImmutable(entry("folder"), true), 0);
    EXPECT_TRUE(isImmutable("folder"));
    EXPECT_EQ(setImmutable(entry("folder"), false), 0);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
