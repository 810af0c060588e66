#include "examples/tallyframe-uninstaller/uninstall_plan.h"

#include <gtest/gtest.h>

#include "quillmoor/log/KXLog.h"
#include "tests/examples/support/installed_tallyframe.h"

namespace quillmoor::tallyframe {
namespace {

using UninstallPlan = InstalledTallyframe;

TEST_F(UninstallPlan, WithoutTheProductNothingIsFound) {
    EXPECT_TRUE(findItems().empty());
}

TEST_F(UninstallPlan, TheApplicationIsFoundWhereverItIs) {
    applications_.application = "/opt/Tallyframe.app";
    const auto items = findItems();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].kind, Item::Kind::Application);
    EXPECT_EQ(items[0].path, "/opt/Tallyframe.app");
}

TEST_F(UninstallPlan, TheSupportFolderIsFoundWithoutTheApplication) {
    const std::string folder = makeSupportFolder();
    const auto items = findItems();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].kind, Item::Kind::SupportFolder);
    EXPECT_EQ(items[0].path, folder);
}

TEST_F(UninstallPlan, AFileNamedAsTheSupportFolderIsLeftUnchanged) {
    home_.writeFile("Library/Application Support/Tallyframe", "somebody else's");
    EXPECT_TRUE(findItems().empty());
}

TEST_F(UninstallPlan, EachItemIsMovedToTheUsersTrash) {
    applications_.application = home_.makeFolder("T/-Tally\nframe.app/");
    const std::string folder = makeSupportFolder();
    const auto reports = moveToTrash(findItems());
    const std::string trash = home_ / ".Trash";
    EXPECT_EQ(trash_.recycled,
              (StringList{home_ / "T" + "|-Tally\nframe.app|" + trash,
                          home_ / "Library/Application Support" + "|Tallyframe|" + trash}));
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].fate, Fate::Moved);
    EXPECT_EQ(reports[1].fate, Fate::Moved);
    EXPECT_TRUE(allGone(reports));
}

TEST_F(UninstallPlan, AnItemThatCannotBeMovedDoesNotStopTheOthers) {
    applications_.application = home_.makeFolder("Applications/Tallyframe.app");
    trash_.refused = "Tallyframe.app";
    makeSupportFolder();
    const auto reports = moveToTrash(findItems());
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].fate, Fate::NotMoved);
    EXPECT_EQ(reports[0].item.path, *applications_.application);
    EXPECT_EQ(reports[1].fate, Fate::Moved);
    EXPECT_FALSE(allGone(reports));
}

TEST_F(UninstallPlan, AnItemThatVanishedMeanwhileIsNotLeftOver) {
    applications_.application = home_ / "Applications/Tallyframe.app";
    trash_.refused = "Tallyframe.app";
    const auto reports = moveToTrash(findItems());
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].fate, Fate::Missing);
    EXPECT_TRUE(allGone(reports));
}

TEST_F(UninstallPlan, TheResultOfAnItemIsLoggedOnOneLine) {
    home_.makeFolder("Library/Logs/Quillmoor");
    KXLog::createNewLog("Plan");
    applications_.application = home_.makeFolder("Tally\nframe.app");
    (void)moveToTrash(findItems());
    KXLog::finishWriting();
    const StringList logs = KXLog::availableLogs();
    ASSERT_EQ(logs.size(), 1U);
    const std::string text = test::readFile(logs[0]);
    EXPECT_NE(text.find(" - Moved to the Trash: " + home_.path() + "/Tally\\nframe.app\n"),
              std::string::npos)
        << text;
}

}  // namespace
}  // namespace quillmoor::tallyframe
