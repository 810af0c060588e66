#include "quillmoor/pane/RK_MessageViewPane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "quillmoor/base/paths.h"
#include "quillmoor/log/KXLog.h"
#include "tests/children/child_tools.h"
#include "tests/pane/support/pane_fakes.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What the pane did, in order.
using Events = StringList;

class RecordingControl : public Control {
  public:
    RecordingControl(std::string name, Events& events) : name_(std::move(name)), events_(events) {}
    void setHidden(bool hidden) override {
        events_.push_back((hidden ? "hide " : "show ") + name_);
    }

  private:
    std::string name_;
    Events& events_;
};

class RecordingNavigation : public PaneNavigation {
  public:
    explicit RecordingNavigation(Events& events) : events_(events) {}
    void gotoNextPane() override { events_.emplace_back("next"); }
    void gotoPreviousPane() override { events_.emplace_back("previous"); }

  private:
    Events& events_;
};

class FakeLocations : public test::ForwardingLocations {
  public:
    int asked = 0;
    std::string temporaryDirectory() override {
        ++asked;
        return ForwardingLocations::temporaryDirectory();
    }
};

class Pane : public ::testing::Test {
  protected:
    Pane() {
        pane_.titleText = &titleText_;
        pane_.descriptionText = &descriptionText_;
        pane_.uninstallBtn = &uninstallBtn_;
        platform_->applications = &applications_;
        platform_->toolPaths = &tools_;
        platform_->bundles = &bundles_;
    }
    // The log's worker uses the fakes.
    void TearDown() override { KXLog::finishWriting(); }
    void install() { applications_.product = "/Applications/Tallyframe.app"; }

    Events events_;
    RecordingNavigation navigation_{events_};
    RecordingControl titleText_{"titleText", events_};
    RecordingControl descriptionText_{"descriptionText", events_};
    RecordingControl uninstallBtn_{"uninstallBtn", events_};
    test::FakeApplications applications_;
    test::FakeTools tools_;
    test::FakeBundles bundles_;
    test::ScopedPlatform platform_;
    test::TempFolder folder_;
    RK_MessageViewPane pane_{navigation_};
};

TEST_F(Pane, IsTitledVersionCheck) {
    EXPECT_EQ(pane_.title(), "Version Check");
}

TEST_F(Pane, MayAlwaysBeLeft) {
    install();
    for (const long direction : {0, 1, 2, 7})
        EXPECT_TRUE(pane_.shouldExitPane(InstallerDirection{direction}));
}

TEST_F(Pane, WithoutTheProductGoesToTheNextPane) {
    pane_.didEnterPane(InstallerDirection::Forward);
    EXPECT_THAT(events_, ElementsAre("next"));
}

TEST_F(Pane, WithoutTheProductGoesToThePreviousPaneBackward) {
    pane_.didEnterPane(InstallerDirection::Backward);
    EXPECT_THAT(events_, ElementsAre("previous"));
}

TEST_F(Pane, AnyOtherDirectionCountsAsForward) {
    for (const long direction : {2, 3, -1}) {
        events_.clear();
        pane_.didEnterPane(InstallerDirection{direction});
        EXPECT_THAT(events_, ElementsAre("next")) << direction;
    }
}

TEST_F(Pane, WithTheProductShowsItsElementsInOrderAndStays) {
    install();
    for (const long direction : {0, 1, 2}) {
        events_.clear();
        pane_.didEnterPane(InstallerDirection{direction});
        EXPECT_THAT(events_,
                    ElementsAre("show titleText", "show descriptionText", "show uninstallBtn"));
    }
}

TEST_F(Pane, AnEmptyPathMeansThatTheProductExists) {
    applications_.product = "";
    pane_.didEnterPane(InstallerDirection::Forward);
    EXPECT_EQ(events_.size(), 3U);
}

TEST_F(Pane, SearchesForTheProductOnEveryEntry) {
    install();
    pane_.didEnterPane(InstallerDirection::Forward);
    applications_.product = std::nullopt;
    events_.clear();
    pane_.didEnterPane(InstallerDirection::Backward);
    EXPECT_THAT(events_, ElementsAre("previous"));
    install();
    events_.clear();
    pane_.didEnterPane(InstallerDirection::Forward);
    EXPECT_EQ(events_.size(), 3U);
}

TEST_F(Pane, IgnoresAMissingOutlet) {
    install();
    pane_.titleText = nullptr;
    pane_.descriptionText = nullptr;
    pane_.didEnterPane(InstallerDirection::Forward);
    EXPECT_THAT(events_, ElementsAre("show uninstallBtn"));
}

TEST_F(Pane, SearchesForTheProductOnceForEachEntry) {
    pane_.didEnterPane(InstallerDirection::Forward);
    EXPECT_THAT(applications_.looked, ElementsAre("com.quillmoor.tallyframe"));
    install();
    pane_.didEnterPane(InstallerDirection::Backward);
    EXPECT_EQ(applications_.looked.size(), 2U);
}

TEST_F(Pane, DoesNotLogOnEntry) {
    const int threads = test::threadCount();
    pane_.didEnterPane(InstallerDirection::Forward);
    install();
    pane_.didEnterPane(InstallerDirection::Forward);
    EXPECT_EQ(test::threadCount(), threads);
    EXPECT_FALSE(test::somethingAt(std::string(std::getenv("HOME")) + "/Library"));
}

TEST_F(Pane, TheButtonUnpacksTheUninstallerIntoANewFolderAndOpensIt) {
    tools_.tool = test::writeTool(folder_);
    bundles_.own->archive = folder_.writeFile("Tallyframe Uninstaller.zip");
    pane_.uninstall(&uninstallBtn_);
    EXPECT_THAT(bundles_.own->asked, ElementsAre("Tallyframe Uninstaller", "zip"));
    ASSERT_EQ(applications_.opened.size(), 1U);
    const std::string opened = applications_.opened.front();
    EXPECT_EQ(lastPathComponent(opened), "Tallyframe Uninstaller.app");
    EXPECT_TRUE(test::somethingAt(opened));
    EXPECT_EQ(test::readFile(folder_ / "arguments"),
              "[-xk][" + *bundles_.own->archive + "][" + deleteLastPathComponent(opened) + "]");
    EXPECT_THAT(events_, IsEmpty());
}

TEST_F(Pane, TheButtonFindsTheArchiveBeforeItMakesAScratchPath) {
    FakeLocations locations;
    platform_->locations = &locations;
    bundles_.own->meanwhile = [&] { EXPECT_EQ(locations.asked, 0); };
    pane_.uninstall(nullptr);
    EXPECT_FALSE(bundles_.own->asked.empty());
    EXPECT_GT(locations.asked, 0);
    KXLog::finishWriting();
    platform_->locations = platform::native().locations;
}

TEST_F(Pane, TheButtonLogsNothingWhateverFails) {
    class LogFile : public platform::FileHandle {
      public:
        std::atomic<int> lines{0};
        void writeData(std::string_view) override { ++lines; }
        std::uint64_t seekToEndOfFile() override { return 0; }
        std::size_t readAvailableData(platform::ByteBuffer&) override { return 0; }
        void closeFile() override {}
    };
    const auto file = std::make_shared<LogFile>();
    KXLog::sharedController()->setFileHandle(file);
    tools_.tool = test::writeTool(folder_);
    pane_.uninstall(nullptr);
    bundles_.own = nullptr;
    pane_.uninstall(nullptr);
    KXLog::finishWriting();
    EXPECT_EQ(applications_.opened.size(), 2U);
    EXPECT_EQ(file->lines, 0);
    KXLog::sharedController()->setFileHandle(nullptr);
}

TEST_F(Pane, PressingTwiceUnpacksTwoCopiesThatRemain) {
    tools_.tool = test::writeTool(folder_);
    bundles_.own->archive = folder_.writeFile("Tallyframe Uninstaller.zip");
    pane_.uninstall(nullptr);
    pane_.uninstall(nullptr);
    ASSERT_EQ(applications_.opened.size(), 2U);
    EXPECT_NE(applications_.opened[0], applications_.opened[1]);
    EXPECT_TRUE(test::somethingAt(applications_.opened[0]));
    EXPECT_TRUE(test::somethingAt(applications_.opened[1]));
}

TEST_F(Pane, AMissingArchiveRunsTheToolWithItsOptionsOnly) {
    tools_.tool = test::writeTool(folder_);
    pane_.uninstall(nullptr);
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "[-xk]");
    ASSERT_EQ(applications_.opened.size(), 1U);
    EXPECT_FALSE(test::somethingAt(applications_.opened[0]));
}

TEST_F(Pane, AMissingBundleOrToolShowsNothing) {
    bundles_.own = nullptr;
    pane_.uninstall(nullptr);
    ASSERT_EQ(applications_.opened.size(), 1U);
    EXPECT_FALSE(test::somethingAt(applications_.opened[0]));
    EXPECT_THAT(events_, IsEmpty());
}

}  // namespace
}  // namespace quillmoor
