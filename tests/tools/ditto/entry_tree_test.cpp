#include "tools/ditto/entry_tree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/ditto/unpack_plan.h"

namespace quillmoor::ditto {
namespace {

using Paths = std::vector<std::string>;

class DittoTree : public ::testing::Test {
  protected:
    Entry& add(std::string_view name, Entry::Kind kind = Entry::Kind::File) {
        Entry entry;
        entry.name = name;
        entry.kind = name.ends_with('/') ? Entry::Kind::Folder : kind;
        entry.dataOffset = entries_.size();
        return entries_.emplace_back(entry);
    }

    template <typename Items>
    static Paths pathsOf(const Items& items) {
        Paths paths;
        for (const auto& item : items) paths.emplace_back(item.path);
        return paths;
    }

    std::vector<Entry> entries_;
};

TEST_F(DittoTree, WhatStandsInAFolderFollowsTheFolder) {
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

TEST_F(DittoTree, ThePlanMakesEachFolderOnceAndParentsFirst) {
    for (const char* name : {"b/c/file", "a/", "b/c/d/", "b/file", "top"}) add(name);
    add("b/link", Entry::Kind::Link);
    const EntryTree tree(entries_, FoldCase::No);
    const UnpackPlan plan = makePlan(tree);
    EXPECT_EQ(pathsOf(plan.folders), (Paths{"a", "b", "b/c", "b/c/d"}));
    EXPECT_EQ(plan.folders[0].entry, &entries_[1]);
    EXPECT_EQ(plan.folders[1].entry, nullptr);
    EXPECT_EQ(pathsOf(plan.files), (Paths{"b/c/file", "b/file", "top"}));
    EXPECT_EQ(pathsOf(plan.links), Paths{"b/link"});
    EXPECT_EQ((Paths{plan.topNames.begin(), plan.topNames.end()}), (Paths{"a", "b", "top"}));
}

TEST_F(DittoTree, LargeFilesAreBegunFirst) {
    add("a").size = 5;
    add("b").size = kWholeEntry + 1;
    add("c").size = kWholeEntry + 2;
    add("d").size = kWholeEntry;
    const EntryTree tree(entries_, FoldCase::No);
    EXPECT_EQ(pathsOf(makePlan(tree).files), (Paths{"c", "b", "a", "d"}));
}

TEST_F(DittoTree, TheMacFolderIsLeftOutWithItsEntries) {
    for (const char* name :
         {"X.app/a", "__MACOSX/", "__MACOSX/X.app/", "__MACOSX/X.app/._a", "__MACOSX/._X.app"})
        add(name);
    const EntryTree tree(entries_, FoldCase::No);
    const UnpackPlan plan = makePlan(tree);
    EXPECT_EQ(pathsOf(plan.folders), Paths{"X.app"});
    EXPECT_EQ(pathsOf(plan.files), Paths{"X.app/a"});
    EXPECT_EQ(plan.leftOut, 2U);
}

TEST_F(DittoTree, TheMacFolderStaysWhenItHoldsSomethingElse) {
    for (const char* name : {"__MACOSX/._a", "__MACOSX/b/", "__MACOSX/real"}) add(name);
    const EntryTree tree(entries_, FoldCase::No);
    const UnpackPlan plan = makePlan(tree);
    EXPECT_EQ(pathsOf(plan.folders), (Paths{"__MACOSX", "__MACOSX/b"}));
    EXPECT_EQ(pathsOf(plan.files), Paths{"__MACOSX/real"});
    EXPECT_EQ(plan.leftOut, 1U);
}

}  // namespace
}  // namespace quillmoor::ditto
