#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "quillmoor/base/failure.h"
#include "quillmoor/task/KXTaskEx.h"
#include "tests/children/child_tools.h"
#include "tests/task/held_time.h"
#include "tests/task/scripted_platform.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using test::childPath;
using test::HeldTime;
using test::serveMainThreadUntil;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TaskTimeout : public test::TaskTest {
  protected:
    // Lets a time-out pass as soon as the tool has written its number.
    std::thread passWhenRunning(const std::string& pidFile) {
        return std::thread([this, pidFile] {
            test::pidIn(pidFile);
            time_->release();
        });
    }

    std::string timeoutMessage(const std::string& tool) {
        return "Task " + childPath(tool) + " timed out. Terminating...";
    }

    HeldTime time_{platform_};
    const std::string pidFile_ = folder_ / "pid";
};

TEST_F(TaskTimeout, IsCutToWholeSeconds) {
    const auto runner = KXTaskEx::create();
    const double infinity = std::numeric_limits<double>::infinity();
    std::size_t count = 0;
    std::vector<std::int64_t> seconds;
    for (const double given : {2.9, 0.5, -1.5, 60.0, std::nan(""), infinity, -infinity}) {
        runner->runTaskOnInstance("/bin/true", std::nullopt, KXTaskEx::Timeout(given));
        seconds = time_->asked(++count);
    }
    ASSERT_EQ(seconds.size(), 7u);
    EXPECT_EQ(std::vector<std::int64_t>(seconds.begin(), seconds.begin() + 5),
              (std::vector<std::int64_t>{2, 0, -1, 60, 0}));
    EXPECT_GE(seconds[5], 1'000'000'000);
    EXPECT_LE(seconds[6], -1'000'000'000);
}

TEST_F(TaskTimeout, TerminatesAToolThatRunsTooLong) {
    std::thread passer = passWhenRunning(pidFile_);
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(childPath("hang"), StringList{pidFile_}, 30s),
              SIGTERM);
    passer.join();
    EXPECT_THAT(console_.logged.all(), ElementsAre("Task timed out. Terminating..."));
    EXPECT_THAT(logged(), ElementsAre(timeoutMessage("hang")));
}

TEST_F(TaskTimeout, OfARunIsReportedByMessagesOnly) {
    std::thread passer = passWhenRunning(pidFile_);
    KXTaskEx::runTask(childPath("hang"), StringList{pidFile_}, 30s);
    passer.join();
    EXPECT_THAT(console_.logged.all(), ElementsAre("Task timed out. Terminating..."));
    EXPECT_THAT(logged(), ElementsAre(timeoutMessage("hang")));
}

TEST_F(TaskTimeout, IsTheLastFailureOfTheThreadThatWaited) {
    const auto runner = KXTaskEx::create();
    std::thread passer = passWhenRunning(pidFile_);
    runner->runTaskOnInstance(childPath("hang"), StringList{pidFile_}, 30s);
    passer.join();
    const auto failure = KXFailure::last();
    ASSERT_TRUE(failure);
    EXPECT_STREQ(failure->operation, "-[KXTaskEx runTask:arguments:timeout:]");
    EXPECT_EQ(failure->reason, KXFailure::Reason::TimedOut);
    EXPECT_EQ(failure->path, childPath("hang"));
    // The next run of the instance has a time-out of its own.
    runner->runTaskOnInstance("/bin/true", std::nullopt, 30s);
    EXPECT_FALSE(KXFailure::last());
}

TEST_F(TaskTimeout, OfDataReturnsWhatWasRead) {
    std::thread passer = passWhenRunning(pidFile_);
    std::atomic<bool> done{false};
    OptionalString text;
    std::thread caller([&] {
        text = KXTaskEx::stringFromTask(childPath("write_then_hang"),
                                        StringList{pidFile_, "so far"}, 30s);
        done = true;
    });
    serveMainThreadUntil([&] { return done.load(); });
    caller.join();
    passer.join();
    EXPECT_EQ(text, "so far");
    EXPECT_THAT(logged(), ElementsAre(timeoutMessage("write_then_hang")));
}

TEST_F(TaskTimeout, OfTextTakesAnEncoding) {
    const StringList word{"é"};
    const std::string tool = childPath("print_streams");
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, word, 30s), std::nullopt);
    EXPECT_EQ(KXFailure::last()->description, "the output is not valid in the encoding");
    EXPECT_EQ(KXTaskEx::stringFromTask(tool, word, StringEncoding::UTF8, 30s), "é");
}

// The time-out passes while the tool runs and its output is read; the test then ends the tool.
TEST_F(TaskTimeout, OfDataOnTheMainThreadTakesEffectAfterReading) {
    std::thread killer([this] {
        const pid_t tool = test::pidIn(pidFile_);
        time_->release();
        EXPECT_TRUE(test::eventually([this] { return time_.passed(); }));
        std::this_thread::sleep_for(20ms);
        EXPECT_TRUE(console_.logged.all().empty());
        ::kill(tool, SIGKILL);
    });
    const auto data =
        KXTaskEx::dataFromTask(childPath("write_then_hang"), StringList{pidFile_, "so far"}, 30s);
    killer.join();
    ASSERT_TRUE(data);
    EXPECT_EQ(data->view(), "so far");
    EXPECT_FALSE(time_.over());
    time_.serveUntilOver();
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TaskTimeout, DoesNothingToAToolThatHasEnded) {
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(childPath("exit_with"), StringList{"3"}, 30s), 3);
    time_->release();
    time_.serveUntilOver();
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TaskTimeout, TakesEffectOnlyWhileTheMainThreadServicesItsRunLoop) {
    std::thread passer = passWhenRunning(pidFile_);
    std::atomic<bool> done{false};
    long code = 0;
    std::thread caller([&] {
        code = KXTaskEx::terminationCodeFromTask(childPath("hang"), StringList{pidFile_}, 30s);
        done = true;
    });
    passer.join();
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(done);
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    serveMainThreadUntil([&] { return done.load(); });
    caller.join();
    EXPECT_EQ(code, SIGTERM);
}

TEST_F(TaskTimeout, AToolThatIgnoresTheSignalIsWaitedFor) {
    std::thread passer = passWhenRunning(pidFile_);
    std::atomic<bool> done{false};
    long code = 0;
    std::thread caller([&] {
        code =
            KXTaskEx::terminationCodeFromTask(childPath("ignore_term"), StringList{pidFile_}, 30s);
        done = true;
    });
    passer.join();
    serveMainThreadUntil([this] { return !console_.logged.all().empty(); });
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(done);
    ::kill(test::pidIn(pidFile_), SIGKILL);
    caller.join();
    EXPECT_EQ(code, SIGKILL);
    EXPECT_THAT(logged(), ElementsAre(timeoutMessage("ignore_term")));
}

TEST_F(TaskTimeout, EndsAToolThatWaitsForInput) {
    std::thread passer = passWhenRunning(pidFile_);
    std::atomic<bool> done{false};
    std::thread caller([&] {
        const auto data =
            KXTaskEx::dataFromTask(childPath("read_stdin"), StringList{pidFile_}, 30s);
        EXPECT_TRUE(data && data->empty());
        done = true;
    });
    serveMainThreadUntil([&] { return done.load(); });
    caller.join();
    passer.join();
}

TEST_F(TaskTimeout, EndsAToolThatFillsStandardError) {
    std::thread passer = passWhenRunning(pidFile_);
    std::atomic<bool> done{false};
    std::thread caller([&] {
        const auto data =
            KXTaskEx::dataFromTask(childPath("fill_errors"), StringList{pidFile_}, 30s);
        EXPECT_TRUE(data && !data->empty());
        done = true;
    });
    serveMainThreadUntil([&] { return done.load(); });
    caller.join();
    passer.join();
}

// When the first time-out passes, the second tool is the one that runs.
TEST_F(TaskTimeout, OfAnEarlierRunTerminatesTheNextToolOfTheSameInstance) {
    const auto runner = KXTaskEx::create();
    EXPECT_EQ(
        runner->terminationCodeFromTaskOnInstance(childPath("exit_with"), StringList{"0"}, 30s), 0);
    std::thread passer([this] {
        test::pidIn(pidFile_);
        time_->releaseOneOf(30s);
    });
    EXPECT_EQ(
        runner->terminationCodeFromTaskOnInstance(childPath("hang"), StringList{pidFile_}, 600s),
        SIGTERM);
    passer.join();
    EXPECT_THAT(logged(), ElementsAre(timeoutMessage("hang")));
    EXPECT_FALSE(time_.over());
}

// The clock is the real one: a sleep of no seconds or less is over at once.
class ImmediateTimeout : public TaskTimeout, public ::testing::WithParamInterface<double> {
  protected:
    ImmediateTimeout() { platform_->clock = platform::native().clock; }
    static KXTaskEx::Timeout timeout() { return KXTaskEx::Timeout(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(Seconds, ImmediateTimeout, ::testing::Values(0.0, 0.9, -5.0));

TEST_P(ImmediateTimeout, TerminatesARunningToolAtOnce) {
    std::atomic<bool> done{false};
    long code = 0;
    std::thread caller([&] {
        code =
            KXTaskEx::terminationCodeFromTask(childPath("hang"), StringList{pidFile_}, timeout());
        done = true;
    });
    EXPECT_GT(test::pidIn(pidFile_), 0);  // it runs, and the main thread has not acted yet
    serveMainThreadUntil([&] { return done.load(); });
    caller.join();
    EXPECT_EQ(code, SIGTERM);
    EXPECT_THAT(logged(), ElementsAre(timeoutMessage("hang")));
}

// Delays the launch check until every time-out is over.
class LateFileManager : public test::ForwardingFileManager {
  public:
    explicit LateFileManager(const HeldTime& time) : time_(time) {}
    bool isExecutableFile(const std::string& path) override {
        EXPECT_TRUE(test::eventually([this] { return time_.over(); }));
        return ForwardingFileManager::isExecutableFile(path);
    }

  private:
    const HeldTime& time_;
};

TEST_P(ImmediateTimeout, BeforeTheStartHasNoEffect) {
    LateFileManager late(time_);
    platform_->fileManager = &late;
    std::atomic<bool> done{false};
    long code = 0;
    std::thread caller([&] {
        code =
            KXTaskEx::terminationCodeFromTask(childPath("exit_with"), StringList{"3"}, timeout());
        done = true;
    });
    serveMainThreadUntil([&] { return done.load(); });
    caller.join();
    platform_->fileManager = platform::native().fileManager;
    EXPECT_EQ(code, 3);
    EXPECT_TRUE(time_.passed());
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TaskTimeout, TheFieldIsSetOnlyWhileTheToolRuns) {
    const auto runner = KXTaskEx::create();
    EXPECT_EQ(runner->theTask(), nullptr);
    std::atomic<bool> done{false};
    std::thread caller([&] {
        runner->runTaskOnInstance(childPath("hang"), StringList{pidFile_}, 30s);
        done = true;
    });
    ASSERT_GT(test::pidIn(pidFile_), 0);
    const auto task = runner->theTask();
    ASSERT_NE(task, nullptr);
    EXPECT_TRUE(task->isRunning());
    EXPECT_EQ(task->launchPath(), childPath("hang"));
    task->terminate();
    caller.join();
    EXPECT_EQ(runner->theTask(), nullptr);
}

TEST_F(TaskTimeout, TheThreadKeepsTheInstanceUntilTheTimeIsOver) {
    auto runner = KXTaskEx::create();
    const std::weak_ptr<KXTaskEx> watched = runner;
    runner->runTaskOnInstance(childPath("exit_with"), StringList{"0"}, 30s);
    runner.reset();
    time_->asked(1);
    EXPECT_FALSE(watched.expired());
    time_->release();
    serveMainThreadUntil([&] { return watched.expired(); });
    EXPECT_TRUE(watched.expired());
}

TEST_F(TaskTimeout, ARefusalReturnsAtOnceWhileTheThreadSleeps) {
    EXPECT_EQ(KXTaskEx::terminationCodeFromTask(folder_ / "missing", std::nullopt, 30s), -1);
    EXPECT_FALSE(KXTaskEx::dataFromTask(folder_ / "missing", std::nullopt, 30s));
    EXPECT_EQ(KXTaskEx::stringFromTask(folder_ / "missing", std::nullopt, 30s), "");
    EXPECT_EQ(time_->asked(3), (std::vector<std::int64_t>{30, 30, 30}));
}

TEST_F(TaskTimeout, AnExceptionOfTheLaunchReachesTheCallerAndLeavesNoTask) {
    const auto runner = KXTaskEx::create();
    const std::string folder = folder_.makeFolder("plain");
    EXPECT_EQ(
        exceptionOf([&] { runner->terminationCodeFromTaskOnInstance(folder, std::nullopt, 30s); }),
        "NSInvalidArgumentException: launch path not accessible");
    EXPECT_EQ(runner->theTask(), nullptr);
}

class TimeoutSteps : public test::ScriptedTaskTest {
  protected:
    std::shared_ptr<platform::Task> launched() {
        auto task = platform::current().tasks->makeTask();
        task->setLaunchPath("/tool");
        task->launch();
        return task;
    }

    std::shared_ptr<KXTaskEx> runner_ = KXTaskEx::create();
    HeldTime time_{platform_};
};

TEST_F(TimeoutSteps, WithoutATaskNothingHappens) {
    runner_->timeout();
    EXPECT_THAT(steps(), IsEmpty());
    EXPECT_THAT(console_.logged.all(), IsEmpty());
}

TEST_F(TimeoutSteps, ATaskThatDoesNotRunIsNotTerminated) {
    tasks_.script.runsAfterLaunch = false;
    runner_->setTheTask(launched());
    runner_->timeout();
    EXPECT_THAT(steps(), ElementsAre("make task", "path /tool", "launch", "running?"));
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TimeoutSteps, ARunningTaskIsReportedAndThenTerminated) {
    runner_->setTheTask(launched());
    bool wasLogged = true;
    console_.meanwhile = [&] { wasLogged = !logged().empty(); };
    journal_.remark = [this] {
        return std::string(console_.logged.all().empty() ? "" : ", printed") +
               (logged().empty() ? "" : ", logged");
    };
    runner_->timeout();
    EXPECT_FALSE(wasLogged);
    EXPECT_THAT(steps(), ElementsAre("make task", "path /tool", "launch", "running?",
                                     "terminate, printed, logged"));
    EXPECT_THAT(console_.logged.all(), ElementsAre("Task timed out. Terminating..."));
    EXPECT_THAT(logged(), ElementsAre("Task /tool timed out. Terminating..."));
    EXPECT_NE(runner_->theTask(), nullptr);
}

TEST_F(TimeoutSteps, TheFieldIsClearedBeforeARunAndAfterIt) {
    runner_->setTheTask(launched());
    const std::size_t before = steps().size();
    journal_.remark = [this] {
        return std::string(runner_->theTask() != nullptr ? ", named" : "");
    };
    runner_->runTaskOnInstance("/tool", std::nullopt, 5s);
    const StringList all = steps();
    EXPECT_THAT(StringList(all.begin() + static_cast<long>(before), all.end()),
                ElementsAre("released", "executable?", "package?", "make task", "path /tool, named",
                            "error null, named", "output null, named", "launch, named",
                            "wait, named", "released"));
    EXPECT_EQ(runner_->theTask(), nullptr);
}

// So a time-out of zero seconds can find the earlier task.
TEST_F(TimeoutSteps, TheThreadIsStartedBeforeTheFieldIsCleared) {
    class Noting : public test::ForwardingMainThread {
      public:
        explicit Noting(const KXTaskEx& runner) : runner_(runner) {}
        void detachNewThread(std::function<void()>) override {
            named.push_back(runner_.theTask() != nullptr);
        }
        std::vector<bool> named;

      private:
        const KXTaskEx& runner_;
    };
    Noting thread(*runner_);
    platform_->mainThread = &thread;
    runner_->setTheTask(launched());
    runner_->runTaskOnInstance("/tool", std::nullopt, 5s);
    runner_->setTheTask(launched());
    runner_->dataFromTaskOnInstance("/tool", std::nullopt, 5s);
    runner_->setTheTask(launched());
    runner_->terminationCodeFromTaskOnInstance("/tool", std::nullopt, 5s);
    EXPECT_EQ(thread.named, (std::vector<bool>{true, true, true}));
    platform_->mainThread = platform::native().mainThread;
}

// The time-out can find the task only just before the launch.
TEST_F(TimeoutSteps, OfATerminationCodeSetTheFieldJustBeforeTheLaunch) {
    journal_.remark = [this] {
        return std::string(runner_->theTask() != nullptr ? ", named" : "");
    };
    runner_->terminationCodeFromTaskOnInstance("/tool", std::nullopt, 5s);
    EXPECT_THAT(stepsOfTask(),
                ElementsAre("make task", "path /tool", "error null", "output null", "launch, named",
                            "running?, named", "wait, named", "status, named", "released"));
}

TEST_F(TimeoutSteps, OfAThreadThatCannotReachTheMainThreadAreLogged) {
    class Unreachable : public test::ForwardingMainThread {
      public:
        void performOnMainThread(std::function<void()>, platform::WaitUntilDone) override {
            throw platform::Exception("Name", "the reason");
        }
    };
    Unreachable thread;
    platform_->mainThread = &thread;
    time_->release();
    runner_->setupTimeout(5s);
    EXPECT_THAT(logged(),
                ElementsAre("Exception in -[KXTaskEx setupTimeout:]. Name - the reason."));
    platform_->mainThread = platform::native().mainThread;
}

TEST_F(TimeoutSteps, TheThreadSleepsAndTheMainThreadTerminates) {
    runner_->setTheTask(launched());
    std::atomic<bool> done{false};
    time_->release();
    std::thread thread([&] {
        runner_->setupTimeout(7s);
        done = true;
    });
    EXPECT_EQ(time_->asked(1), (std::vector<std::int64_t>{7}));
    std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(done);
    serveMainThreadUntil([&] { return done.load(); });
    thread.join();
    EXPECT_TRUE(journal_.steps.contains("terminate"));
}

}  // namespace
}  // namespace quillmoor
