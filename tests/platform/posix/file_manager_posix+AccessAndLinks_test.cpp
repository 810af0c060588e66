// What may be written, and where links lead.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "quillmoor/platform/platform.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "tests/platform/support/failing_calls.h"
#include "tests/platform/support/file_fixtures.h"

namespace quillmoor::platform {
namespace {

FileManager& manager() {
    return *native().fileManager;
}

class AccessAndLinks : public testing::Test {
  protected:
    // A path that no one call takes, and the folder it leads to.
    std::string longPathTo(const std::string& name) {
        const std::string each(200, 'n');
        test::makeDeepTree(folder_ / "deep", 30, each);
        std::string path = folder_ / "deep";
        for (int i = 0; i < 30; ++i) path += "/" + each;
        return path + "/" + name;
    }

    test::TempFolder folder_;
};

TEST_F(AccessAndLinks, AllowWritingOwnItems) {
    EXPECT_TRUE(manager().isWritableFile(folder_.writeFile("-f\n\xff")));
    EXPECT_TRUE(manager().isWritableFile(folder_.makeFolder("inside")));
    EXPECT_TRUE(manager().isWritableFile(folder_ / "inside/"));
    EXPECT_TRUE(manager().isWritableFile("/dev/null"));
    EXPECT_TRUE(manager().isWritableFile(longPathTo("bottom")));
}

TEST_F(AccessAndLinks, RefuseAMissingItem) {
    EXPECT_FALSE(manager().isWritableFile(folder_ / "missing"));
    EXPECT_FALSE(manager().isWritableFile(folder_.writeFile("file") + "/"));
    EXPECT_FALSE(manager().isWritableFile(folder_.path() + std::string("/file\0", 6)));
    EXPECT_FALSE(manager().isWritableFile(""));
    EXPECT_FALSE(manager().isWritableFile(longPathTo("missing")));
}

TEST_F(AccessAndLinks, WritingFollowsLinks) {
    folder_.writeFile("file");
    EXPECT_TRUE(manager().isWritableFile(folder_.makeLink("link", "file")));
    EXPECT_FALSE(manager().isWritableFile(folder_.makeLink("dangling", "nowhere")));
}

TEST_F(AccessAndLinks, FollowTheModeExceptForRoot) {
    const std::string file = folder_.writeFile("file");
    ::chmod(file.c_str(), 0444);
    EXPECT_EQ(manager().isWritableFile(file), ::getuid() == 0);
    EXPECT_EQ(manager().isWritableFile("/etc/passwd"), ::getuid() == 0);
}

TEST_F(AccessAndLinks, ReadsTheTargetOfALink) {
    folder_.makeFolder("inside");
    folder_.writeFile("file");
    for (const std::string& target :
         {std::string("file"), std::string("inside"), std::string("nowhere/at all"),
          std::string("/"), std::string("-\n\xff"), std::string(4000, 't')}) {
        const std::string link = folder_.makeLink("link", target);
        EXPECT_EQ(manager().destinationOfSymbolicLink(link), target);
        ::unlink(link.c_str());
    }
}

TEST_F(AccessAndLinks, HaveNoTargetForAnItemThatIsNotALink) {
    for (const std::string& path :
         {folder_.writeFile("file"), folder_.path(), folder_ / "missing", folder_ / "file/below",
          std::string("/"), std::string(), std::string("\0", 1)})
        EXPECT_EQ(manager().destinationOfSymbolicLink(path), std::nullopt) << path;
}

TEST_F(AccessAndLinks, WithATrailingSlashALinkMustLeadToAFolder) {
    folder_.makeFolder("inside");
    folder_.writeFile("file");
    EXPECT_EQ(manager().destinationOfSymbolicLink(folder_.makeLink("a", "inside") + "/"), "inside");
    EXPECT_EQ(manager().destinationOfSymbolicLink(folder_.makeLink("b", "file") + "/"),
              std::nullopt);
}

TEST_F(AccessAndLinks, ALinkBelowALongPathIsRead) {
    const std::string path = longPathTo("link");
    posix::DirectoryEntry entry;
    ASSERT_EQ(posix::resolveParent(path, entry), 0);
    ASSERT_EQ(::symlinkat("target", entry.folder.get(), "link"), 0);
    EXPECT_EQ(manager().destinationOfSymbolicLink(path), "target");
}

TEST_F(AccessAndLinks, EveryCallMayFail) {
    const std::string link = folder_.makeLink("link", "nowhere");
    const std::string file = folder_.writeFile("file");
    const int before = test::openDescriptors();
    for (int nth = 1;; ++nth) {
        const test::FailingCalls failing(nth, EIO);
        const bool succeeded = manager().destinationOfSymbolicLink(link).has_value();
        EXPECT_NE(succeeded, failing.happened()) << "call " << nth;
        if (!failing.happened()) break;
    }
    {
        const test::FailingCalls failing(1, EIO);
        EXPECT_FALSE(manager().isWritableFile(file));
    }
    EXPECT_EQ(test::openDescriptors(), before);
}

}  // namespace
}  // namespace quillmoor::platform
