#include "host/plugin/bundle_loader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QPushButton>
#include <QSignalSpy>
#include <cstdlib>
#include <filesystem>

#include "host/ground/host_error.h"
#include "host/plugin/host_services.h"
#include "tests/host/support/bundle_maker.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class BundleLoader : public ::testing::Test {
  protected:
    void SetUp() override { ::setenv("INSTALLER_TEST_RECORD", (folder_ / "record").c_str(), 1); }
    void TearDown() override { ::unsetenv("INSTALLER_TEST_REFUSE"); }

    std::unique_ptr<PluginPane> load(const std::string& bundle, const QStringList& languages = {}) {
        return loadBundle(bundle, {languages, transcript_,
                                   [this](PluginPane&, Direction way) { wishes_.push_back(way); }});
    }
    std::string errorOf(const test::BundleParts& parts) {
        try {
            load(makeBundle(folder_, "X.bundle", parts));
        } catch (const LoadError& error) {
            return error.what();
        }
        return "";
    }
    static test::BundleParts whole() {
        test::BundleParts parts;
        parts.interfaceFile = test::interfaceFor("Shows");
        return parts;
    }
    std::vector<std::string> record() const { return test::linesOf(folder_ / "record"); }

    test::TempFolder folder_;
    Transcript transcript_{folder_ / "transcript"};
    std::vector<Direction> wishes_;
};

TEST_F(BundleLoader, MakesThePaneAndJoinsItsOutlets) {
    const auto pane = load(makeBundle(folder_, "X.bundle", whole()));
    EXPECT_EQ(pane->title(), "Shows");
    EXPECT_THAT(record(), ElementsAre("attached 1", "created Shows", "Shows outlet titleText",
                                      "Shows outlet descriptionText", "Shows outlet uninstallBtn"));
}

TEST_F(BundleLoader, WhatTheInterfaceFileHidesIsHidden) {
    const auto pane = load(makeBundle(folder_, "X.bundle", whole()));
    const auto widget = pane->takeWidget();
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"})
        EXPECT_TRUE(widget->findChild<QWidget*>(name)->isHidden()) << name;
    pane->didEnter(Direction::Forward);
    for (const char* name : {"titleText", "descriptionText", "uninstallBtn"})
        EXPECT_FALSE(widget->findChild<QWidget*>(name)->isHidden()) << name;
}

TEST_F(BundleLoader, ThePaneIsDestroyedAndItsControlsThenDoNothing) {
    auto pane = load(makeBundle(folder_, "X.bundle", whole()));
    pane->takeWidget().reset();
    pane->didEnter(Direction::Backward);
    pane.reset();
    EXPECT_THAT(record(), Contains("Shows entered 1"));
    EXPECT_EQ(record().back(), "Shows destroyed");
}

TEST_F(BundleLoader, AButtonCallsItsAction) {
    const auto pane = load(makeBundle(folder_, "X.bundle", "Shows", {"hide:", "nothing:"}));
    const auto widget = pane->takeWidget();
    auto* hide = widget->findChild<QPushButton*>("hide");
    hide->click();
    EXPECT_THAT(record(), Contains("Shows action hide:"));
    EXPECT_TRUE(hide->isHidden());
    EXPECT_THAT(test::linesOf(folder_ / "transcript"),
                ElementsAre("action: hide: from hide", "hidden: hide"));
}

TEST_F(BundleLoader, AnActionThatThePaneDoesNotKnowIsToldInTheTranscript) {
    const auto pane = load(makeBundle(folder_, "X.bundle", "Shows", {"nothing:"}));
    pane->takeWidget()->findChild<QPushButton*>("nothing")->click();
    EXPECT_THAT(test::linesOf(folder_ / "transcript").back(),
                "problem: “" + folder_.path() + "/X.bundle”: its pane has no action “nothing:”");
}

TEST_F(BundleLoader, AnActionOnWhatIsNoButtonIsToldInTheTranscript) {
    auto parts = whole();
    const std::string label = "name=\"titleText\">";
    parts.interfaceFile.insert(
        parts.interfaceFile.find(label) + label.size(),
        R"(<property name="action" stdset="0"><string>uninstall:</string></property>)");
    load(makeBundle(folder_, "X.bundle", parts));
    EXPECT_THAT(test::linesOf(folder_ / "transcript").back(),
                HasSubstr("“titleText” is no button and cannot perform “uninstall:”"));
}

TEST_F(BundleLoader, APaneGoesOnByItself) {
    const auto pane = load(makeBundle(folder_, "X.bundle", "PassesOver"));
    pane->didEnter(Direction::Forward);
    pane->didEnter(Direction::Backward);
    EXPECT_THAT(wishes_, ElementsAre(Direction::Forward, Direction::Backward));
}

TEST_F(BundleLoader, AnUntitledPaneTakesTheSectionsTitle) {
    auto parts = whole();
    parts.interfaceFile = test::interfaceFor("Untitled");
    parts.info["InstallerSectionTitle"] = "A Section";
    EXPECT_EQ(load(makeBundle(folder_, "X.bundle", parts))->title(), "A Section");
}

TEST_F(BundleLoader, TheInterfaceFileOfTheUsersLanguageIsTaken) {
    const std::string bundle = makeBundle(folder_, "X.bundle", whole());
    folder_.writeFile("X.bundle/Contents/Resources/de.lproj/Recorder.ui",
                      test::interfaceFor("Gezeigt"));
    EXPECT_EQ(load(bundle, {"de-AT", "en"})->title(), "Gezeigt");
    EXPECT_EQ(load(bundle, {"fr", "de"})->title(), "Gezeigt");
    EXPECT_EQ(load(bundle, {"fr"})->title(), "Shows");
    folder_.writeFile("X.bundle/Contents/Resources/de-AT.lproj/Recorder.ui",
                      test::interfaceFor("Hergezeigt"));
    EXPECT_EQ(load(bundle, {"de-AT", "en"})->title(), "Hergezeigt");
}

TEST_F(BundleLoader, OnePlugInIsAttachedOnceHoweverOftenItIsLoaded) {
    const std::string bundle = makeBundle(folder_, "X.bundle", whole());
    const auto first = load(bundle);
    const auto second = load(bundle);
    const auto lines = record();
    EXPECT_EQ(std::ranges::count(lines, "attached 1"), 1);
    EXPECT_EQ(std::ranges::count(lines, "created Shows"), 2);
}

TEST_F(BundleLoader, AMissingInterfaceFileIsNamed) {
    auto parts = whole();
    parts.interfaceFile.clear();
    EXPECT_EQ(errorOf(parts), "it has no interface file “Contents/Resources/Recorder.ui”");
}

TEST_F(BundleLoader, AnInterfaceFileThatDoesNotParseNamesTheLine) {
    auto parts = whole();
    parts.interfaceFile = "<ui version=\"4.0\">\n<widget class=\"QWidget\">\n</ui>\n";
    EXPECT_THAT(errorOf(parts),
                ::testing::AllOf(StartsWith("Contents/Resources/Recorder.ui cannot be read: "),
                                 HasSubstr("line 3")));
}

std::string nested(int depth) {
    std::string file = "<ui version=\"4.0\">";
    for (int i = 1; i < depth; ++i) file += "\n<widget class=\"QWidget\" name=\"w\">";
    for (int i = 1; i < depth; ++i) file += "</widget>";
    return file + "</ui>";
}

TEST_F(BundleLoader, AnInterfaceFileIsReadToADepthOf200) {
    auto parts = whole();
    parts.interfaceFile = nested(200);
    EXPECT_THAT(errorOf(parts), HasSubstr("names no pane class"));
    std::filesystem::remove_all(folder_ / "X.bundle");
    parts.interfaceFile = nested(201);
    EXPECT_EQ(errorOf(parts),
              "Contents/Resources/Recorder.ui cannot be read: line 201: more than 200 elements are "
              "nested");
}

// The toolkit would overflow the stack.
TEST_F(BundleLoader, AnInterfaceFileThatIsNestedTooDeepIsRefusedBeforeTheToolkitReadsIt) {
    auto parts = whole();
    parts.interfaceFile = nested(30000);
    EXPECT_THAT(errorOf(parts), HasSubstr("more than 200 elements are nested"));
}

TEST_F(BundleLoader, AnInterfaceFileThatIsNoFileSaysSo) {
    auto parts = whole();
    parts.interfaceFile.clear();
    folder_.makeFolder("X.bundle/Contents/Resources/Recorder.ui");
    EXPECT_EQ(errorOf(parts), "Contents/Resources/Recorder.ui cannot be read: not a regular file");
}

TEST_F(BundleLoader, AnInterfaceFileMustNameThePanesClass) {
    auto parts = whole();
    parts.interfaceFile = R"(<ui version="4.0"><widget class="QWidget" name="x"/></ui>)";
    EXPECT_EQ(errorOf(parts),
              "Contents/Resources/Recorder.ui names no pane class: its topmost widget needs a "
              "property “paneClass”");
}

TEST_F(BundleLoader, AMissingPlugInIsNamed) {
    auto parts = whole();
    parts.program.clear();
    EXPECT_EQ(errorOf(parts), "it has no plug-in “Contents/Linux/Recorder.so”");
}

TEST_F(BundleLoader, APlugInThatIsNoFileSaysSo) {
    auto parts = whole();
    parts.program.clear();
    folder_.makeFolder("X.bundle/Contents/Linux");
    ASSERT_EQ(::mkfifo((folder_ / "X.bundle/Contents/Linux/Recorder.so").c_str(), 0600), 0);
    EXPECT_EQ(errorOf(parts), "Contents/Linux/Recorder.so is not a regular file");
}

TEST_F(BundleLoader, APlugInThatIsNoSharedObjectGivesTheSystemsText) {
    auto parts = whole();
    parts.program = folder_.writeFile("text", "this is no program");
    EXPECT_THAT(errorOf(parts),
                StartsWith("Contents/Linux/Recorder.so cannot be opened: file too short"));
}

// The loader alone would end the process where it reads beyond the file's end.
TEST_F(BundleLoader, ATruncatedPlugInIsRefusedBeforeItIsLoaded) {
    auto parts = whole();
    parts.program = folder_ / "cut.so";
    for (const std::uintmax_t size : {500U, 5000U, 20000U}) {
        std::filesystem::remove(parts.program);
        std::filesystem::copy_file(RECORDING_PLUGIN, parts.program);
        std::filesystem::resize_file(parts.program, size);
        EXPECT_THAT(errorOf(parts), StartsWith("Contents/Linux/Recorder.so is truncated: a part "));
        std::filesystem::remove_all(folder_ / "X.bundle");
    }
    EXPECT_THAT(record(), ::testing::IsEmpty());
}

TEST_F(BundleLoader, APlugInThatNeedsWhatNobodyHasGivesTheSystemsText) {
    auto parts = whole();
    parts.program = UNRESOLVED_PLUGIN;
    EXPECT_THAT(errorOf(parts), HasSubstr("undefined symbol: function_that_nobody_has"));
}

TEST_F(BundleLoader, AMissingFunctionIsNamed) {
    auto parts = whole();
    parts.program = LACKING_PLUGIN;
    EXPECT_EQ(errorOf(parts),
              "Contents/Linux/Recorder.so exports no function “installer_plugin_create_pane”");
}

TEST_F(BundleLoader, APlugInThatRefusesTheHostSaysSo) {
    ::setenv("INSTALLER_TEST_REFUSE", "1", 1);
    EXPECT_EQ(errorOf(whole()),
              "Contents/Linux/Recorder.so cannot work with this host: it refused version 1 of the "
              "plug-in interface");
}

TEST_F(BundleLoader, AnUnknownPaneClassIsNamed) {
    auto parts = whole();
    parts.interfaceFile = test::interfaceFor("Unknown");
    EXPECT_EQ(errorOf(parts), "Contents/Linux/Recorder.so has no pane class “Unknown”");
}

TEST_F(BundleLoader, APaneThatIsNotCompleteNamesWhatItLacks) {
    auto parts = whole();
    parts.interfaceFile = test::interfaceFor("Incomplete");
    EXPECT_EQ(errorOf(parts), "its pane class “Incomplete” lacks the function “did_enter_pane”");
}

TEST_F(BundleLoader, NoCodeOfThePlugInRunsBeforeTheRestHasBeenChecked) {
    auto parts = whole();
    parts.interfaceFile = "<ui/>";
    EXPECT_NE(errorOf(parts), "");
    EXPECT_THAT(record(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace quillmoor::host
