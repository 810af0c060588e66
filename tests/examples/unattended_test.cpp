#include "examples/tallyframe-uninstaller/unattended.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/examples/support/installed_tallyframe.h"

namespace quillmoor::tallyframe {
namespace {

class Unattended : public InstalledTallyframe {
  protected:
    bool remove() { return removeUnattended(out_); }

    std::ostringstream out_;
};

TEST_F(Unattended, MovesEachItemToTheTrashAndNamesIt) {
    applications_.application = home_.makeFolder("Tally\nframe.app");
    const std::string folder = makeSupportFolder();
    EXPECT_TRUE(remove());
    EXPECT_EQ(out_.str(), "moved to the Trash: " + home_.path() +
                              "/Tally\\nframe.app\nmoved to the Trash: " + folder + "\n");
    EXPECT_EQ(trash_.recycled.size(), 2U);
}

TEST_F(Unattended, WithoutTheProductSaysSoAndSucceeds) {
    EXPECT_TRUE(remove());
    EXPECT_EQ(out_.str(), "Tallyframe is not installed.\n");
}

TEST_F(Unattended, FailsWhereAnItemIsLeftInItsPlace) {
    applications_.application = home_.makeFolder("Applications/Tallyframe.app");
    trash_.refused = "Tallyframe.app";
    EXPECT_FALSE(remove());
    EXPECT_EQ(out_.str(), "could not be moved: " + *applications_.application + "\n");
}

TEST_F(Unattended, AnItemThatVanishedMeanwhileIsNoFailure) {
    applications_.application = home_ / "Applications/Tallyframe.app";
    EXPECT_TRUE(remove());
    EXPECT_EQ(out_.str(), "no longer there: " + *applications_.application + "\n");
}

}  // namespace
}  // namespace quillmoor::tallyframe
