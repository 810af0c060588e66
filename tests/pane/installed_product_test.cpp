#include "quillmoor/pane/installed_product.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/pane/support/pane_fakes.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;

class InstalledProduct : public ::testing::Test {
  protected:
    InstalledProduct() {
        platform_->applications = &applications_;
        platform_->toolPaths = &tools_;
    }

    test::TempFolder folder_;
    test::FakeApplications applications_;
    test::FakeTools tools_;
    test::ScopedPlatform platform_;
};

TEST_F(InstalledProduct, IsFoundByItsIdentifierWhereverItIs) {
    EXPECT_EQ(installedProduct(), std::nullopt);
    applications_.product = "/opt/elsewhere.app";
    EXPECT_EQ(installedProduct(), "/opt/elsewhere.app");
    EXPECT_THAT(applications_.looked, ElementsAre(kProductIdentifier, kProductIdentifier));
}

TEST_F(InstalledProduct, ItsUninstallerIsUnpackedIntoTheFolder) {
    tools_.tool = test::writeTool(folder_);
    const std::string target = folder_ / "new";
    EXPECT_EQ(unpackUninstaller("/the/archive.zip", target),
              target + "/Tallyframe Uninstaller.app");
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "[-xk][/the/archive.zip][" + target + "]");
    EXPECT_TRUE(test::somethingAt(target + "/Tallyframe Uninstaller.app"));
    EXPECT_THAT(applications_.opened, ElementsAre());
}

TEST_F(InstalledProduct, AnUninstallerThatWasNotUnpackedIsNotThere) {
    const std::string application = unpackUninstaller(std::nullopt, folder_ / "new");
    EXPECT_EQ(application, folder_ / "new/Tallyframe Uninstaller.app");
    EXPECT_FALSE(test::somethingAt(application));
}

}  // namespace
}  // namespace quillmoor
