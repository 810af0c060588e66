#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

#include "quillmoor/log/KXException.h"
#include "tests/faults/fault_loop.h"
#include "tests/log/log_fixture.h"

namespace quillmoor::test {
namespace {

using Texts = std::vector<std::string_view>;

// Its own memory is none of the log's.
class UncountedConsole : public RecordingConsole {
  public:
    void log(std::string_view text) override {
        const NotCounted notCounted;
        RecordingConsole::log(text);
    }
    void print(std::string_view text) override {
        const NotCounted notCounted;
        RecordingConsole::print(text);
    }
    void putString(std::string_view text) override {
        const NotCounted notCounted;
        RecordingConsole::putString(text);
    }
};

int timesIn(const std::string& text, const std::string& part) {
    int times = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++times;
    return times;
}

bool isOfTheLogItself(std::string_view message) {
    const Texts starts{"Log started: ", "Version: ", "Path: ", "System: ", "Running in "};
    return message == "Log truncated at 500KB" ||
           std::any_of(starts.begin(), starts.end(),
                       [&](std::string_view start) { return message.starts_with(start); });
}

class LogWorld : public LogTest {
  public:
    LogWorld() { platform_->console = &uncounted_; }
    void TestBody() override {}

    const TempFolder& folder() const { return folder_; }
    std::string printed() { return uncounted_.printed(); }

    void startLog() {
        KXLog::createNewLog();
        KXLog::finishWriting();
    }

    // A file whose end cannot be read is continued with a newline.
    void allowEmptyLines() { emptyLinesAllowed_ = true; }

    // All messages, the newest generation's last. Expects each line to have its date.
    StringList lines() const {
        StringList all;
        for (int number = 5; number >= 1; --number) {
            std::istringstream text(generation(number));
            for (std::string line; std::getline(text, line);) {
                if (line.empty() && emptyLinesAllowed_) continue;
                EXPECT_THAT(line, testing::MatchesRegex("[-0-9]{10} [:0-9]{8} .0000 - .*"));
                all.push_back(line.substr(std::min<std::size_t>(line.size(), 28)));
            }
        }
        return all;
    }

    // Each text is one line, at most once, in this order; a missing one is reported.
    void expectKept(const FaultRun& run, const Texts& texts) {
        KXLog::finishWriting();
        const int missing = expectLines(texts);
        const std::string said = printed();
        int named = 0;
        for (const std::string_view text : texts)
            named += timesIn(said, "log the following information: " + std::string(text) + "\n");
        const int unnamed = timesIn(said, "Exception writing to log: ");
        EXPECT_LE(missing, named + unnamed) << said;
        if (!run.faulted()) {
            EXPECT_EQ(missing + named + unnamed, 0) << said;
        }
        lost_ = missing;
    }
    int lost() const { return lost_; }

    // The log works again.
    void expectGoesOn() {
        KXLog::fastAppendLog("after it all");
        KXLog::finishWriting();
        EXPECT_EQ(timesInLog("after it all"), 1) << printed();
    }
    int timesInLog(std::string_view message) const {
        const StringList all = lines();
        return static_cast<int>(std::count(all.begin(), all.end(), message));
    }

  private:
    int expectLines(const Texts& texts) const {
        StringList found;
        for (const std::string& line : lines())
            if (!isOfTheLogItself(line)) found.push_back(line);
        int missing = 0;
        auto at = found.begin();
        for (const std::string_view text : texts) {
            if (at != found.end() && *at == text)
                ++at;
            else
                ++missing;
        }
        EXPECT_EQ(at, found.end()) << "unexpected, or not in order: " << *at;
        return missing;
    }

    UncountedConsole uncounted_;
    bool emptyLinesAllowed_ = false;
    int lost_ = 0;
};

// Of the messages of one running log a single fault loses at most one.
void expectOneLost(const FaultRun& run, const LogWorld& world) {
    if (!run.isLasting()) {
        EXPECT_LE(world.lost(), 1);
    }
}

FaultScenario started() {
    return {"LogIsStarted",
            {"KXLog createNewLog", "KXLog createNewLog:", "KXLog availableLogs",
             "KXLog sharedController", "KXLog finishWriting"},
            [](FaultRun& run) {
                LogWorld world;
                StringList logs;
                const OptionalString& other = given("Other");
                world.folder().writeFile("user/Logs/Quillmoor/Host.1.log",
                                         "2013-06-04 10:04:31 +0000 - of an earlier run\n");
                run.inject([&] {
                    KXLog::createNewLog();
                    KXLog::fastAppendLog("first");
                    KXLog::finishWriting();
                    KXLog::createNewLog(other);
                    KXLog::fastAppendLog("second");
                    KXLog::finishWriting();
                    logs = KXLog::availableLogs();
                });
                world.expectKept(run, {"of an earlier run", "first", "second"});
                EXPECT_EQ(world.timesInLog("of an earlier run"), 1);
                EXPECT_TRUE(logs.size() == 3 || run.faulted());
                EXPECT_EQ(KXLog::sharedController()->appName(), "Host");
                // Without a thread at its beginning the log reports every message as lost.
                if (KXLog::sharedController()->writeQueue() == nullptr) return;
                world.startLog();
                world.expectGoesOn();
            }};
}

FaultScenario appended() {
    return {"LogIsAppendedTo",
            {"KXLog appendLog:arguments:", "KXLog fastAppendLog:arguments:",
             "KXLog appendLogAndPrint:arguments:", "KXLog appendTextToLog:",
             "KXLog appendLogOnThread:"},
            [](FaultRun& run) {
                LogWorld world;
                world.startLog();
                run.inject([] {
                    KXLog::appendLog("first, with %@ and %d", "text longer than sixteen", 7);
                    KXLog::fastAppendLog("second message of the log");
                    KXLog::appendLogAndPrint("third message of the log");
                    KXLog::sharedController()->appendTextToLog("fourth message of the log");
                    KXLog::finishWriting();
                    // On this thread, whose memory fails as well.
                    KXLog::sharedController()->appendLogOnThread("fifth message of the log");
                });
                world.expectKept(run, {"first, with text longer than sixteen and 7",
                                       "second message of the log", "third message of the log",
                                       "fourth message of the log", "fifth message of the log"});
                expectOneLost(run, world);
                EXPECT_TRUE(timesIn(world.printed(), "third message of the log\n") == 1 ||
                            run.faulted());
                world.expectGoesOn();
            }};
}

FaultScenario continued() {
    return {"LogOfAnEarlierRunIsContinued", {}, [](FaultRun& run) {
                LogWorld world;
                const std::string date = "2013-06-04 10:04:31 +0000 - ";
                world.folder().writeFile("user/Logs/Quillmoor/Host.1.log",
                                         date + "of an earlier run\n" + date + "half a li");
                run.inject([] {
                    KXLog::fastAppendLog("first message of the log");
                    KXLog::finishWriting();
                    KXLog::sharedController()->setFileHandle(nullptr);
                    KXLog::sharedController()->appendLogOnThread("second message of the log");
                });
                if (run.faulted()) world.allowEmptyLines();
                world.expectKept(run, {"of an earlier run", "half a li", "first message of the log",
                                       "second message of the log"});
                EXPECT_EQ(world.timesInLog("of an earlier run"), 1);
                expectOneLost(run, world);
                if (KXLog::sharedController()->writeQueue() != nullptr) world.expectGoesOn();
            }};
}

FaultScenario rotated() {
    return {"LogIsRotated", {}, [](FaultRun& run) {
                LogWorld world;
                world.startLog();
                for (const int old : {2, 3, 4})
                    world.folder().writeFile(
                        "user/Logs/Quillmoor/Host." + std::to_string(old) + ".log",
                        "2013-06-04 10:04:31 +0000 - generation " + std::to_string(old) + "\n");
                run.inject([] {
                    KXLog::sharedController()->setBytesWritten(499'990);
                    KXLog::fastAppendLog("last of the first");
                    KXLog::finishWriting();
                    KXLog::fastAppendLog("first of the next");
                    KXLog::finishWriting();
                    KXLog::sharedController()->setBytesWritten(499'990);
                    // On this thread, whose memory fails as well.
                    KXLog::sharedController()->appendLogOnThread("last of the next");
                    KXLog::finishWriting();
                    KXLog::fastAppendLog("first of the last");
                });
                KXLog::finishWriting();
                // What both rotations push out.
                Texts expected{"generation 4", "generation 3", "generation 2"};
                const Texts fresh{"last of the first", "first of the next", "last of the next",
                                  "first of the last"};
                if (world.timesInLog("generation 4") == 0) expected.erase(expected.begin());
                expected.insert(expected.end(), fresh.begin(), fresh.end());
                world.expectKept(run, expected);
                EXPECT_EQ(world.timesInLog("generation 3"), 1);
                EXPECT_EQ(world.timesInLog("generation 2"), 1);
                if (!run.faulted()) {
                    EXPECT_EQ(world.timesInLog("Log truncated at 500KB"), 2);
                }
                world.startLog();
                world.expectGoesOn();
            }};
}

FaultScenario properties() {
    return {"LogPropertiesAreRead",
            {"KXLog allocWithZone", "KXLog appName", "KXLog setAppName:", "KXLog fileHandle",
             "KXLog setFileHandle:", "KXLog bytesWritten", "KXLog setBytesWritten:",
             "KXLog writeQueue", "KXLog setWriteQueue:", "KXLog bytesInQueue",
             "KXLog setBytesInQueue:", "KXLog loggingDisabled", "KXLog setLoggingDisabled:"},
            [](FaultRun& run) {
                LogWorld world;
                world.startLog();
                KXLog* const log = KXLog::sharedController();
                const auto handle = log->fileHandle();
                WriteQueue* const queue = log->writeQueue();
                const OptionalString& name = given("A name longer than sixteen characters");
                OptionalString found;
                OptionalString fallBack;
                run.inject([&] {
                    KXLog::allocWithZone();
                    fallBack = log->appName();
                    log->setAppName(name);
                    found = log->appName();
                    log->setFileHandle(log->fileHandle());
                    log->setBytesWritten(log->bytesWritten());
                    log->setWriteQueue(log->writeQueue());
                    log->setBytesInQueue(log->bytesInQueue());
                    log->setLoggingDisabled(log->loggingDisabled());
                });
                EXPECT_TRUE(fallBack == "Host" || (run.faulted() && !fallBack));
                EXPECT_TRUE(found == name || run.faulted());
                EXPECT_EQ(log->fileHandle(), handle);
                EXPECT_EQ(log->writeQueue(), queue);
                EXPECT_FALSE(log->loggingDisabled());
                // A name that could not be stored is reported.
                if (log->appName() != name) {
                    EXPECT_THAT(world.printed(), testing::HasSubstr("Exception writing to log: "));
                }
                world.expectGoesOn();
            }};
}

FaultScenario ended() {
    return {"LogEnds", {"KXLog willTerminate", "KXLog dealloc"}, [](FaultRun& run) {
                LogWorld world;
                world.startLog();
                run.inject([] {
                    KXLog::fastAppendLog("last message of the log");
                    KXLog::willTerminate();
                    KXLog::sharedController()->dealloc();
                });
                world.expectKept(run, {"last message of the log"});
                EXPECT_EQ(KXLog::sharedController()->fileHandle(), nullptr);
                EXPECT_EQ(KXLog::sharedController()->writeQueue(), nullptr);
            }};
}

FaultScenario endedUnused() {
    return {"LogEndsUnused", {}, [](FaultRun& run) {
                LogWorld world;
                run.inject([] { KXLog::willTerminate(); });
                EXPECT_EQ(KXLog::sharedController()->writeQueue(), nullptr);
            }};
}

FaultScenario exceptions() {
    return {"ExceptionIsLogged",
            {"KXException logException:forMethod:", "KXException didTimeout:"},
            [](FaultRun& run) {
                LogWorld world;
                world.startLog();
                const platform::Exception exception("Bad", "no path");
                std::string report;
                bool isTimeout = true;
                run.inject([&] {
                    isTimeout = KXException::didTimeout(&exception);
                    report = KXException::logException(&exception, "launch");
                    KXLog::finishWriting();
                });
                EXPECT_FALSE(isTimeout);
                EXPECT_TRUE(report == "Exception in launch. Bad - no path." || run.faulted());
                world.expectKept(run, {"Exception in launch. Bad - no path."});
                world.expectGoesOn();
            }};
}

FaultScenario uncaught() {
    return {"UncaughtExceptionIsLogged", {"uncaughtExceptionHandler"}, [](FaultRun& run) {
                LogWorld world;
                world.startLog();
                const platform::Exception exception("Bad", "no path longer than sixteen");
                run.inject([&] { uncaughtExceptionHandler(&exception); });
                world.expectKept(run, {"no path longer than sixteen"});
                world.expectGoesOn();
            }};
}

}  // namespace

std::vector<FaultScenario> logScenarios() {
    return {started(), appended(),    continued(),  rotated(), properties(),
            ended(),   endedUnused(), exceptions(), uncaught()};
}

}  // namespace quillmoor::test
