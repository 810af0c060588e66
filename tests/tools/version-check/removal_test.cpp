#include "tools/version-check/removal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill

#include <filesystem>

#include "tests/children/child_tools.h"
#include "tests/pane/support/pane_fakes.h"

namespace quillmoor::version_check {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool never() {
    return false;
}

bool always() {
    return true;
}

class FakeLocations : public test::ForwardingLocations {
  public:
    std::string temporary;
    std::string temporaryDirectory() override { return temporary; }
};

// Instead of the archiving tool a script makes the application, whose program is another script.
class RemovalTest : public ::testing::Test {
  protected:
    RemovalTest() {
        locations_.temporary = folder_.makeFolder("tmp");
        platform_->locations = &locations_;
        platform_->applications = &applications_;
        platform_->toolPaths = &tools_;
        applications_.product = "/Applications/Tallyframe.app";
        tools_.tool = script("tool",
                             "app=\"$3/Tallyframe Uninstaller.app/Contents\"\n"
                             "mkdir -p \"$app/Linux\"\n"
                             "cp '" +
                                 folder_ / "Info.plist" +
                                 "' \"$app\"\n"
                                 "cp '" +
                                 folder_ / "program" + "' \"$app/Linux/uninstall\"\n");
        folder_.writeFile("Info.plist",
                          "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                          "<key>CFBundleExecutable</key><string>uninstall</string></dict></plist>");
        uninstallerDoes("exit 0");
    }

    std::string script(const std::string& name, const std::string& commands) {
        const std::string path = folder_.writeFile(name, "#!/bin/sh\n" + commands);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    void uninstallerDoes(const std::string& commands) { script("program", commands + "\n"); }

    Removal run(std::chrono::seconds timeout = 60s) {
        patience_.timeout = timeout;
        return runUninstaller(archive_, patience_,
                              [this](const std::string& line) { lines_.push_back(line); });
    }

    bool isTemporaryFolderEmpty() const { return std::filesystem::is_empty(locations_.temporary); }

    test::TempFolder folder_;
    const std::string archive_ = folder_.writeFile("Tallyframe Uninstaller.zip");
    FakeLocations locations_;
    test::FakeApplications applications_;
    test::FakeTools tools_;
    Patience patience_{60s, 1s, never, ""};
    StringList lines_;
    test::ScopedPlatform platform_;
};

TEST_F(RemovalTest, RunsTheUninstallerWithoutQuestionsAndPassesItsLinesOn) {
    applications_.product = std::nullopt;
    uninstallerDoes("echo \"one $*\"; printf 'two\\n\\nlast'");
    const Removal removal = run();
    EXPECT_EQ(removal.outcome, RemovalOutcome::Removed);
    EXPECT_EQ(removal.uninstaller, std::nullopt);
    EXPECT_THAT(lines_, ElementsAre("one --unattended", "two", "", "last"));
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, UnpacksWhereNoOtherUserMayLook) {
    uninstallerDoes("stat -c %a \"${0%/uninstaller/*}\"");
    run();
    EXPECT_THAT(lines_, ElementsAre("700"));
}

TEST_F(RemovalTest, SomethingIsLeftIfTheUninstallerSaysSo) {
    applications_.product = std::nullopt;
    uninstallerDoes("exit 1");
    EXPECT_EQ(run().outcome, RemovalOutcome::Left);
}

TEST_F(RemovalTest, SomethingIsLeftIfTheProductIsStillFound) {
    EXPECT_EQ(run().outcome, RemovalOutcome::Left);
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, SomethingIsLeftIfASignalEndsTheUninstaller) {
    applications_.product = std::nullopt;
    uninstallerDoes("kill -KILL $$");
    EXPECT_EQ(run().outcome, RemovalOutcome::Left);
}

TEST_F(RemovalTest, AnUninstallerThatTakesTooLongIsToldToEnd) {
    uninstallerDoes("echo begun; exec sleep 1000");
    EXPECT_EQ(run(1s).outcome, RemovalOutcome::TimedOut);
    EXPECT_THAT(lines_, ElementsAre("begun"));
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, AnInterruptedUninstallerIsToldToEnd) {
    uninstallerDoes("echo $$ >'" + folder_ / "pid" + "'; exec sleep 1000");
    patience_.isInterrupted = [this] { return test::somethingAt(folder_ / "pid"); };
    EXPECT_EQ(run().outcome, RemovalOutcome::Interrupted);
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, AnInterruptionDuringTheUnpackingStartsNothing) {
    uninstallerDoes("touch '" + folder_ / "was run" + "'");
    patience_.isInterrupted = always;
    EXPECT_EQ(run().outcome, RemovalOutcome::Interrupted);
    EXPECT_EQ(openUninstaller(archive_, always).outcome, RemovalOutcome::Interrupted);
    EXPECT_FALSE(test::somethingAt(folder_ / "was run"));
    EXPECT_THAT(applications_.opened, IsEmpty());
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, TheUnpackingCountsForTheTimeOut) {
    script("tool", "sleep 1.2\n" + test::readFile(folder_ / "tool"));
    uninstallerDoes("exec sleep 0.5");
    EXPECT_EQ(run(1s).outcome, RemovalOutcome::TimedOut);
}

TEST_F(RemovalTest, TheUninstallerIgnoresTheSameSignals) {
    applications_.product = std::nullopt;
    uninstallerDoes("kill -HUP $$; echo \"still there $*\"");
    patience_.ignoredSignals = "HUP INT";
    EXPECT_EQ(run().outcome, RemovalOutcome::Removed);
    EXPECT_THAT(lines_, ElementsAre("still there --unattended"));
    patience_.ignoredSignals = "";
    EXPECT_EQ(run().outcome, RemovalOutcome::Left);
}

TEST_F(RemovalTest, AnUninstallerThatDoesNotEndKeepsItsFolder) {
    uninstallerDoes("trap '' TERM; echo $$ >'" + folder_ / "pid" + "'; while :; do sleep 1; done");
    patience_.grace = 0s;
    patience_.isInterrupted = [this] { return test::somethingAt(folder_ / "pid"); };
    const Removal removal = run();
    EXPECT_EQ(removal.outcome, RemovalOutcome::Interrupted);
    ASSERT_TRUE(removal.uninstaller);
    EXPECT_TRUE(test::somethingAt(*removal.uninstaller + "/Contents/Linux/uninstall"));
    ::kill(test::pidIn(folder_ / "pid"), SIGKILL);
}

TEST_F(RemovalTest, AProcessThatKeepsTheOutputOpenDoesNotHoldTheCommandUp) {
    uninstallerDoes("sleep 1000 & echo $! >'" + folder_ / "pid" + "'; echo done");
    EXPECT_EQ(run().outcome, RemovalOutcome::Left);
    EXPECT_THAT(lines_, ElementsAre("done"));
    ::kill(test::pidIn(folder_ / "pid"), SIGKILL);
}

TEST_F(RemovalTest, NothingIsRunThatWasNotUnpacked) {
    uninstallerDoes("touch '" + folder_ / "was run" + "'");
    script("tool", "mkdir -p \"$3/Another.app\"");
    EXPECT_EQ(run().outcome, RemovalOutcome::NotUnpacked);
    EXPECT_EQ(openUninstaller(archive_, never).outcome, RemovalOutcome::NotUnpacked);
    EXPECT_THAT(applications_.opened, IsEmpty());
    EXPECT_FALSE(test::somethingAt(folder_ / "was run"));
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, WhyNothingWasUnpackedIsReported) {
    uninstallerDoes("");
    std::filesystem::remove(folder_ / "tool");
    EXPECT_EQ(run().reason, "“tool” is not executable");
    script("tool", "true");
    EXPECT_EQ(run().reason, "“uninstaller” couldn’t be created by the tool");
    script("tool", "mkdir -p \"$3/Another.app\"");
    EXPECT_EQ(run().reason, std::nullopt);
}

TEST_F(RemovalTest, AnApplicationWithoutAProgramIsNotRun) {
    for (const char* keys : {"", "<key>CFBundleExecutable</key><string>none</string>",
                             "<key>CFBundleExecutable</key><array/>",
                             "<key>CFBundleExecutable</key><string>../Info.plist</string>"}) {
        folder_.writeFile("Info.plist", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" +
                                            std::string(keys) + "</dict></plist>");
        EXPECT_EQ(run().outcome, RemovalOutcome::NotUnpacked) << keys;
    }
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, AProgramThatTheSystemCannotStartIsReported) {
    folder_.writeFile("program", "#!/nonexistent\n");
    EXPECT_EQ(run().outcome, RemovalOutcome::NotStarted);
    // As where the file system forbids programs.
    uninstallerDoes("exit 0");
    std::filesystem::permissions(folder_ / "program", std::filesystem::perms::owner_read);
    EXPECT_EQ(run().outcome, RemovalOutcome::NotStarted);
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

TEST_F(RemovalTest, TheProgramOfAnotherSystemsBundleCounts) {
    script("tool",
           "app=\"$3/Tallyframe Uninstaller.app/Contents\"\nmkdir -p \"$app/MacOS\"\n"
           "cp '" +
               folder_ / "Info.plist" +
               "' \"$app\"\n"
               "cp '" +
               folder_ / "program" + "' \"$app/MacOS/uninstall\"\n");
    applications_.product = std::nullopt;
    EXPECT_EQ(run().outcome, RemovalOutcome::Removed);
}

TEST_F(RemovalTest, TheOpenedUninstallerStaysWhereItRuns) {
    const Removal removal = openUninstaller(archive_, never);
    EXPECT_EQ(removal.outcome, RemovalOutcome::Opened);
    ASSERT_TRUE(removal.uninstaller);
    EXPECT_THAT(applications_.opened, ElementsAre(*removal.uninstaller));
    EXPECT_TRUE(removal.uninstaller->starts_with(locations_.temporary + "/version-check-"));
    EXPECT_TRUE(test::somethingAt(*removal.uninstaller));
}

TEST_F(RemovalTest, AnUninstallerThatCannotBeOpenedIsReported) {
    applications_.opens = false;
    EXPECT_EQ(openUninstaller(archive_, never).outcome, RemovalOutcome::NotStarted);
    EXPECT_TRUE(isTemporaryFolderEmpty());
}

}  // namespace
}  // namespace quillmoor::version_check
