#include "tools/ditto/source_tree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

using Kind = SourceItem::Kind;

class DittoSource : public testing::Test {
  protected:
    std::string path(const char* name) const { return folder_ / name; }

    // Where an archive of this name in the folder would be.
    static ArchiveLocation locationIn(const std::string& folder, const std::string& name) {
        struct stat info = {};
        EXPECT_EQ(::stat(folder.c_str(), &info), 0);
        return {info.st_dev, info.st_ino, name};
    }
    static std::vector<std::string> pathsOf(const SourceTree& tree) {
        std::vector<std::string> paths;
        for (const SourceItem& item : tree.items()) paths.push_back(item.path);
        return paths;
    }

    test::TempFolder folder_;
};

TEST_F(DittoSource, ListsEachFolderByNameAndBeforeItsContents) {
    folder_.writeFile("source/b/2");
    folder_.writeFile("source/b/10");
    folder_.writeFile("source/a");
    folder_.writeFile("source/c");
    folder_.makeLink("source/b/link", "/nowhere");
    const SourceTree tree(path("source"), {});
    EXPECT_EQ(pathsOf(tree), (std::vector<std::string>{"a", "b", "b/10", "b/2", "b/link", "c"}));
    EXPECT_EQ(tree.items()[0].kind, Kind::File);
    EXPECT_EQ(tree.items()[1].kind, Kind::Folder);
    EXPECT_EQ(tree.items()[4].kind, Kind::Link);
    EXPECT_TRUE(tree.isFolder());
    EXPECT_EQ(tree.name(), "source");
}

TEST_F(DittoSource, FollowsNoLinkButTheSourceItself) {
    folder_.writeFile("real/inside");
    folder_.makeLink("real/out", "..");
    const SourceTree tree(folder_.makeLink("link", "real"), {});
    EXPECT_EQ(pathsOf(tree), (std::vector<std::string>{"inside", "out"}));
    EXPECT_EQ(tree.name(), "link");
}

TEST_F(DittoSource, MayBeASingleFile) {
    const SourceTree tree(folder_.writeFile("folder/file"), {});
    EXPECT_EQ(pathsOf(tree), std::vector<std::string>{"file"});
    EXPECT_FALSE(tree.isFolder());
}

TEST_F(DittoSource, HasItsRealNameIfItIsOnlyDots) {
    folder_.makeFolder("real/inside");
    EXPECT_EQ(SourceTree(path("real/."), {}).name(), "real");
    EXPECT_EQ(SourceTree(path("real/inside/.."), {}).name(), "real");
}

TEST_F(DittoSource, LeavesTheArchiveOutInItsFolderOnly) {
    folder_.writeFile("source/a.zip");
    folder_.writeFile("source/b/a.zip");
    const SourceTree tree(path("source"), locationIn(path("source"), "a.zip"));
    EXPECT_EQ(pathsOf(tree), (std::vector<std::string>{"b", "b/a.zip"}));
}

TEST_F(DittoSource, IsNotPackedIntoItself) {
    const std::string file = folder_.writeFile("file");
    EXPECT_THROW(SourceTree(file, locationIn(folder_.path(), "file")), Failure);
    EXPECT_NO_THROW(SourceTree(file, locationIn(folder_.path(), "other")));
}

TEST_F(DittoSource, HoldsFilesFoldersAndLinksOnly) {
    folder_.writeFile("source/file");
    ASSERT_EQ(::mkfifo(path("source/pipe").c_str(), 0600), 0);
    EXPECT_THROW(SourceTree(path("source"), {}), Failure);
    EXPECT_THROW(SourceTree(path("source/pipe"), {}), Failure);
    EXPECT_THROW(SourceTree(path("missing"), {}), Failure);
}

}  // namespace
}  // namespace quillmoor::ditto
