#include "tools/ditto/unpack_plan.h"

#include <gtest/gtest.h>

#include "tests/tools/ditto/entries_fixture.h"

namespace quillmoor::ditto {
namespace {

using DittoPlan = test::EntriesFixture;
using Paths = test::Paths;

TEST_F(DittoPlan, MakesEachFolderOnceAndParentsFirst) {
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

TEST_F(DittoPlan, BeginsWithTheLargeFiles) {
    add("a").size = 5;
    add("b").size = kWholeEntry + 1;
    add("c").size = kWholeEntry + 2;
    add("d").size = kWholeEntry;
    const EntryTree tree(entries_, FoldCase::No);
    EXPECT_EQ(pathsOf(makePlan(tree).files), (Paths{"c", "b", "a", "d"}));
}

TEST_F(DittoPlan, LeavesTheMacFolderOutWithItsEntries) {
    for (const char* name :
         {"X.app/a", "__MACOSX/", "__MACOSX/X.app/", "__MACOSX/X.app/._a", "__MACOSX/._X.app"})
        add(name);
    const EntryTree tree(entries_, FoldCase::No);
    const UnpackPlan plan = makePlan(tree);
    EXPECT_EQ(pathsOf(plan.folders), Paths{"X.app"});
    EXPECT_EQ(pathsOf(plan.files), Paths{"X.app/a"});
    EXPECT_EQ(plan.leftOut, 2U);
}

TEST_F(DittoPlan, KeepsTheMacFolderWhenItHoldsSomethingElse) {
    for (const char* name : {"__MACOSX/._a", "__MACOSX/b/", "__MACOSX/real"}) add(name);
    const EntryTree tree(entries_, FoldCase::No);
    const UnpackPlan plan = makePlan(tree);
    EXPECT_EQ(pathsOf(plan.folders), (Paths{"__MACOSX", "__MACOSX/b"}));
    EXPECT_EQ(pathsOf(plan.files), Paths{"__MACOSX/real"});
    EXPECT_EQ(plan.leftOut, 1U);
}

}  // namespace
}  // namespace quillmoor::ditto
