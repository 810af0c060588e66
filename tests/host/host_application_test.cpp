#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/host/support/bundle_maker.h"
#include "tests/host/support/host_run.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

class InstallerHost : public ::testing::Test {
  protected:
    // Runs a script on a bundle of the given class, with a transcript and a record.
    HostRun play(const std::string& script, const std::string& paneClass = "Shows",
                 std::vector<std::string> more = {},
                 std::map<std::string, std::string> environment = {}) {
        const std::string bundle = folder_ / "X.bundle";
        if (!somethingAt(bundle)) makeBundle(folder_, "X.bundle", paneClass, actions_);
        std::vector<std::string> arguments{bundle,
                                           "--script",
                                           folder_.writeFile("script", script),
                                           "--transcript",
                                           folder_ / "transcript",
                                           "--pictures",
                                           folder_ / "pictures"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        environment.try_emplace("INSTALLER_TEST_RECORD", folder_ / "record");
        return runHost(folder_, arguments, environment);
    }
    std::vector<std::string> transcript() const { return linesOf(folder_ / "transcript"); }
    std::vector<std::string> record() const { return linesOf(folder_ / "record"); }
    QImage picture(const std::string& name) const {
        return QImage(QString::fromStdString(folder_ / ("pictures/" + name + ".png")));
    }
    // Waits until it is the last line of the file.
    void waitForLine(const char* file, const std::string& line) const {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (auto lines = linesOf(folder_ / file); lines.empty() || lines.back() != line;
             lines = linesOf(folder_ / file)) {
            ASSERT_LT(std::chrono::steady_clock::now(), until) << line;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    static std::string complaint(int line, const std::string& folder, const std::string& text) {
        return "installer-host: " + folder + "/script:" + std::to_string(line) + ": " + text + "\n";
    }

    TempFolder folder_;
    std::vector<std::string> actions_;
};

TEST_F(InstallerHost, GoesThroughAWholeScript) {
    const auto run = play(
        "expect pane Introduction\n"
        "expect hidden uninstallBtn\n"
        "continue\n"
        "expect pane Shows\n"
        "expect visible uninstallBtn\n"
        "expect text titleText A heading\n"
        "press uninstallBtn\n"
        "back\n"
        "continue\n"
        "continue\n"
        "expect pane Summary\n"
        "continue\n"
        "expect pane Summary\n"
        "note all well\n");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(run.error, "installer-host: there is no display; the window is drawn off screen\n");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(transcript().back(), "note: all well");
    EXPECT_THAT(record(),
                ElementsAre("attached 1", "created Shows", "Shows outlet titleText",
                            "Shows outlet descriptionText", "Shows outlet uninstallBtn",
                            "Shows entered 0", "Shows action uninstall:", "Shows asked 1",
                            "Shows entered 0", "Shows asked 0", "terminating", "Shows destroyed"));
}

TEST_F(InstallerHost, AsksAPaneForItsTitleBeforeItEntersIt) {
    EXPECT_EQ(play("continue\n", "TellsOfItsTitle").status, 0);
    const auto lines = record();
    const auto title = std::ranges::find(lines, "title");
    const auto entered = std::ranges::find(lines, "TellsOfItsTitle entered 0");
    ASSERT_NE(entered, lines.end());
    EXPECT_LT(title - lines.begin(), entered - lines.begin());
}

TEST_F(InstallerHost, PassesAPaneOver) {
    const auto run =
        play("continue\nexpect pane Summary\nback\nexpect pane Introduction\n", "PassesOver");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(transcript(), IsSupersetOf({"passed over: “PassesOver” forward",
                                            "passed over: “PassesOver” backward"}));
}

TEST_F(InstallerHost, NotifiesThePlugInOnceOfItsEnd) {
    EXPECT_EQ(play("quit\n").status, 0);
    const auto lines = record();
    EXPECT_EQ(std::ranges::count(lines, "terminating"), 1);
}

TEST_F(InstallerHost, NotifiesThePlugInWhenTheUserClosesTheWindow) {
    EXPECT_EQ(play("continue\ncontinue\npress closeButton\nwait 30000\n").status, 0);
    EXPECT_THAT(record(), Contains("terminating"));
}

TEST_F(InstallerHost, EndsInOrderWhenItIsTerminated) {
    const std::string bundle = makeBundle(folder_, "X.bundle", "Shows");
    HostProcess host(folder_,
                     {bundle, "--script", folder_.writeFile("script", "note up\nwait 50000\n"),
                      "--transcript", folder_ / "transcript"},
                     {{"INSTALLER_TEST_RECORD", folder_ / "record"}});
    waitForLine("transcript", "note: up");
    ::kill(host.id(), SIGTERM);
    EXPECT_EQ(host.wait().status, 0);
    EXPECT_THAT(record(), Contains("terminating"));
    EXPECT_EQ(record().back(), "Shows destroyed");
}

// The toolkit's minimal platform counts as a display: on it the window asks before it is closed.
TEST_F(InstallerHost, IsTerminatedWithoutAQuestion) {
    const std::string bundle = makeBundle(folder_, "X.bundle", "Shows");
    HostProcess host(
        folder_, {bundle, "--transcript", folder_ / "transcript"},
        {{"INSTALLER_TEST_RECORD", folder_ / "record"}, {"QT_QPA_PLATFORM", "minimal"}});
    waitForLine("transcript", "on screen: “Introduction”");
    ::kill(host.id(), SIGTERM);
    EXPECT_EQ(host.wait().status, 0);
    EXPECT_EQ(record().back(), "Shows destroyed");
}

// A first signal only asks the event loop to end, and a plug-in that hangs never returns to it.
TEST_F(InstallerHost, BlockedByAPlugInEndsAtTheSecondSignal) {
    const std::string bundle = makeBundle(folder_, "X.bundle", "Hangs");
    for (const int second : {SIGTERM, SIGINT}) {
        HostProcess host(folder_, {bundle, "--script", folder_.writeFile("script", "continue\n")},
                         {{"INSTALLER_TEST_RECORD", folder_ / "record"}});
        waitForLine("record", "Hangs entered 0");
        ::kill(host.id(), SIGHUP);
        ::kill(host.id(), second);
        EXPECT_EQ(host.wait().status, -second);
        EXPECT_THAT(record(), ::testing::Not(Contains("terminating")));
        std::filesystem::remove(folder_ / "record");
    }
}

// Two pending signals of one number are one, so it is sent until the process has ended.
TEST_F(InstallerHost, BlockedByAPlugInEndsWhenItIsTerminatedAgain) {
    const std::string bundle = makeBundle(folder_, "X.bundle", "Hangs");
    HostProcess host(folder_, {bundle, "--script", folder_.writeFile("script", "continue\n")},
                     {{"INSTALLER_TEST_RECORD", folder_ / "record"}});
    waitForLine("record", "Hangs entered 0");
    EXPECT_EQ(host.wait(SIGTERM).status, -SIGTERM);
}

TEST_F(InstallerHost, ServesItsPlugIns) {
    actions_ = {"wake:", "thread:", "pump:"};
    const auto run =
        play("continue\npress wake\npress pump\npress thread\nwait 1\nexpect pane Shows\n");
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(record(), IsSupersetOf({"drained on the main thread", "thread is not main"}));
}

TEST_F(InstallerHost, AnExpectationThatDoesNotHoldEndsTheRun) {
    const auto run = play("# first\nexpect pane Summary\nnote never\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr(complaint(
                               2, folder_.path(),
                               "expected the pane “Summary”, but “Introduction” is on screen")));
    EXPECT_THAT(transcript(), ::testing::Not(Contains("note: never")));
}

TEST_F(InstallerHost, EveryFailedStepGivesItsReason) {
    const std::vector<std::pair<std::string, std::string>> failures{
        {"expect visible uninstallBtn", "expected to see “uninstallBtn”, but it is hidden"},
        {"expect hidden continueButton",
         "expected “continueButton” to be hidden, but it can be seen"},
        {"expect visible nothing", "there is no interface element “nothing”"},
        {"expect text goBackButton On",
         "expected “goBackButton” to read “On”, but it reads “Go Back”"},
        {"expect text Recorder x", "“Recorder” shows no text"},
        {"press paneTitle", "“paneTitle” is not a button"},
        {"press uninstallBtn", "“uninstallBtn” is not on screen"},
        {"press goBackButton", "“goBackButton” cannot be pressed now"},
        {"wait file /nothing/here 1", "“/nothing/here” did not appear"},
        {"wait gone / 1", "“/” still exists"},
        {"run false", "“false” ended with status 1"},
        {"run sh -c \"kill -9 $$\"", "“sh” was ended by signal 9"},
    };
    for (const auto& [step, reason] : failures) {
        const auto run = play(step + "\n");
        EXPECT_EQ(run.status, 1) << step;
        EXPECT_THAT(run.error, HasSubstr(complaint(1, folder_.path(), reason)));
    }
}

TEST_F(InstallerHost, ACommandThatCannotBeStartedIsReported) {
    const auto run = play("run /no/such/program\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("script:1: “/no/such/program”: "));
}

TEST_F(InstallerHost, ScriptsWaitForFilesAndRunCommands) {
    const auto run = play(
        "run touch ${OUT}\nwait file ${OUT}\nrun rm ${OUT}\nwait gone ${OUT}\nwait 1\nnote done\n",
        "Shows", {}, {{"OUT", folder_ / "a b"}});
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(transcript().back(), "note: done");
}

TEST_F(InstallerHost, AnInvalidScriptIsAUsageError) {
    const auto run = play("continue\nleap\n");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.error, HasSubstr(complaint(2, folder_.path(), "there is no step “leap”")));
    EXPECT_THAT(record(), ::testing::IsEmpty());
}

TEST_F(InstallerHost, AMissingScriptIsAUsageError) {
    const auto run = runHost(folder_, {folder_ / "X.bundle", "--script", folder_ / "none"});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.error, HasSubstr(folder_ / "none: No such file or directory"));
}

TEST_F(InstallerHost, ATranscriptThatCannotBeOpenedIsAUsageError) {
    const auto run = play("quit\n", "Shows", {"--transcript", folder_ / "no/transcript"});
    EXPECT_EQ(run.status, 2);
}

TEST_F(InstallerHost, AnIncompleteTranscriptFailsTheRun) {
    if (!somethingAt("/dev/full")) GTEST_SKIP() << "this system has no /dev/full";
    const std::string bundle = makeBundle(folder_, "X.bundle", "Shows");
    const auto run = runHost(folder_, {bundle, "--script", folder_.writeFile("script", "quit\n"),
                                       "--transcript", "/dev/full"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("the transcript “/dev/full” could not be written completely"));
}

TEST_F(InstallerHost, APictureThatCannotBeWrittenFailsTheStep) {
    folder_.writeFile("pictures");
    const auto run = play("snapshot one\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("one.png” cannot be written: Not a directory"));
}

TEST_F(InstallerHost, ReportsThatItsTemporaryFolderCannotBeCreated) {
    const auto run = play("quit\n", "Shows", {}, {{"TMPDIR", "/proc"}});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.error, HasSubstr("no folder could be made in the temporary folder “/proc”: "));
}

TEST_F(InstallerHost, WithoutADisplayAScriptIsNeeded) {
    const auto run = runHost(folder_, {makeBundle(folder_, "X.bundle", "Shows")});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.error, HasSubstr("an off-screen window needs --script FILE"));
}

TEST_F(InstallerHost, ABundleThatCannotBeLoadedFailsAStrictRunOnly) {
    const std::string script = folder_.writeFile("script", "continue\nexpect pane Bad\n");
    const std::vector<std::string> arguments{folder_ / "Bad.bundle", "--script", script};
    EXPECT_EQ(runHost(folder_, arguments).status, 0);
    auto strict = arguments;
    strict.emplace_back("--strict");
    EXPECT_EQ(runHost(folder_, strict).status, 1);
}

TEST_F(InstallerHost, AFolderOfPlugInsGivesTheSections) {
    makeBundle(folder_, "X.bundle", "Shows");
    folder_.writeFile("InstallerSections.plist",
                      "<plist version=\"1.0\"><dict><key>SectionOrder</key><array>"
                      "<string>X.bundle</string><string>Introduction</string></array></dict>"
                      "</plist>");
    const auto run = runHost(folder_, {"--plugins", folder_.path(), "--script",
                                       folder_.writeFile("script", "expect pane Shows\n"),
                                       "--transcript", "-", "--strict"});
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_THAT(run.output, HasSubstr("sections: “Shows”, “Introduction”, “Summary”\n"));
}

TEST_F(InstallerHost, PicturesDoubleAtTwiceTheScale) {
    EXPECT_EQ(play("continue\nsnapshot one\n").status, 0);
    EXPECT_EQ(play("continue\nsnapshot two\n", "Shows", {}, {{"QT_SCALE_FACTOR", "2"}}).status, 0);
    ASSERT_FALSE(picture("one").isNull());
    EXPECT_EQ(picture("two").size(), picture("one").size() * 2);
}

TEST_F(InstallerHost, LightAndDarkPicturesDiffer) {
    EXPECT_EQ(play("snapshot light\n", "Shows", {"--appearance", "light"}).status, 0);
    EXPECT_EQ(play("snapshot dark\n", "Shows", {"--appearance", "dark"}).status, 0);
    EXPECT_GT(qGray(picture("light").pixel(5, 5)), 200);
    EXPECT_LT(qGray(picture("dark").pixel(5, 5)), 60);
}

TEST_F(InstallerHost, ShowsTheUsersLanguage) {
    const auto run =
        play("expect text continueButton Fortfahren\n", "Shows", {"--language", "de_AT"});
    if (run.error.find("Continue") != std::string::npos)
        GTEST_SKIP() << "built without translations";
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(play("expect text continueButton Continue\n", "Shows", {"--language", "fr"}).status,
              0);
}

TEST_F(InstallerHost, QuitsOnceTheFirstPaneHasBeenEnteredAndDrawn) {
    const std::string bundle = makeBundle(folder_, "X.bundle", "Shows");
    const auto run = runHost(folder_, {bundle, "--quit-after-enter"},
                             {{"INSTALLER_TEST_RECORD", folder_ / "record"}});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(record(), Contains("Shows entered 0"));
}

TEST_F(InstallerHost, AcceptsNamesOfAnyBytes) {
    const std::string bundle = makeBundle(folder_, "-a\n\xff.bundle", "Shows");
    const auto run = runHost(
        folder_, {bundle, "--script", folder_.writeFile("script", "continue\nexpect pane Shows\n"),
                  "--strict"});
    EXPECT_EQ(run.status, 0) << run.error;
}

}  // namespace
}  // namespace quillmoor::test
