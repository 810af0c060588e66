#include "tools/ditto/entry_tree.h"

#include <gtest/gtest.h>

#include "tests/tools/ditto/entries_fixture.h"

namespace quillmoor::ditto {
namespace {

using DittoTree = test::EntriesFixture;
using Paths = test::Paths;

TEST_F(DittoTree, TheContentsOfAFolderFollowIt) {
    for (const char* name : {"a-b", "a/z", "a", "a/b/c", "a!", "b", "a/b"}) add(name);
    const EntryTree tree(entries_, FoldCase::No);
    EXPECT_EQ(pathsOf(tree.nodes()), (Paths{"a", "a/b", "a/b/c", "a/z", "a!", "a-b", "b"}));
}

TEST_F(DittoTree, PathsLoseEmptyAndDotComponents) {
    for (const char* name : {"./", ".//x/./y//", "./z", "w/.", "v//", "..."}) add(name);
    const EntryTree tree(entries_, FoldCase::No);
    EXPECT_EQ(pathsOf(tree.nodes()), (Paths{"...", "v", "w", "x/y", "z"}));
}

TEST_F(DittoTree, ItemsAreFoundByTheirKey) {
    add("Dir/Sub/file");
    const EntryTree tree(entries_, FoldCase::No);
    EXPECT_EQ(tree.find("Dir").item, EntryTree::Item::ImpliedFolder);
    EXPECT_EQ(tree.find("Dir/Sub").item, EntryTree::Item::ImpliedFolder);
    EXPECT_EQ(tree.find("Dir/Sub/file").item, EntryTree::Item::Entry);
    for (const char* missing : {"D", "dir", "Dir/S", "Dir/Sub/file/x", "E", "A"})
        EXPECT_EQ(tree.find(missing).item, EntryTree::Item::Nothing) << missing;
    const EntryTree folding(entries_, FoldCase::Yes);
    EXPECT_EQ(folding.find(folding.keyFor("DIR/sub/FILE")).item, EntryTree::Item::Entry);
}

TEST_F(DittoTree, CommonFoldersAreWholeComponents) {
    EXPECT_EQ(commonFolders("", "a/b"), 0U);
    EXPECT_EQ(commonFolders("a/b", "a/b"), 3U);
    EXPECT_EQ(commonFolders("a/b", "a/b/c"), 3U);
    EXPECT_EQ(commonFolders("a/b/c", "a/b"), 3U);
    EXPECT_EQ(commonFolders("a/bc", "a/bd"), 1U);
    EXPECT_EQ(commonFolders("ab", "a/b"), 0U);
    EXPECT_EQ(commonFolders("a/b", "ab"), 0U);
    EXPECT_EQ(commonFolders("x", "y"), 0U);
}

}  // namespace
}  // namespace quillmoor::ditto
