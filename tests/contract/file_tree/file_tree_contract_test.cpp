// What every back-end owes to those who work on whole trees.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "quillmoor/platform/platform.h"
#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::somethingAt;
using test::TempFolder;

class FileTreeContract : public testing::TestWithParam<BackEnd> {
  protected:
    FileTree& trees() { return *GetParam().platform().fileTree; }
    FileManager& files() { return *GetParam().platform().fileManager; }

    std::uint64_t size(const std::string& path) { return trees().size(path, {}); }

    std::string remove(const std::string& path) {
        return textOf(GetParam().platform().fileManager->removeItem(path));
    }
    std::string copy(const std::string& path, const std::string& destination) {
        return textOf(trees().copy(path, destination, nullptr, {}));
    }

    // The error's text; "" for a success.
    static std::string textOf(const Outcome& outcome) {
        return outcome ? "" : outcome.error().description;
    }

    StringList entriesOf(const std::string& path) {
        return files().contentsOfDirectory(path).value_or(StringList());
    }

    static StopToken stopped() {
        StopSource source;
        source.requestStop();
        return source.token();
    }

    // A folder of many files of 10 bytes, in several subfolders.
    std::string makeWideTree(const std::string& name, int folders, int filesEach) {
        for (int i = 0; i < folders; ++i)
            for (int j = 0; j < filesEach; ++j)
                folder_.writeFile(name + "/" + std::to_string(i) + "/" + std::to_string(j),
                                  "ten bytes.");
        return folder_ / name;
    }

    const TempFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(All, FileTreeContract, backEnds(), nameOf<BackEnd>);

TEST_P(FileTreeContract, ASizeIsThatOfTheFilesAlone) {
    folder_.writeFile("tree/one", "ten bytes.");
    folder_.writeFile("tree/.hidden", "ten bytes.");
    folder_.makeFolder("tree/empty");
    EXPECT_EQ(size(folder_ / "tree"), 20U);
    EXPECT_EQ(size(folder_ / "tree/"), 20U);
    EXPECT_EQ(size(folder_ / "tree/one"), 10U);
    EXPECT_EQ(size(folder_ / "tree/empty"), 0U);
}

TEST_P(FileTreeContract, ReturnsZeroForAMissingItem) {
    folder_.writeFile("file", "text");
    EXPECT_EQ(size(folder_ / "missing"), 0U);
    EXPECT_EQ(size(folder_ / "file/"), 0U);
    EXPECT_EQ(size(folder_ / "file/below"), 0U);
    EXPECT_EQ(size(""), 0U);
    EXPECT_EQ(size(folder_ / std::string("fi\0le", 5)), 0U);
}

TEST_P(FileTreeContract, CountsTheContentsBehindALinkToAFolder) {
    folder_.writeFile("elsewhere/file", "ten bytes.");
    folder_.makeLink("tree/one", folder_ / "elsewhere");
    folder_.makeLink("tree/two", "../elsewhere");
    EXPECT_EQ(size(folder_ / "tree"), 20U);
    EXPECT_EQ(size(folder_ / "tree/one"), 10U);
    folder_.makeLink("links/file", "../elsewhere/file");
    folder_.makeLink("links/dangling", "nowhere");
    EXPECT_EQ(size(folder_ / "links"), 17U + 7U);
    EXPECT_EQ(size(folder_ / "links/dangling"), 7U);
    EXPECT_EQ(size(folder_ / "links/file"), 17U);
}

TEST_P(FileTreeContract, CountsNothingForALinkToAnAncestor) {
    folder_.writeFile("tree/a/file", "ten bytes.");
    folder_.writeFile("tree/b/file", "ten bytes.");
    folder_.makeLink("tree/self", ".");
    folder_.makeLink("tree/a/up", "..");
    folder_.makeLink("tree/b/beside", "../a");
    // a, and b, and in b once more a, whose way up leads nowhere new.
    EXPECT_EQ(size(folder_ / "tree"), 30U);
    // From a up to the tree, into b, and through its link to a again.
    EXPECT_EQ(size(folder_ / "tree/a"), 20U);
}

TEST_P(FileTreeContract, ACountIsWhatACopyMakes) {
    folder_.writeFile("tree/sub/file", "ten bytes.");
    folder_.writeFile("tree/empty file");
    folder_.writeFile("elsewhere/file", "ten bytes.");
    folder_.makeLink("tree/link", folder_ / "elsewhere");
    const TreeCount expected{10, 5};
    EXPECT_EQ(trees().count(folder_ / "tree", {}), expected);
    EXPECT_EQ(trees().count(folder_ / "tree/link", {}), (TreeCount{0, 1}));
    EXPECT_EQ(trees().count(folder_ / "tree/sub/file", {}), (TreeCount{10, 1}));
    EXPECT_EQ(trees().count(folder_ / "missing", {}), TreeCount());
    TreeProgress progress;
    EXPECT_TRUE(trees().copy(folder_ / "tree", folder_ / "copy", &progress, {}));
    EXPECT_EQ(progress.bytes, expected.bytes);
    EXPECT_EQ(progress.items, expected.items);
}

TEST_P(FileTreeContract, AWideTreeIsMeasuredCopiedAndRemovedWhole) {
    const std::string tree = makeWideTree("tree", 12, 60);
    const TreeCount expected{7200, 12 * 61 + 1};
    EXPECT_EQ(size(tree), 7200U);
    EXPECT_EQ(trees().count(tree, {}), expected);
    TreeProgress progress;
    EXPECT_TRUE(trees().copy(tree, folder_ / "copy", &progress, {}));
    EXPECT_EQ(progress.bytes, expected.bytes);
    EXPECT_EQ(progress.items, expected.items);
    EXPECT_EQ(trees().count(folder_ / "copy", {}), expected);
    EXPECT_EQ(remove(tree), "");
    EXPECT_FALSE(somethingAt(tree));
    EXPECT_EQ(size(folder_ / "copy"), 7200U);
}

TEST_P(FileTreeContract, ARemovalTakesLinksThemselves) {
    folder_.writeFile("elsewhere/file", "stays");
    folder_.makeLink("tree/link", folder_ / "elsewhere");
    EXPECT_EQ(remove(folder_ / "tree"), "");
    EXPECT_EQ(readFile(folder_ / "elsewhere/file"), "stays");
    EXPECT_EQ(remove(folder_ / "tree"), "“tree” couldn’t be removed: No such file or directory");
    EXPECT_EQ(remove(""), "“” couldn’t be removed: No such file or directory");
}

TEST_P(FileTreeContract, ACopyHasTheContentsLinksModesAndDates) {
    folder_.writeFile("tree/sub/file", "text");
    folder_.makeLink("tree/link", "../elsewhere");
    fs::permissions(folder_ / "tree/sub/file", fs::perms::owner_read);
    const auto date = fs::last_write_time(folder_ / "tree/sub/file") - std::chrono::hours(1000);
    fs::last_write_time(folder_ / "tree/sub/file", date);
    fs::last_write_time(folder_ / "tree/sub", date);
    EXPECT_EQ(copy(folder_ / "tree", folder_ / "copy"), "");
    EXPECT_EQ(readFile(folder_ / "copy/sub/file"), "text");
    EXPECT_EQ(fs::read_symlink(folder_ / "copy/link"), "../elsewhere");
    EXPECT_EQ(fs::status(folder_ / "copy/sub/file").permissions(), fs::perms::owner_read);
    EXPECT_EQ(fs::last_write_time(folder_ / "copy/sub/file"), date);
    EXPECT_EQ(fs::last_write_time(folder_ / "copy/sub"), date);
}

TEST_P(FileTreeContract, CopiesNeitherOverAnItemNorIntoItself) {
    folder_.writeFile("tree/file", "new");
    folder_.writeFile("standing", "old");
    folder_.makeLink("dangling", "nowhere");
    EXPECT_EQ(copy(folder_ / "tree", folder_ / "standing"),
              "“tree” couldn’t be copied: File exists");
    EXPECT_EQ(copy(folder_ / "tree", folder_ / "dangling"),
              "“tree” couldn’t be copied: File exists");
    EXPECT_NE(copy(folder_ / "tree", folder_ / "tree/inside"), "");
    EXPECT_EQ(copy(folder_ / "missing", folder_ / "new"),
              "“missing” couldn’t be copied: No such file or directory");
    EXPECT_EQ(readFile(folder_ / "standing"), "old");
    EXPECT_EQ(entriesOf(folder_ / "tree"), StringList{"file"});
    EXPECT_EQ(entriesOf(folder_.path()).size(), 3U);
}

TEST_P(FileTreeContract, ACopyThatIsStoppedIsAFailureAndLeavesWhatWasThere) {
    folder_.writeFile("tree/file", "text");
    const Outcome outcome = trees().copy(folder_ / "tree", folder_ / "copy", nullptr, stopped());
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, ECANCELED);
    EXPECT_EQ(readFile(folder_ / "tree/file"), "text");
    EXPECT_FALSE(somethingAt(folder_ / "copy"));
    EXPECT_EQ(trees().size(folder_ / "tree", stopped()), 0U);
}

TEST_P(FileTreeContract, ACopyStoppedMidwayLeavesNothing) {
    const std::string tree = makeWideTree("tree", 10, 60);
    StopSource source;
    TreeProgress progress;
    std::jthread watcher([&] {
        while (progress.items < 50) std::this_thread::yield();
        source.requestStop();
    });
    const Outcome outcome = trees().copy(tree, folder_ / "copy", &progress, source.token());
    watcher.join();
    // The stop may come too late.
    EXPECT_EQ(somethingAt(folder_ / "copy"), static_cast<bool>(outcome));
    EXPECT_EQ(entriesOf(folder_.path()).size(), outcome ? 2U : 1U);
    EXPECT_EQ(size(tree), 6000U);
}

TEST_P(FileTreeContract, MatchesComeInTheOrderOfTheListing) {
    for (int i = 0; i < 300; ++i) folder_.writeFile("a/" + std::to_string(i));
    folder_.writeFile("b/15", "");
    folder_.writeFile("b/16", "");
    StringList expected;
    for (const char* name : {"b", "a"})
        for (const std::string& each : entriesOf(folder_ / name))
            if (each.starts_with('1')) expected.push_back(folder_ / name + "/" + each);
    EXPECT_EQ(trees().match({folder_ / "b", folder_ / "a/"}, "1*"), expected);
}

TEST_P(FileTreeContract, MatchesExist) {
    folder_.writeFile("tree/.hidden");
    folder_.writeFile("tree/line\nbreak");
    folder_.makeFolder("tree/folder");
    folder_.makeLink("tree/to folder", "folder");
    folder_.makeLink("tree/dangling", "nowhere");
    StringList found = trees().match({folder_ / "tree"}, "*");
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (StringList{folder_ / "tree/.hidden", folder_ / "tree/folder",
                                 folder_ / "tree/line\nbreak", folder_ / "tree/to folder"}));
    EXPECT_EQ(trees().match({folder_ / "tree"}, "dangl*"), StringList());
    EXPECT_EQ(trees().match({folder_ / "tree"}, "f?lder"), StringList{folder_ / "tree/folder"});
}

TEST_P(FileTreeContract, HasNoMatchesOutsideOfFolders) {
    folder_.writeFile("tree/file");
    EXPECT_EQ(
        trees().match({folder_ / "missing", folder_ / "tree/file", "", folder_ / "tree"}, "*"),
        StringList{folder_ / "tree/file"});
    EXPECT_EQ(trees().match({}, "*"), StringList());
    const StringList top = trees().match({"/"}, "tm*");
    EXPECT_EQ(std::count(top.begin(), top.end(), "/tmp"), 1);
}

TEST_P(FileTreeContract, AFolderThatMayBeReadButNotSearchedHasNoMatches) {
    folder_.writeFile("tree/file");
    fs::permissions(folder_ / "tree", fs::perms::owner_read);
    const bool seen = files().fileExists(folder_ / "tree/file");
    EXPECT_EQ(trees().match({folder_ / "tree"}, "*").size(), seen ? 1U : 0U);
    fs::permissions(folder_ / "tree", fs::perms::owner_all);
}

}  // namespace
}  // namespace quillmoor::platform
