#include "tools/ditto/folder_access.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "quillmoor/platform/posix/fs/tree_remove_posix.h"
#include "tests/support/temp_folder.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class DittoBeneath : public testing::Test {
  protected:
    Descriptor open(const std::string& path) const {
        return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    Identity identity(const std::string& path) const { return identityOf(open(path).get()); }

    test::TempFolder folder_;
    const Descriptor root_ = open(folder_.path());
};

TEST_F(DittoBeneath, TheParentOfAPathIsItsFolderPart) {
    EXPECT_EQ(parentPathOf("name"), ".");
    EXPECT_EQ(parentPathOf("a/b/name"), "a/b");
    EXPECT_EQ(parentPathOf("/name"), "/");
}

TEST_F(DittoBeneath, AFolderIsOpenedByItsPathBelowTheRoot) {
    const std::string inner = folder_.makeFolder("a/b");
    EXPECT_EQ(identityOf(openFolderBeneath(root_.get(), "a/b").get()), identity(inner));
    EXPECT_EQ(identityOf(openFolderBeneath(root_.get(), "").get()), identity(folder_.path()));
}

TEST_F(DittoBeneath, NoLinkIsFollowedAndNothingIsOpenedOutside) {
    folder_.makeFolder("a/b");
    folder_.makeLink("link", "a");
    folder_.makeLink("a/last", "b");
    folder_.writeFile("file");
    for (const char* const path : {"link/b", "a/last", "..", "a/../..", "/", "file", "missing"})
        EXPECT_THROW(openFolderBeneath(root_.get(), path), Failure) << path;
}

TEST_F(DittoBeneath, APathMayBeLongerThanTheSystemTakes) {
    std::string path;
    Descriptor at = open(folder_.path());
    const std::string name(200, 'n');
    for (int depth = 0; depth < 30; ++depth) {
        ASSERT_EQ(::mkdirat(at.get(), name.c_str(), 0700), 0);
        at = Descriptor(::openat(at.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        path += (path.empty() ? "" : "/") + name;
    }
    FolderCache cache(root_.get());
    std::string way;
    for (int depth = 0; depth < 30; ++depth) {
        way += (way.empty() ? "" : "/") + name;
        ASSERT_GE(cache.open(way), 0);
    }
    EXPECT_EQ(identityOf(cache.open(path)), identityOf(at.get()));
    EXPECT_EQ(platform::posix::emptyFolder(root_.get()), 0);
    EXPECT_TRUE(isEmpty(root_.get()));
}

TEST_F(DittoBeneath, TheFolderThatWasAskedForLastStaysOpen) {
    folder_.makeFolder("a/b");
    folder_.makeFolder("ab");
    FolderCache cache(root_.get());
    EXPECT_EQ(cache.open(""), root_.get());
    const int opened = cache.open("a");
    EXPECT_EQ(cache.open("a"), opened);
    EXPECT_EQ(identityOf(cache.open("a/b")), identity(folder_ / "a/b"));
    EXPECT_EQ(identityOf(cache.open("ab")), identity(folder_ / "ab"));
    EXPECT_THROW(cache.open("missing"), Failure);
}

TEST_F(DittoBeneath, NamesAreThoseOfTheEntries) {
    EXPECT_TRUE(isEmpty(root_.get()));
    EXPECT_THAT(namesIn(root_.get(), "."), IsEmpty());
    folder_.writeFile(".hidden");
    folder_.makeLink("link", "nowhere");
    EXPECT_FALSE(isEmpty(root_.get()));
    EXPECT_THAT(namesIn(root_.get(), "."), UnorderedElementsAre(".hidden", "link"));
    const Descriptor file(::open(folder_.writeFile("file").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_THROW(namesIn(file.get(), "file"), Failure);
}

TEST_F(DittoBeneath, AnItemIsItselfUnderItsNameOnly) {
    folder_.makeFolder("a");
    folder_.makeFolder("b");
    folder_.makeLink("link", "a");
    const Descriptor opened = open(folder_ / "a");
    EXPECT_TRUE(isItem(root_.get(), "a", opened.get()));
    EXPECT_FALSE(isItem(root_.get(), "b", opened.get()));
    EXPECT_FALSE(isItem(root_.get(), "link", opened.get()));
    EXPECT_FALSE(isItem(root_.get(), "missing", opened.get()));
}

}  // namespace
}  // namespace quillmoor::ditto
