#include "quillmoor/files/tree_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Lists folders in a fixed order, and cannot list those called "closed".
class SortedManager : public test::ForwardingFileManager {
  public:
    std::optional<StringList> contentsOfDirectory(const std::string& path) override {
        if (path.ends_with("/closed")) return std::nullopt;
        auto names = ForwardingFileManager::contentsOfDirectory(path);
        if (names) std::sort(names->begin(), names->end());
        return names;
    }
};

class TreeWalkTest : public testing::Test {
  protected:
    TreeWalkTest() {
        platform_->fileManager = &manager_;
        walk_.visit = [this](const std::string& item, const std::string& name) {
            EXPECT_EQ(item.substr(item.size() - name.size()), name);
            visited_.push_back(item.substr(folder_.path().size() + 1));
            return visited_.size() < most_;
        };
    }
    bool walk() { return walkTree(folder_.path(), walk_); }

    test::TempFolder folder_;
    SortedManager manager_;
    test::ScopedPlatform platform_;
    TreeWalk walk_;
    StringList visited_;
    std::size_t most_ = 100;
};

TEST_F(TreeWalkTest, VisitsItemsThatAreNotFoldersInListingOrder) {
    folder_.writeFile("b/inner");
    folder_.writeFile("c");
    folder_.writeFile("a");
    folder_.makeFolder("empty");
    folder_.makeLink("link", "nowhere");
    EXPECT_TRUE(walk());
    EXPECT_THAT(visited_, ElementsAre("a", "b/inner", "c", "link"));
}

TEST_F(TreeWalkTest, SkipsNamesWithTheirContents) {
    folder_.writeFile("left/inner");
    folder_.writeFile("kept/left");
    folder_.writeFile("kept/other");
    walk_.isLeftOut = [](const std::string& name) { return name == "left"; };
    EXPECT_TRUE(walk());
    EXPECT_THAT(visited_, ElementsAre("kept/other"));
}

TEST_F(TreeWalkTest, EndsWhenAVisitReturnsFalse) {
    for (const char* const name : {"a", "b", "c"}) folder_.writeFile(name);
    most_ = 2;
    EXPECT_FALSE(walk());
    EXPECT_THAT(visited_, ElementsAre("a", "b"));
}

TEST_F(TreeWalkTest, FollowsLinksToFoldersWithoutLooping) {
    folder_.writeFile("folder/inner");
    folder_.makeLink("folder/loop", "..");
    folder_.makeLink("other", "folder");
    EXPECT_TRUE(walk());
    EXPECT_THAT(visited_, ElementsAre("folder/inner", "other/inner"));
    visited_.clear();
    walk_.visitsLoops = true;
    EXPECT_TRUE(walk());
    EXPECT_THAT(visited_, ElementsAre("folder/inner", "folder/loop", "other/inner", "other/loop"));
}

TEST_F(TreeWalkTest, AFolderThatCannotBeListedIsEmptyOrEndsTheWalk) {
    folder_.makeFolder("closed");
    folder_.writeFile("later");
    EXPECT_TRUE(walk());
    EXPECT_THAT(visited_, ElementsAre("later"));
    visited_.clear();
    walk_.endsAtUnlisted = true;
    EXPECT_FALSE(walk());
    EXPECT_THAT(visited_, IsEmpty());
}

TEST_F(TreeWalkTest, VisitsNothingInAMissingFolder) {
    walk_.endsAtUnlisted = true;
    EXPECT_TRUE(walkTree(folder_ / "missing", walk_));
    EXPECT_TRUE(walkTree(folder_.writeFile("file"), walk_));
    EXPECT_THAT(visited_, IsEmpty());
}

TEST_F(TreeWalkTest, ListsAFolderWhenItIsReached) {
    folder_.writeFile("a");
    folder_.makeFolder("b");
    walk_.visit = [this](const std::string&, const std::string& name) {
        visited_.push_back(name);
        if (name == "a") folder_.writeFile("b/new");
        return true;
    };
    EXPECT_TRUE(walk());
    EXPECT_THAT(visited_, ElementsAre("a", "new"));
}

}  // namespace
}  // namespace quillmoor
