// The contract of Applications for every back-end.
#include "quillmoor/platform/applications.h"

#include <gtest/gtest.h>

#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

class ApplicationsContract : public testing::TestWithParam<BackEnd> {
  protected:
    Applications& applications() { return *GetParam().platform().applications; }
    test::TempFolder folder_;
};

TEST_P(ApplicationsContract, APackageIsAFolderWithOneOfTheseExtensions) {
    for (const char* name : {"a.app", "b c.bundle", "a.plugin", "a.kext", "a.prefPane", "a.pkg",
                             "a.mpkg", "a.rtfd", "a.APP", "a.prefpane", "a.b.app"})
        EXPECT_TRUE(applications().isFilePackage(folder_.makeFolder(name))) << name;
    for (const char* name : {"plain", "a.framework", "a.apps", "app", ".app", "a.app.old"})
        EXPECT_FALSE(applications().isFilePackage(folder_.makeFolder(name))) << name;
}

TEST_P(ApplicationsContract, APackageIsAFolderAndNothingElse) {
    EXPECT_FALSE(applications().isFilePackage(folder_.writeFile("file.app")));
    EXPECT_FALSE(applications().isFilePackage(folder_ / "missing.app"));
    EXPECT_FALSE(applications().isFilePackage(folder_.makeLink("dangling.app", "missing")));
    EXPECT_FALSE(applications().isFilePackage(""));
    EXPECT_FALSE(applications().isFilePackage("/"));
    const std::string app = folder_.makeFolder("a.app");
    EXPECT_FALSE(applications().isFilePackage(app + std::string("\0.app", 5)));
}

TEST_P(ApplicationsContract, LinksAndTrailingSlashesChangeNoPackage) {
    const std::string app = folder_.makeFolder("a.app");
    EXPECT_TRUE(applications().isFilePackage(app + "/"));
    EXPECT_TRUE(applications().isFilePackage(app + "//"));
    EXPECT_TRUE(applications().isFilePackage(folder_.makeLink("link.app", app)));
    EXPECT_FALSE(applications().isFilePackage(folder_.makeLink("link", app)));
}

TEST_P(ApplicationsContract, DoesNotFindAnApplicationThatIsNotInstalled) {
    for (const std::string& identifier :
         {std::string("com.example.surely-not-installed"), std::string(), std::string("/"),
          std::string("../x"), std::string("a\0b", 3)})
        EXPECT_EQ(applications().absolutePathForAppBundle(identifier), std::nullopt) << identifier;
}

TEST_P(ApplicationsContract, DoesNotOpenAMissingItem) {
    EXPECT_FALSE(applications().openFile(folder_ / "missing.app"));
    EXPECT_FALSE(applications().openFile(folder_ / "missing.txt"));
    EXPECT_FALSE(applications().openFile(""));
}

INSTANTIATE_TEST_SUITE_P(All, ApplicationsContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
