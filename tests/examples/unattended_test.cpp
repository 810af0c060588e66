#include "examples/tallyframe-uninstaller/unattended.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

#include "tests/examples/support/installed_tallyframe.h"

namespace quillmoor::tallyframe {
namespace {

class Unattended : public InstalledTallyframe {
  protected:
    bool remove() {
        const std::string path = home_ / "output";
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"),
                                                                   &std::fclose);
        const bool isGone = removeUnattended(file.get());
        printed_ = test::readFile(path);
        return isGone;
    }

    std::string printed_;
};

TEST_F(Unattended, MovesEachItemToTheTrashAndNamesIt) {
    applications_.application = home_.makeFolder("Tally\nframe.app");
    const std::string folder = makeSupportFolder();
    EXPECT_TRUE(remove());
    EXPECT_EQ(printed_, "moved to the Trash: " + home_.path() +
                            "/Tally\\nframe.app\nmoved to the Trash: " + folder + "\n");
    EXPECT_EQ(trash_.recycled.size(), 2U);
}

TEST_F(Unattended, NamesAnItemBeforeItMovesTheNext) {
    applications_.application = home_.makeFolder("Applications/Tallyframe.app");
    makeSupportFolder();
    std::vector<std::string> printedBefore;
    trash_.beforeEach = [&] { printedBefore.push_back(test::readFile(home_ / "output")); };
    EXPECT_TRUE(remove());
    const std::string first = "moved to the Trash: " + *applications_.application + "\n";
    EXPECT_EQ(printedBefore, (std::vector<std::string>{"", first}));
}

TEST_F(Unattended, FailsWhereALineCannotBeWritten) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> full(std::fopen("/dev/full", "w"),
                                                               &std::fclose);
    EXPECT_FALSE(removeUnattended(full.get()));
    applications_.application = home_.makeFolder("Applications/Tallyframe.app");
    EXPECT_FALSE(removeUnattended(full.get()));
    EXPECT_EQ(trash_.recycled.size(), 1U);
}

TEST_F(Unattended, WithoutTheProductSaysSoAndSucceeds) {
    EXPECT_TRUE(remove());
    EXPECT_EQ(printed_, "Tallyframe is not installed.\n");
}

TEST_F(Unattended, FailsWhereAnItemIsLeftInItsPlace) {
    applications_.application = home_.makeFolder("Applications/Tallyframe.app");
    trash_.refused = "Tallyframe.app";
    EXPECT_FALSE(remove());
    EXPECT_EQ(printed_, "could not be moved: " + *applications_.application + "\n");
}

TEST_F(Unattended, AnItemThatVanishedMeanwhileIsNoFailure) {
    applications_.application = home_ / "Applications/Tallyframe.app";
    EXPECT_TRUE(remove());
    EXPECT_EQ(printed_, "no longer there: " + *applications_.application + "\n");
}

}  // namespace
}  // namespace quillmoor::tallyframe
