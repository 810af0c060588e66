#include <gmock/gmock.h>

#include <signal.h>

#include <condition_variable>
#include <random>
#include <thread>

#include "task/KXTaskEx.h"
#include "tests/children/child_tools.h"
#include "tests/children/pattern.h"
#include "tests/task/scripted_platform.h"
#include "tests/task/task_test.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using test::childPath;
using test::eventually;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Notes what it is told, on whatever thread.
class Delegate {
  public:
    // Called with each chunk, after it was noted.
    std::function<void(const Data& data, KXTaskEx& task)> meanwhile = [](const Data&, KXTaskEx&) {};

    void taskReturned(const Data& data, KXTaskEx& task, const KXTaskEx::Object& object) {
        {
            const std::lock_guard lock(mutex_);
            onMainThread_ = onMainThread_ || platform::current().mainThread->isMainThread();
            object_ = object;
            task_ = &task;
            if (data.empty())
                ++ends_;
            else
                ++chunks_;
            text_ += data.view();
        }
        meanwhile(data, task);
        changed_.notify_all();
    }
    bool waitForEnds(int count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 20s, [&] { return ends_ >= count; });
    }
    bool waitForChunks(int count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 20s, [&] { return chunks_ >= count; });
    }
    std::string text() const {
        const std::lock_guard lock(mutex_);
        return text_;
    }
    int ends() const {
        const std::lock_guard lock(mutex_);
        return ends_;
    }
    int chunks() const {
        const std::lock_guard lock(mutex_);
        return chunks_;
    }
    bool wasOnMainThread() const {
        const std::lock_guard lock(mutex_);
        return onMainThread_;
    }
    KXTaskEx* task() const {
        const std::lock_guard lock(mutex_);
        return task_;
    }
    KXTaskEx::Object object() const {
        const std::lock_guard lock(mutex_);
        return object_;
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string text_;
    int ends_ = 0;
    int chunks_ = 0;
    bool onMainThread_ = false;
    KXTaskEx* task_ = nullptr;
    KXTaskEx::Object object_;
};

KXTaskEx::Selector selectorOf(const std::shared_ptr<Delegate>& delegate) {
    return
        [raw = delegate.get()](const Data& data, KXTaskEx& task, const KXTaskEx::Object& object) {
            raw->taskReturned(data, task, object);
        };
}

class AsyncTask : public test::TaskTest {
  protected:
    void start(const std::string& tool, StringList arguments = {},
               const KXTaskEx::Object& object = nullptr) {
        runner_->asyncDataFromTask(tool, arguments, delegate_, selectorOf(delegate_), object);
    }
    // The reader has ended and the instance is idle.
    bool isIdle() {
        return eventually([this] { return runner_->theTask() == nullptr; }) &&
               eventually([this] { return runner_.use_count() == 1; });
    }

    std::shared_ptr<Delegate> delegate_ = std::make_shared<Delegate>();
    std::shared_ptr<KXTaskEx> runner_ = KXTaskEx::create();
};

TEST_F(AsyncTask, HandsOutputOverAndThenTheEnd) {
    const auto object = std::make_shared<int>(7);
    start(childPath("print_streams"), {"out", "err"}, object);
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->text(), "out");
    EXPECT_EQ(delegate_->task(), runner_.get());
    EXPECT_EQ(delegate_->object(), object);
    EXPECT_FALSE(delegate_->wasOnMainThread());
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends(), 1);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(AsyncTask, KeepsEveryByteOfMuchOutput) {
    const std::size_t size = 9'000'001;
    start(childPath("print_bytes"), {std::to_string(size), "4099"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_TRUE(delegate_->text() == test::pattern(0, size));
    EXPECT_GT(delegate_->chunks(), 1);
}

TEST_F(AsyncTask, HandsOutputOverAsItComes) {
    const std::string file = folder_ / "pid";
    start(childPath("write_then_hang"), {file, "first"});
    ASSERT_TRUE(delegate_->waitForChunks(1));
    EXPECT_EQ(delegate_->text(), "first");
    EXPECT_EQ(delegate_->ends(), 0);
    const pid_t child = test::pidIn(file);
    runner_->terminateAsyncTask();
    EXPECT_TRUE(eventually([&] { return !test::processExists(child); }));
    EXPECT_TRUE(isIdle());
}

TEST_F(AsyncTask, OfAToolThatWritesNothingTellsTheEndAlone) {
    start(childPath("print_streams"), {"", "only errors"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->chunks(), 0);
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends(), 1);
}

TEST_F(AsyncTask, LeavesAMissingObjectOut) {
    start(childPath("print_streams"), {"out"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->object(), nullptr);
}

TEST_F(AsyncTask, GivesTheToolItsEnvironmentAlone) {
    runner_->asyncDataFromTask(childPath("print_env"), std::nullopt, delegate_,
                               selectorOf(delegate_), nullptr,
                               Environment{{"ONE", "1"}, {"TWO", "a b\n"}});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_THAT(delegate_->text(), ::testing::HasSubstr("ONE=1"));
    EXPECT_EQ(delegate_->text().find("PATH="), std::string::npos);
}

TEST_F(AsyncTask, ReadsToTheEndWithoutADelegateOrAnOperation) {
    runner_->asyncDataFromTask(childPath("print_bytes"), StringList{"3000000"}, nullptr,
                               selectorOf(delegate_), nullptr);
    EXPECT_TRUE(isIdle());
    runner_->asyncDataFromTask(childPath("print_bytes"), StringList{"3000000"}, delegate_, nullptr,
                               nullptr);
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends() + delegate_->chunks(), 0);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(AsyncTask, KeepsTheDelegateAndTheObjectWhileItLasts) {
    const std::weak_ptr<Delegate> watched = delegate_;
    auto object = std::make_shared<int>(1);
    const std::weak_ptr<int> watchedObject = object;
    start(childPath("hang"), {folder_ / "pid"}, object);
    test::pidIn(folder_ / "pid");
    delegate_.reset();
    object.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_FALSE(watchedObject.expired());
    runner_->terminateAsyncTask();
    EXPECT_TRUE(eventually([&] { return watched.expired() && watchedObject.expired(); }));
}

TEST_F(AsyncTask, OfAToolThatIsMissingIsToldInTheLogAndKeepsItsDelegate) {
    const std::weak_ptr<Delegate> watched = delegate_;
    start(folder_ / "no tool");
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(
        logged(),
        ElementsAre("Unable to launch async task - task does not exist or is not executable"));
    EXPECT_EQ(delegate_->ends(), 0);
    EXPECT_NE(runner_->theTask(), nullptr);
    delegate_.reset();
    EXPECT_FALSE(watched.expired());
    runner_->terminateAsyncTask();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(runner_->theTask(), nullptr);
}

TEST_F(AsyncTask, OfAToolThatIsNotExecutableIsToldInTheLog) {
    start(folder_.writeFile("file"));
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_EQ(logged().size(), 1U);
    runner_->terminateAsyncTask();
}

TEST_F(AsyncTask, OfAFolderIsReportedAsAnException) {
    start(folder_.makeFolder("folder"));
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(logged(), ElementsAre("Exception in -[KXTaskEx launchAsyncTask]. "
                                      "NSInvalidArgumentException - launch path not accessible."));
    EXPECT_EQ(delegate_->ends(), 0);
    runner_->terminateAsyncTask();
}

TEST_F(AsyncTask, ThatIsTerminatedBeforeItsThreadBeginsIsToldInTheLogAndPrinted) {
    // Holds the thread back until it is let go.
    class Held : public test::ForwardingMainThread {
      public:
        std::function<void()> body;
        void detachNewThread(std::function<void()> made) override { body = std::move(made); }
    };
    Held thread;
    platform_->mainThread = &thread;
    start(childPath("hang"), {folder_ / "pid"});
    runner_->terminateAsyncTask();
    thread.body();
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
    EXPECT_TRUE(console_.printed.contains("Unable to launch async task - no task set"));
    EXPECT_FALSE(test::somethingAt(folder_ / "pid"));
}

TEST_F(AsyncTask, ThatIsTerminatedAndStartedAnewLeavesTheSecondRunToItsOwnThread) {
    class Held : public test::ForwardingMainThread {
      public:
        std::vector<std::function<void()>> bodies;
        void detachNewThread(std::function<void()> made) override {
            bodies.push_back(std::move(made));
        }
    };
    Held thread;
    platform_->mainThread = &thread;
    start(childPath("hang"), {folder_ / "pid"});
    runner_->terminateAsyncTask();
    start(childPath("print_streams"), {"second"});
    thread.bodies.at(0)();
    EXPECT_EQ(delegate_->ends(), 0);
    thread.bodies.at(1)();
    EXPECT_EQ(delegate_->text(), "second");
    EXPECT_EQ(delegate_->ends(), 1);
    EXPECT_FALSE(test::somethingAt(folder_ / "pid"));
}

TEST_F(AsyncTask, MayBeUsedAgain) {
    for (int run = 1; run <= 3; ++run) {
        start(childPath("print_streams"), {std::to_string(run)});
        ASSERT_TRUE(delegate_->waitForEnds(run));
        ASSERT_TRUE(isIdle());
    }
    EXPECT_EQ(delegate_->text(), "123");
}

TEST_F(AsyncTask, ThatIsStartedInsideTheLastCallIsEndedByTheCleanUp) {
    const std::string file = folder_ / "pid";
    delegate_->meanwhile = [&](const Data& data, KXTaskEx& task) {
        if (data.empty() && delegate_->ends() == 1)
            task.asyncDataFromTask(childPath("hang"), StringList{file}, delegate_,
                                   selectorOf(delegate_), nullptr);
    };
    start(childPath("print_streams"), {"out"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends(), 1);
    if (test::somethingAt(file)) {
        const pid_t child = test::pidIn(file);
        EXPECT_TRUE(eventually([&] { return !test::processExists(child); }));
    }
}

TEST_F(AsyncTask, WhoseDelegateRaisesReportsItAndIsOver) {
    delegate_->meanwhile = [](const Data&, KXTaskEx&) {
        throw platform::Exception("Name", "a reason");
    };
    start(childPath("print_streams"), {"out"});
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(logged(),
                ElementsAre("Exception in -[KXTaskEx launchAsyncTask]. Name - a reason."));
    EXPECT_EQ(delegate_->ends(), 0);
    EXPECT_NE(runner_->theTask(), nullptr);
    runner_->terminateAsyncTask();
}

TEST_F(AsyncTask, WhoseDelegateThrowsAnythingReportsIt) {
    delegate_->meanwhile = [](const Data&, KXTaskEx&) { throw std::runtime_error("a reason"); };
    start(childPath("print_streams"), {"out"});
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_THAT(logged().front(), ::testing::EndsWith(" - a reason."));
    runner_->terminateAsyncTask();
}

TEST_F(AsyncTask, OfAToolThatWritesWithoutEndCanBeStopped) {
    start("/usr/bin/yes");
    ASSERT_TRUE(delegate_->waitForChunks(3));
    runner_->terminateAsyncTask();
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends(), 0);
    EXPECT_TRUE(eventually([] { return test::zombieCount() == 0; }));
}

TEST_F(AsyncTask, OfAToolThatIgnoresTheSignalEndsAllTheSame) {
    const std::string file = folder_ / "pid";
    start(childPath("ignore_term"), {file});
    const pid_t child = test::pidIn(file);
    runner_->terminateAsyncTask();
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(test::processExists(child));
    ::kill(child, SIGKILL);
    EXPECT_TRUE(eventually([&] { return !test::processExists(child); }));
}

TEST_F(AsyncTask, WhoseGrandchildKeepsThePipeCanBeStopped) {
    const std::string file = folder_ / "pid";
    start("/bin/sh", {"-c", "sleep 60 & printf %d $! > \"$0.part\"; mv \"$0.part\" \"$0\"", file});
    const pid_t grandchild = test::pidIn(file);
    EXPECT_EQ(delegate_->ends(), 0);
    runner_->terminateAsyncTask();
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(test::processExists(grandchild));
    ::kill(grandchild, SIGKILL);
}

TEST_F(AsyncTask, IsTerminatedFromInsideTheDelegate) {
    delegate_->meanwhile = [](const Data&, KXTaskEx& task) { task.terminateAsyncTask(); };
    start("/usr/bin/yes");
    ASSERT_TRUE(delegate_->waitForChunks(1));
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->chunks(), 1);
}

TEST_F(AsyncTask, OfAnIdleInstanceCanBeTerminated) {
    runner_->terminateAsyncTask();
    runner_->terminateAsyncTask();
    EXPECT_EQ(runner_->theTask(), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(AsyncTask, ThatIsReplacedGoesOnReadingTheSecondTasksOutput) {
    const std::string file = folder_ / "pid";
    start(childPath("write_then_hang"), {file, "first"});
    ASSERT_TRUE(delegate_->waitForChunks(1));
    const pid_t first = test::pidIn(file);
    start(childPath("print_streams"), {"second"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->text(), "firstsecond");
    ::kill(first, SIGKILL);
    EXPECT_TRUE(isIdle());
}

TEST_F(AsyncTask, ANotificationOfOnesOwnIsDelivered) {
    start(childPath("hang"), {folder_ / "pid"});
    test::pidIn(folder_ / "pid");
    const AsyncTaskNotification notification{KXAsyncTaskDataNotification, Data("mine")};
    runner_->asyncTaskReturnData(notification);
    EXPECT_EQ(delegate_->text(), "mine");
    runner_->asyncTaskReturnData({KXAsyncTaskDataNotification, Data()});
    EXPECT_EQ(delegate_->ends(), 1);
    EXPECT_TRUE(isIdle());
}

TEST_F(AsyncTask, TheBodyOfItsThreadMayBeRunOnAnyOther) {
    runner_->launchAsyncTask();
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
}

TEST_F(AsyncTask, IsTerminatedAtAnyMomentWithoutALeftover) {
    // What the library starts once and keeps.
    start(childPath("hang"), {folder_ / "pid"});
    test::pidIn(folder_ / "pid");
    runner_->terminateAsyncTask();
    ASSERT_TRUE(isIdle());
    ASSERT_TRUE(eventually([] { return test::zombieCount() == 0; }));
    std::mt19937 random(20240131);
    std::uniform_int_distribution<int> moments(0, 2500);
    const int descriptors = test::openDescriptorCount();
    for (int round = 0; round < (test::kSanitized ? 200 : 1000); ++round) {
        start("/usr/bin/yes");
        std::this_thread::sleep_for(std::chrono::microseconds(moments(random)));
        runner_->terminateAsyncTask();
    }
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(eventually([] { return test::zombieCount() == 0; }));
    EXPECT_TRUE(eventually([&] { return test::openDescriptorCount() <= descriptors; }));
    for (const std::string& line : logged())
        EXPECT_EQ(line, "Unable to launch async task - no task set");
}

// The steps, with children and pipes that do as they are told.
class AsyncSteps : public test::ScriptedTaskTest {
  protected:
    std::shared_ptr<Delegate> delegate_ = std::make_shared<Delegate>();
    std::shared_ptr<KXTaskEx> runner_ = KXTaskEx::create();
};

TEST_F(AsyncSteps, AreTheseForARun) {
    handles_.chunks[1] = {"one", "two"};
    tasks_.script.runsAfterLaunch = false;
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr,
                               Environment{{"A", "1"}});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    ASSERT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(steps(),
                ElementsAre("make task", "make pipe1", "output pipe1.writing", "error null",
                            "environment A=1", "path /tool", "arguments", "exists?", "executable?",
                            "launch", "read pipe1.reading", "read pipe1.reading",
                            "read pipe1.reading", "close pipe1.reading", "running?", "released"));
    EXPECT_EQ(delegate_->text(), "onetwo");
    EXPECT_EQ(delegate_->chunks(), 2);
}

TEST_F(AsyncSteps, IncludeOneSignalForAToolThatStillRunsWhenItsOutputEnds) {
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr);
    ASSERT_TRUE(delegate_->waitForEnds(1));
    ASSERT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    const StringList all = steps();
    EXPECT_EQ(std::count(all.begin(), all.end(), "terminate"), 1);
    runner_->terminateAsyncTask();
    EXPECT_EQ(steps().size(), all.size());
}

TEST_F(AsyncSteps, EndWithAReadThatFails) {
    handles_.chunks[1] = {"one", "!"};
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr);
    ASSERT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(logged(),
                ElementsAre("Exception in -[KXTaskEx launchAsyncTask]. Name - cannot read."));
    EXPECT_EQ(delegate_->ends(), 0);
    const StringList all = steps();
    EXPECT_EQ(std::count(all.begin(), all.end(), "terminate"), 0);
    runner_->terminateAsyncTask();
}

}  // namespace
}  // namespace quillmoor
