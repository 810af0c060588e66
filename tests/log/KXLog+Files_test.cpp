#include <sys/stat.h>

#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using KXLogFiles = test::LogTest;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

TEST_F(KXLogFiles, AFirstRunMakesTheFolderAndWritesTheHeader) {
    bundles_.main->version = "1.2.3";
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_THAT(
        messages(logPath(1)),
        ElementsAre(MatchesRegex("Log started: [-0-9]* [:0-9]* .0000"), "Version: 1.2.3",
                    "Path: /Applications/Host.app/Contents/MacOS/Host.bin",
                    "System: OS X Version 12, 2 CPU(s), 6.00 GB RAM", "Running in 64-bit mode"));
    EXPECT_FALSE(test::somethingAt(logPath(2)));
    EXPECT_EQ(console_.printed(), "");
}

TEST_F(KXLogFiles, WithoutAVersionTheHeaderHasNoVersionLine) {
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
    EXPECT_THAT(messages(logPath(1))[1], ::testing::StartsWith("Path: "));
}

TEST_F(KXLogFiles, WithoutABundleTheHeaderHasNoPathLine) {
    bundles_.own = nullptr;
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_THAT(messages(logPath(1))[1], ::testing::StartsWith("System: "));
}

TEST_F(KXLogFiles, ABundleWithoutAnExecutableHasANullPath) {
    bundles_.own = std::make_shared<test::LogBundle>();
    bundles_.own->executable = std::nullopt;
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1))[1], "Path: (null)");
}

TEST_F(KXLogFiles, ASecondRunShiftsTheFirst) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "first\n");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(generation(2), "first\n");
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

TEST_F(KXLogFiles, AfterSixRunsFiveGenerationsAreLeft) {
    for (int run = 1; run <= 6; ++run) {
        KXLog::createNewLog();
        KXLog::appendLog("run %d", run);
        KXLog::finishWriting();
    }
    for (int n = 1; n <= 5; ++n) EXPECT_EQ(messages(logPath(n)).back(), formatted("run %d", 7 - n));
    EXPECT_FALSE(test::somethingAt(logPath(6)));
}

TEST_F(KXLogFiles, GapsMoveAlong) {
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "one");
    folder_.writeFile("user/Logs/Quillmoor/Host.3.log", "three");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(generation(4), "three");
    EXPECT_EQ(generation(2), "one");
    EXPECT_FALSE(test::somethingAt(logPath(3)));
}

TEST_F(KXLogFiles, WithoutANewestGenerationNothingIsShifted) {
    folder_.writeFile("user/Logs/Quillmoor/Host.2.log", "two");
    KXLog::createNewLog();
    EXPECT_EQ(generation(2), "two");
    EXPECT_FALSE(test::somethingAt(logPath(3)));
}

TEST_F(KXLogFiles, AreListedNewestFirstWithoutTheMissingOnes) {
    EXPECT_TRUE(KXLog::availableLogs().empty());
    for (int n : {4, 1, 3})
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log");
    EXPECT_THAT(KXLog::availableLogs(), ElementsAre(logPath(1), logPath(3), logPath(4)));
}

TEST_F(KXLogFiles, TheSuperUsersListIsTheUsersOwn) {
    process_.uid = 0;
    folder_.writeFile("machine/Logs/Quillmoor/Host.1.log");
    EXPECT_TRUE(KXLog::availableLogs().empty());
    for (int n : {2, 1})
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log");
    EXPECT_THAT(KXLog::availableLogs(), ElementsAre(logPath(1), logPath(2)));
}

TEST_F(KXLogFiles, APassedNameLosesAgainstTheProgramsName) {
    KXLog::createNewLog("Passed");
    EXPECT_EQ(KXLog::sharedController()->appName(), "Host");
    EXPECT_TRUE(test::somethingAt(logPath(1)));
}

TEST_F(KXLogFiles, APassedNameIsTakenWhenThereIsNoOtherAndStays) {
    bundles_.main->executable = std::nullopt;
    KXLog::createNewLog("First");
    KXLog::createNewLog("Second");
    EXPECT_EQ(KXLog::sharedController()->appName(), "First");
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor/First.2.log"));
}

TEST_F(KXLogFiles, WithoutAnyNameItIsUnknown) {
    bundles_.main->executable = std::nullopt;
    KXLog::createNewLog();
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor/Unknown.1.log"));
}

TEST_F(KXLogFiles, AnEmptyNameBecomesUnknown) {
    KXLog::sharedController()->setAppName("");
    KXLog::createNewLog();
    EXPECT_EQ(KXLog::sharedController()->appName(), "Unknown");
}

TEST_F(KXLogFiles, AreDisabledByThePreferences) {
    for (const char* value :
         {"<string>1</string>", "<true/>", "<integer>1</integer>", "<real>1.0</real>"}) {
        writePreferences(value);
        KXLog::sharedController()->setLoggingDisabled(false);
        KXLog::createNewLog();
        EXPECT_TRUE(KXLog::sharedController()->loggingDisabled()) << value;
    }
    EXPECT_EQ(console_.printed(),
              "Logging is disabled\nLogging is disabled\nLogging is disabled\n"
              "Logging is disabled\n");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    EXPECT_FALSE(test::somethingAt(folder_ / "user/Logs"));
}

TEST_F(KXLogFiles, AreNotDisabledByAnyOtherValue) {
    for (const char* value : {"<string>YES</string>", "<string> 1</string>", "<string>01</string>",
                              "<string>0</string>", "<integer>0</integer>", "<integer>2</integer>",
                              "<false/>", "<real>1.5</real>", "<date>2020-01-01T00:00:00Z</date>",
                              "<array/>", "<data>MQ==</data>"}) {
        writePreferences(value);
        KXLog::createNewLog();
        EXPECT_FALSE(KXLog::sharedController()->loggingDisabled()) << value;
    }
}

TEST_F(KXLogFiles, AreNotDisabledByPreferencesWithoutTheKey) {
    folder_.writeFile("user/Preferences/com.quillmoor.shared.plist",
                      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                      "<key>other</key><true/></dict></plist>\n");
    KXLog::createNewLog();
    EXPECT_FALSE(KXLog::sharedController()->loggingDisabled());
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

TEST_F(KXLogFiles, AreNotDisabledByAFileThatIsNoPropertyList) {
    folder_.writeFile("user/Preferences/com.quillmoor.shared.plist", "disable-logging=1");
    KXLog::createNewLog();
    EXPECT_FALSE(KXLog::sharedController()->loggingDisabled());
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

TEST_F(KXLogFiles, DisabledOnceTheyStayDisabled) {
    KXLog::createNewLog();
    writePreferences("<true/>");
    KXLog::createNewLog();
    writePreferences("<false/>");
    KXLog::createNewLog();
    EXPECT_TRUE(KXLog::sharedController()->loggingDisabled());
    KXLog::appendLog("lost");
    KXLog::finishWriting();
    EXPECT_EQ(generation(1), "");
}

TEST_F(KXLogFiles, AFolderThatCannotBeMadeIsTold) {
    folder_.writeFile("user/Logs", "a file in the way");
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to create folder " + (folder_ / "user/Logs/Quillmoor") + ".\n");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
}

TEST_F(KXLogFiles, AMissingLibraryIsTold) {
    locations_.root.clear();
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(), "Unable to create folder (null).\n");
}

class FailingFiles : public test::ForwardingFileManager {
  public:
    std::string moveThatFails;
    bool removalFails = false;
    bool writingFails = false;
    Outcome moveItem(const std::string& path, const std::string& destination) override {
        if (path == moveThatFails) return Outcome::failure({13, "refused"});
        return ForwardingFileManager::moveItem(path, destination);
    }
    Outcome removeItem(const std::string& path) override {
        if (removalFails) return Outcome::failure({13, "refused"});
        return ForwardingFileManager::removeItem(path);
    }
    Outcome writeAtomically(const std::string& path, std::string_view contents) override {
        if (writingFails) return Outcome::failure({28, "No space left on device"});
        return ForwardingFileManager::writeAtomically(path, contents);
    }
};

TEST_F(KXLogFiles, AMoveThatFailsEndsTheRotationWhereItIs) {
    FailingFiles files;
    platform_->fileManager = &files;
    for (int n = 1; n <= 4; ++n)
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log",
                          std::to_string(n));
    files.moveThatFails = logPath(2);
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to move file " + logPath(2) + " to " + logPath(3) + ".\n");
    EXPECT_EQ(generation(5), "4");
    EXPECT_EQ(generation(4), "3");
    EXPECT_EQ(generation(2), "2");
    EXPECT_EQ(generation(1), "1");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->fileManager = platform::native().fileManager;
}

TEST_F(KXLogFiles, ARemovalThatFailsShowsInTheMoveOntoIt) {
    FailingFiles files;
    platform_->fileManager = &files;
    for (int n : {1, 4, 5})
        folder_.writeFile("user/Logs/Quillmoor/Host." + std::to_string(n) + ".log",
                          std::to_string(n));
    files.removalFails = true;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to move file " + logPath(4) + " to " + logPath(5) + ".\n");
    EXPECT_EQ(generation(5), "5");
    platform_->fileManager = platform::native().fileManager;
}

TEST_F(KXLogFiles, AFileThatCannotBeWrittenIsTold) {
    FailingFiles files;
    platform_->fileManager = &files;
    files.writingFails = true;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(),
              "Unable to create log file " + logPath(1) + " - No space left on device\n");
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->fileManager = platform::native().fileManager;
}

class ClosedHandles : public test::ForwardingFileHandles {
  public:
    std::shared_ptr<platform::FileHandle> openForWriting(const std::string&) override {
        return nullptr;
    }
};

TEST_F(KXLogFiles, AFileThatCannotBeOpenedIsNotTold) {
    ClosedHandles handles;
    platform_->fileHandles = &handles;
    KXLog::createNewLog();
    EXPECT_EQ(console_.printed(), "");
    EXPECT_TRUE(test::somethingAt(logPath(1)));
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->fileHandles = platform::native().fileHandles;
}

TEST_F(KXLogFiles, TheSuperUsersNewestIsTheMachinesOwn) {
    process_.uid = 0;
    folder_.makeFolder("machine/Logs/Quillmoor");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(messages(folder_ / "machine/Logs/Quillmoor/Host.1.log").size(), 4U);
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor"));
    EXPECT_FALSE(test::somethingAt(logPath(1)));
}

TEST_F(KXLogFiles, TheSuperUsersFolderIsNotMade) {
    process_.uid = 0;
    KXLog::createNewLog();
    const std::string path = folder_ / "machine/Logs/Quillmoor/Host.1.log";
    EXPECT_THAT(console_.printed(),
                ::testing::StartsWith("Unable to create log file " + path + " - "));
    EXPECT_THAT(console_.printed(), ::testing::HasSubstr("No such file or directory"));
}

TEST_F(KXLogFiles, TheSuperUserShiftsTheUsersGenerationsAndEmptiesTheMachines) {
    process_.uid = 0;
    folder_.writeFile("machine/Logs/Quillmoor/Host.1.log", "machine");
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "user");
    KXLog::createNewLog();
    KXLog::finishWriting();
    EXPECT_EQ(generation(2), "user");
    EXPECT_FALSE(test::somethingAt(logPath(1)));
    EXPECT_EQ(messages(folder_ / "machine/Logs/Quillmoor/Host.1.log").size(), 4U);
}

TEST_F(KXLogFiles, TheSuperUserShiftsNothingWhileTheMachineHasNoLog) {
    process_.uid = 0;
    folder_.makeFolder("machine/Logs/Quillmoor");
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "user");
    KXLog::createNewLog();
    EXPECT_EQ(generation(1), "user");
    EXPECT_FALSE(test::somethingAt(logPath(2)));
}

TEST_F(KXLogFiles, NewestEndsWithTheUsualMode) {
    ::umask(022);
    KXLog::createNewLog();
    struct stat facts {};
    ASSERT_EQ(::stat(logPath(1).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777U, 0644U);
}

TEST_F(KXLogFiles, ANameWithSpacesAndNewlinesIsAnOrdinaryName) {
    KXLog::sharedController()->setAppName("a \"b'\nc");
    KXLog::createNewLog();
    EXPECT_TRUE(test::somethingAt(folder_ / "user/Logs/Quillmoor/a \"b'\nc.1.log"));
}

}  // namespace
}  // namespace quillmoor
