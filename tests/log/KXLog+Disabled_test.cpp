// How logging is disabled, and what a disabled log does.
#include <filesystem>

#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using KXLogFiles = test::LogTest;
using test::OpenLog;
using test::queued;

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

TEST_F(KXLogFiles, AreNotDisabledByAFileThatIsNotAPropertyList) {
    folder_.writeFile("user/Preferences/com.quillmoor.shared.plist", "disable-logging=1");
    KXLog::createNewLog();
    EXPECT_FALSE(KXLog::sharedController()->loggingDisabled());
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).size(), 4U);
}

TEST_F(KXLogFiles, StayDisabledOnceDisabled) {
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

// The state of the log at each step of a start.
class LookingPropertyLists : public test::ForwardingPropertyLists {
  public:
    bool hadFile = false;
    std::optional<platform::PropertyListDictionary> dictionaryWithContentsOfFile(
        const std::string& path) override {
        hadFile = KXLog::sharedController()->fileHandle() != nullptr;
        return ForwardingPropertyLists::dictionaryWithContentsOfFile(path);
    }
};

TEST_F(KXLogFiles, TheOldFileIsReleasedBeforeThePreferencesAreRead) {
    KXLog::createNewLog();
    KXLog::finishWriting();
    LookingPropertyLists lists;
    lists.hadFile = true;
    platform_->propertyLists = &lists;
    writePreferences("<true/>");
    KXLog::createNewLog();
    EXPECT_FALSE(lists.hadFile);
    EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
    platform_->propertyLists = platform::native().propertyLists;
}

TEST_F(KXLogFiles, DisabledIsPrintedBeforeTheLogIsDisabled) {
    class LookingConsole : public test::RecordingConsole {
      public:
        bool wasDisabled = true;
        void print(std::string_view text) override {
            wasDisabled = KXLog::sharedController()->loggingDisabled();
            RecordingConsole::print(text);
        }
    } console;
    platform_->console = &console;
    writePreferences("<true/>");
    KXLog::createNewLog();
    platform_->console = &console_;
    EXPECT_EQ(console.printed(), "Logging is disabled\n");
    EXPECT_FALSE(console.wasDisabled);
    EXPECT_TRUE(KXLog::sharedController()->loggingDisabled());
}

TEST_F(KXLogFiles, DisabledStoreNoNameAndChangeNoFiles) {
    KXLog* const log = KXLog::sharedController();
    bundles_.main->executable = std::nullopt;
    writePreferences("<true/>");
    log->setBytesWritten(5);
    KXLog::createNewLog("Passed");
    EXPECT_EQ(log->appName(), std::nullopt);
    EXPECT_EQ(log->bytesWritten(), 5U);
    EXPECT_FALSE(test::somethingAt(folder_ / "user/Logs"));
    log->setAppName("Host");
    folder_.writeFile("user/Logs/Quillmoor/Host.1.log", "one");
    KXLog::createNewLog();
    EXPECT_EQ(generation(1), "one");
    EXPECT_FALSE(test::somethingAt(logPath(2)));
}

// With and without a file to write to nothing may be written or printed.
class DisabledLog : public OpenLog {
  protected:
    DisabledLog() { KXLog::sharedController()->setLoggingDisabled(true); }
    void expectNothing() {
        EXPECT_TRUE(written().empty());
        EXPECT_EQ(console_.printed(), "");
        EXPECT_EQ(console_.logged(), "");
        EXPECT_EQ(queued(), 4U);  // not reduced on this path
    }
};

TEST_F(DisabledLog, AnAppendedMessageReachesNeitherFileNorConsole) {
    KXLog::appendLog("lost");
    expectNothing();
}

TEST_F(DisabledLog, AFastMessageReachesNeitherFileNorConsole) {
    KXLog::fastAppendLog("lost");
    expectNothing();
}

TEST_F(DisabledLog, APrintedMessageReachesNeitherFileNorConsole) {
    KXLog::appendLogAndPrint("lost");
    expectNothing();
}

TEST_F(DisabledLog, WithoutAFileNothingIsReportedAsLost) {
    KXLog::sharedController()->setFileHandle(nullptr);
    std::filesystem::remove(logPath(1));
    KXLog::appendLog("lost");
    KXLog::finishWriting();
    EXPECT_EQ(console_.printed(), "");
    EXPECT_FALSE(test::somethingAt(logPath(1)));
}

}  // namespace
}  // namespace quillmoor
