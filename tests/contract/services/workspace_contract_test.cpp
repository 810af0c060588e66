// What every back-end owes to those who ask the desktop. The Trash has tests of its own.
#include "quillmoor/platform/workspace.h"

#include <gtest/gtest.h>

#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

class WorkspaceContract : public testing::TestWithParam<BackEnd> {
  protected:
    Workspace& workspace() { return *GetParam().platform().workspace; }
    test::TempFolder folder_;
};

TEST_P(WorkspaceContract, APackageIsAFolderWithOneOfTheseExtensions) {
    for (const char* name : {"a.app", "b c.bundle", "a.plugin", "a.kext", "a.prefPane", "a.pkg",
                             "a.mpkg", "a.rtfd", "a.APP", "a.prefpane", "a.b.app"})
        EXPECT_TRUE(workspace().isFilePackage(folder_.makeFolder(name))) << name;
    for (const char* name : {"plain", "a.framework", "a.apps", "app", ".app", "a.app.old"})
        EXPECT_FALSE(workspace().isFilePackage(folder_.makeFolder(name))) << name;
}

TEST_P(WorkspaceContract, APackageIsAFolderAndNothingElse) {
    EXPECT_FALSE(workspace().isFilePackage(folder_.writeFile("file.app")));
    EXPECT_FALSE(workspace().isFilePackage(folder_ / "missing.app"));
    EXPECT_FALSE(workspace().isFilePackage(folder_.makeLink("dangling.app", "missing")));
    EXPECT_FALSE(workspace().isFilePackage(""));
    EXPECT_FALSE(workspace().isFilePackage("/"));
    const std::string app = folder_.makeFolder("a.app");
    EXPECT_FALSE(workspace().isFilePackage(app + std::string("\0.app", 5)));
}

TEST_P(WorkspaceContract, LinksAndTrailingSlashesChangeNoPackage) {
    const std::string app = folder_.makeFolder("a.app");
    EXPECT_TRUE(workspace().isFilePackage(app + "/"));
    EXPECT_TRUE(workspace().isFilePackage(app + "//"));
    EXPECT_TRUE(workspace().isFilePackage(folder_.makeLink("link.app", app)));
    EXPECT_FALSE(workspace().isFilePackage(folder_.makeLink("link", app)));
}

TEST_P(WorkspaceContract, AnApplicationThatNobodyInstalledIsNotFound) {
    for (const std::string& identifier :
         {std::string("com.example.surely-not-installed"), std::string(), std::string("/"),
          std::string("../x"), std::string("a\0b", 3)})
        EXPECT_EQ(workspace().absolutePathForAppBundle(identifier), std::nullopt) << identifier;
}

TEST_P(WorkspaceContract, WhatIsNotThereIsNotOpened) {
    EXPECT_FALSE(workspace().openFile(folder_ / "missing.app"));
    EXPECT_FALSE(workspace().openFile(folder_ / "missing.txt"));
    EXPECT_FALSE(workspace().openFile(""));
}

TEST_P(WorkspaceContract, AToolThatIsWhereItShouldBeStaysThere) {
    EXPECT_EQ(workspace().toolPath("/bin/mv"), "/bin/mv");
    EXPECT_EQ(workspace().toolPath("/no/such/tool"), "/no/such/tool");
    EXPECT_TRUE(workspace().toolPath("/usr/bin/ditto").ends_with("/ditto"));
}

INSTANTIATE_TEST_SUITE_P(All, WorkspaceContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
