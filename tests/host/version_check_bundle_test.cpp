// The shipped bundle in the shipped host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/host/support/bundle_maker.h"
#include "tests/host/support/host_run.h"
#include "tests/host/support/version_check.h"
#include "tests/pane/support/walk_table.h"

namespace quillmoor::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

namespace fs = std::filesystem;

constexpr const char* kExplanation =
    "A copy of Tallyframe is on this computer. If you remove it first, nothing of the old version "
    "is left beside the new one.\n\n"
    "Open the uninstaller, which is an application of its own, and come back here when it has "
    "finished. To keep the old copy for now, simply continue; you can do so at any time.";
constexpr const char* kGermanExplanation =
    "Auf diesem Computer befindet sich schon eine Kopie von Tallyframe. Wenn Sie sie zuerst "
    "entfernen, bleibt neben der neuen Version nichts von der alten zurück.\n\n"
    "Öffnen Sie dazu das Deinstallationsprogramm, ein eigenes Programm, und kehren Sie hierher "
    "zurück, sobald es fertig ist. Möchten Sie die alte Kopie vorerst behalten, fahren Sie einfach "
    "fort; das geht jederzeit.";

class VersionCheckBundle : public ::testing::Test {
  protected:
    HostRun play(const std::string& script, const std::string& language = "en",
                 const std::string& bundle = VERSION_CHECK_BUNDLE) {
        auto environment = computer_.environment();
        environment.insert({{"ENTRY", computer_.entry()},
                            {"EXPLANATION", kExplanation},
                            {"GERMAN_EXPLANATION", kGermanExplanation}});
        const TempFolder& folder = computer_.folder();
        return runHost(folder,
                       {bundle, "--strict", "--language", language, "--script",
                        folder.writeFile("script", script), "--transcript", folder / "transcript"},
                       environment);
    }
    std::vector<std::string> transcript() const {
        return linesOf(computer_.folder() / "transcript");
    }
    std::vector<std::string> opened() const { return linesOf(computer_.opened()); }

    Computer computer_;
};

TEST_F(VersionCheckBundle, WithoutTheProductIsPassedOverForwardAndBackward) {
    const auto run = play(
        "expect pane Introduction\ncontinue\nexpect pane Summary\n"
        "back\nexpect pane Introduction\n");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(
        transcript(),
        ElementsAre("sections: “Introduction”, “Version Check”, “Summary”",
                    "entered: “Introduction” forward", "on screen: “Introduction”",
                    "continue: “Introduction”", "entered: “Version Check” forward",
                    "passed over: “Version Check” forward", "entered: “Summary” forward",
                    "on screen: “Summary”", "back: “Summary”", "entered: “Version Check” backward",
                    "passed over: “Version Check” backward", "entered: “Introduction” backward",
                    "on screen: “Introduction”"));
}

TEST_F(VersionCheckBundle, WithTheProductOffersItsUninstaller) {
    computer_.install();
    const auto run = play(
        "continue\nexpect pane Version Check\n"
        "expect visible titleText\nexpect visible descriptionText\nexpect visible uninstallBtn\n"
        "expect text paneTitle Version Check\n"
        "expect text titleText Tallyframe is already installed\n"
        "expect text descriptionText ${EXPLANATION}\n"
        "expect text uninstallBtn Open Uninstaller…\n");
    EXPECT_EQ(run.status, 0) << run.error;
    std::vector<std::string> shown = transcript();
    std::erase_if(shown, [](const auto& line) { return !line.starts_with("shown"); });
    EXPECT_THAT(shown,
                ElementsAre("shown: titleText", "shown: descriptionText", "shown: uninstallBtn"));
}

TEST_F(VersionCheckBundle, IsShownInGerman) {
    computer_.install();
    const auto run = play(
        "continue\nexpect pane Version Check\n"
        "expect text titleText Tallyframe ist bereits installiert\n"
        "expect text descriptionText ${GERMAN_EXPLANATION}\n"
        "expect text uninstallBtn Deinstallation öffnen …\n",
        "de_AT");
    EXPECT_EQ(run.status, 0) << run.error;
}

TEST_F(VersionCheckBundle, MayBeLeftInEitherDirection) {
    computer_.install();
    const auto run = play(
        "continue\nexpect pane Version Check\nback\nexpect pane Introduction\n"
        "continue\ncontinue\nexpect pane Summary\nback\nexpect pane Version Check\n");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(transcript(), Not(Contains(StartsWith("passed over"))));
}

TEST_F(VersionCheckBundle, NoticesWhatIsRemovedAndInstalledMeanwhile) {
    computer_.install();
    const auto run = play(
        "continue\nexpect pane Version Check\nrun mv ${ENTRY} ${ENTRY}.away\n"
        "continue\nback\nexpect pane Introduction\nrun mv ${ENTRY}.away ${ENTRY}\n"
        "continue\nexpect pane Version Check\n");
    EXPECT_EQ(run.status, 0) << run.error;
}

// The tests of the pane for macOS walk the same table.
TEST_F(VersionCheckBundle, WalksLeadWhereTheTableSays) {
    const auto scriptOf = [](const Walk& walk) {
        std::string script;
        for (std::size_t i = 0; i < walk.steps.size(); ++i) {
            const std::string& step = walk.steps[i];
            if (step == "remove")
                script += "run mv ${ENTRY} ${ENTRY}.away\n";
            else if (step == "install")
                script += "run mv ${ENTRY}.away ${ENTRY}\n";
            else
                script += step + "\n";
            script += "expect pane " + walk.panes[i] + "\n";
            if (walk.panes[i] != "Version Check") continue;
            for (const char* element : {"titleText", "descriptionText", "uninstallBtn"})
                script += std::string("expect visible ") + element + "\n";
        }
        return script;
    };
    for (const Walk& walk : readWalks(WALKS)) {
        computer_.install();
        if (!walk.installed) fs::rename(computer_.entry(), computer_.entry() + ".away");
        const auto run = play(scriptOf(walk));
        EXPECT_EQ(run.status, 0) << walk.line << "\n" << run.error;
    }
}

// Applications of a home are found for an ordinary user only.
using UserVersionCheckBundle = VersionCheckBundle;
TEST_F(UserVersionCheckBundle, NoticesAnApplicationInTheHome) {
    if (::getuid() == 0) GTEST_SKIP() << "root's home is not searched";
    computer_.folder().writeFile("home/Applications/Tallyframe.app/Contents/Info.plist",
                                 infoPlist({{"CFBundleIdentifier", "com.quillmoor.tallyframe"}}));
    const auto run = play("continue\nexpect pane Version Check\n");
    EXPECT_EQ(run.status, 0) << run.error;
}

TEST_F(VersionCheckBundle, TheButtonUnpacksTheUninstallerAndOpensIt) {
    computer_.install();
    const auto run =
        play("continue\npress uninstallBtn\nwait file ${OPENED}\nexpect pane Version Check\n", "en",
             computer_.bundleWithStub());
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(transcript(), Contains("action: uninstall: from uninstallBtn"));
    ASSERT_EQ(opened().size(), 1U);
    EXPECT_THAT(opened()[0], StartsWith(computer_.temporary() + "/"));
    EXPECT_THAT(opened()[0], EndsWith("/Tallyframe Uninstaller.app/Contents/Linux/Stub"));
    EXPECT_TRUE(somethingAt(opened()[0])) << "the unpacked copy must stay";
}

// Users that may write there could replace the uninstaller.
TEST_F(VersionCheckBundle, UnpacksIntoAPrivateFolder) {
    computer_.install();
    const auto run = play("continue\npress uninstallBtn\nwait file ${OPENED}\n", "en",
                          computer_.bundleWithStub());
    ASSERT_EQ(run.status, 0) << run.error;
    const fs::path own = *fs::directory_iterator(computer_.temporary());
    EXPECT_THAT(opened().at(0), StartsWith(own.string() + "/"));
    EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
}

TEST_F(VersionCheckBundle, LeavesNoEmptyTemporaryFolder) {
    const auto run = play("expect pane Introduction\n");
    ASSERT_EQ(run.status, 0) << run.error;
    EXPECT_TRUE(fs::is_empty(computer_.temporary()));
}

TEST_F(VersionCheckBundle, PressingTwiceOpensTwoCopies) {
    computer_.install();
    const auto run = play(
        "continue\npress uninstallBtn\npress uninstallBtn\n"
        "run sh -c \"for i in `seq 500`; do [ `wc -l <$OPENED` = 2 ] && exit; sleep .01; done; "
        "false\"\n",
        "en", computer_.bundleWithStub());
    EXPECT_EQ(run.status, 0) << run.error;
    ASSERT_EQ(opened().size(), 2U);
    EXPECT_NE(opened()[0], opened()[1]);
    EXPECT_TRUE(somethingAt(opened()[0]));
    EXPECT_TRUE(somethingAt(opened()[1]));
}

TEST_F(VersionCheckBundle, AnArchiveThatIsMissingOrHoldsSomethingElseShowsNoReaction) {
    computer_.install();
    for (const bool isMissing : {true, false}) {
        const std::string bundle =
            isMissing ? computer_.bundleWithoutArchive() : computer_.bundleWithStub("Other.app");
        const auto run = play("continue\npress uninstallBtn\nwait 50\nexpect pane Version Check\n",
                              "en", bundle);
        EXPECT_EQ(run.status, 0) << run.error;
        EXPECT_THAT(opened(), IsEmpty());
        std::filesystem::remove_all(bundle);
    }
}

TEST_F(VersionCheckBundle, IsInTheShippedOrderOfSections) {
    const TempFolder& folder = computer_.folder();
    const std::string plugins = std::filesystem::path(VERSION_CHECK_BUNDLE).parent_path();
    const auto run = runHost(folder,
                             {"--plugins", plugins, "--strict", "--script",
                              folder.writeFile("script", "quit\n"), "--transcript", "-"},
                             computer_.environment());
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(linesOf(folder / "host.out"),
                Contains("sections: “Introduction”, “Version Check”, “Summary”"));
}

}  // namespace
}  // namespace quillmoor::test
