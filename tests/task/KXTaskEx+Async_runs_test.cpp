#include <atomic>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "tests/children/pattern.h"
#include "tests/task/async_test.h"
#include "tests/task/scripted_platform.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using test::childPath;
using test::eventually;
using test::selectorOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using AsyncTask = test::AsyncTaskTest;

// Holds threads back until the test runs their bodies, except the first `letThrough`.
class HeldThreads : public test::ForwardingMainThread {
  public:
    int letThrough = 0;
    std::vector<std::function<void()>> bodies;
    void detachNewThread(std::function<void()> made) override {
        if (letThrough-- > 0) return next().detachNewThread(std::move(made));
        bodies.push_back(std::move(made));
    }
};

// Consecutive runs, and terminations at every critical moment.

TEST_F(AsyncTask, MayBeUsedAgain) {
    for (int run = 1; run <= 3; ++run) {
        start(childPath("print_streams"), {std::to_string(run)});
        ASSERT_TRUE(delegate_->waitForEnds(run));
        ASSERT_TRUE(isIdle());
    }
    EXPECT_EQ(delegate_->text(), "123");
}

TEST_F(AsyncTask, ThatIsTerminatedBeforeItsThreadBeginsIsLoggedAndPrinted) {
    HeldThreads thread;
    platform_->mainThread = &thread;
    start(childPath("hang"), {folder_ / "pid"});
    runner_->terminateAsyncTask();
    thread.bodies.at(0)();
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
    EXPECT_TRUE(console_.printed.contains("Unable to launch async task - no task set"));
    EXPECT_FALSE(test::somethingAt(folder_ / "pid"));
}

TEST_F(AsyncTask, ThatIsRestartedLeavesTheSecondRunToItsThread) {
    HeldThreads thread;
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

// The second run's own thread never begins: what arrives was read by the first one's.
TEST_F(AsyncTask, ThatIsReplacedReadsTheSecondTasksOutput) {
    const std::string file = folder_ / "pid";
    HeldThreads threads;
    threads.letThrough = 1;
    platform_->mainThread = &threads;
    const auto second = std::make_shared<test::Delegate>();
    delegate_->meanwhile = [&](const Data&, KXTaskEx& task) {
        task.asyncDataFromTask(childPath("print_streams"), StringList{"second"}, second,
                               selectorOf(second), nullptr);
        task.theTask()->launch();
    };
    start(childPath("write_then_hang"), {file, "first"});
    ASSERT_TRUE(second->waitForEnds(1));
    EXPECT_EQ(delegate_->text(), "first");
    EXPECT_EQ(delegate_->ends(), 0);
    EXPECT_EQ(second->text(), "second");
    ::kill(test::pidIn(file), SIGKILL);
    threads.bodies.clear();
    EXPECT_TRUE(isIdle());
}

TEST_F(AsyncTask, StartedInsideTheLastCallIsEndedByTheCleanUp) {
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

TEST_F(AsyncTask, RestartedInsideTheLastCallContinues) {
    delegate_->meanwhile = [&](const Data& data, KXTaskEx& task) {
        if (!data.empty() || delegate_->ends() != 1) return;
        task.terminateAsyncTask();
        task.asyncDataFromTask(childPath("print_streams"), StringList{"second"}, delegate_,
                               selectorOf(delegate_), nullptr);
    };
    start(childPath("print_streams"), {"first"});
    ASSERT_TRUE(delegate_->waitForEnds(2));
    EXPECT_EQ(delegate_->text(), "firstsecond");
    EXPECT_TRUE(isIdle());
}

TEST_F(AsyncTask, ThatIsRestartedIsIgnoredByTheEarlierReader) {
    for (int round = 0; round < 100; ++round) {
        start("/usr/bin/yes");
        ASSERT_TRUE(delegate_->waitForChunks(1));
        runner_->terminateAsyncTask();
        const auto before = std::exchange(delegate_, std::make_shared<test::Delegate>());
        start(childPath("print_bytes"), {"100000"});
        ASSERT_TRUE(delegate_->waitForEnds(1));
        ASSERT_TRUE(delegate_->text() == test::pattern(0, 100000)) << round;
        ASSERT_TRUE(isIdle());
        ASSERT_EQ(delegate_->ends(), 1);
        ASSERT_EQ(before->ends(), 0);
        delegate_ = std::make_shared<test::Delegate>();
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(AsyncTask, MayBeStartedAndTerminatedByTwoThreads) {
    std::atomic<bool> over{false};
    std::thread terminating([&] {
        while (!over) runner_->terminateAsyncTask();
    });
    for (int round = 0; round < 300; ++round) {
        runner_->terminateAsyncTask();
        start(childPath("print_streams"), {"x"});
    }
    over = true;
    terminating.join();
    runner_->terminateAsyncTask();
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(eventually([] { return test::zombieCount() == 0; }));
    for (const std::string& line : logged())
        EXPECT_EQ(line, "Unable to launch async task - no task set");
    // The instance can be used again.
    delegate_ = std::make_shared<test::Delegate>();
    start(childPath("print_streams"), {"out"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->text(), "out");
}

TEST_F(AsyncTask, IsTerminatedFromInsideTheDelegate) {
    delegate_->meanwhile = [](const Data&, KXTaskEx& task) { task.terminateAsyncTask(); };
    start("/usr/bin/yes");
    ASSERT_TRUE(delegate_->waitForChunks(1));
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->chunks(), 1);
}

TEST_F(AsyncTask, MayBeTerminatedWhenIdle) {
    runner_->terminateAsyncTask();
    runner_->terminateAsyncTask();
    EXPECT_EQ(runner_->theTask(), nullptr);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(AsyncTask, CanBeTerminatedAtAnyMomentWithoutResidue) {
    // Starts the library's one thread that collects released children.
    {
        const auto givenUp = platform::current().tasks->makeTask();
        givenUp->setLaunchPath(childPath("hang"));
        givenUp->setArguments({folder_ / "pid"});
        givenUp->launch();
    }
    ::kill(test::pidIn(folder_ / "pid"), SIGKILL);
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

// The order of the steps, with scripted children and pipes.
class AsyncSteps : public test::ScriptedTaskTest {
  protected:
    std::shared_ptr<test::Delegate> delegate_ = std::make_shared<test::Delegate>();
    std::shared_ptr<KXTaskEx> runner_ = KXTaskEx::create();
};

TEST_F(AsyncSteps, OfARunHaveAFixedOrder) {
    handles_.chunks[1] = {"one", "two"};
    tasks_.script.runsAfterLaunch = false;
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr,
                               Environment{{"A", "1"}});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    ASSERT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(steps(),
                ElementsAre("make task", "make pipe1", "output pipe1.writing", "error null",
                            "environment 'A'='1'", "path /tool", "arguments", "exists?",
                            "executable?", "launch", "read pipe1.reading", "read pipe1.reading",
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

// Records its release.
std::shared_ptr<void> tracked(test::Journal& journal, const std::string& name) {
    return {nullptr, [&journal, name](void*) { journal.note(name + " released"); }};
}

// The caller's objects are released before the tool is signalled, and with nothing locked.
TEST_F(AsyncSteps, OfATerminationHaveAFixedOrder) {
    HeldThreads thread;
    platform_->mainThread = &thread;
    journal_.remark = [this] { return std::string(runner_->theTask() != nullptr ? "" : ", idle"); };
    runner_->asyncDataFromTask(
        "/tool", std::nullopt, tracked(journal_, "delegate"),
        [kept = tracked(journal_, "operation")](const Data&, KXTaskEx&, const auto&) {},
        tracked(journal_, "object"));
    runner_->theTask()->launch();
    const std::size_t before = steps().size();
    runner_->terminateAsyncTask();
    const StringList all = steps();
    EXPECT_THAT(StringList(all.begin() + static_cast<long>(before), all.end()),
                ElementsAre("close pipe1.reading", "delegate released", "object released",
                            "operation released", "running?", "terminate", "released, idle"));
}

TEST_F(AsyncSteps, OfATerminationMayStartTheNextRun) {
    HeldThreads thread;
    platform_->mainThread = &thread;
    handles_.chunks[2] = {"second"};
    KXTaskEx::Object delegate(nullptr, [this](void*) {
        runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_),
                                   nullptr);
    });
    runner_->asyncDataFromTask("/tool", std::nullopt, std::move(delegate), nullptr, nullptr);
    const auto task = runner_->theTask();
    task->launch();
    runner_->terminateAsyncTask();
    EXPECT_TRUE(journal_.steps.contains("terminate"));
    EXPECT_NE(runner_->theTask(), nullptr);
    EXPECT_NE(runner_->theTask(), task);
    thread.bodies.at(1)();
    EXPECT_EQ(delegate_->text(), "second");
}

TEST_F(AsyncSteps, OfAStartReleaseThePreviousListenerInOrder) {
    HeldThreads thread;
    platform_->mainThread = &thread;
    runner_->asyncDataFromTask(
        "/tool", std::nullopt, tracked(journal_, "delegate"),
        [kept = tracked(journal_, "operation")](const Data&, KXTaskEx&, const auto&) {},
        tracked(journal_, "object"));
    const std::size_t before = steps().size();
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr);
    StringList all = steps();
    all.erase(all.begin(), all.begin() + static_cast<long>(before));
    ASSERT_GE(all.size(), 4U);
    all.resize(4);
    EXPECT_THAT(all, ElementsAre("delegate released", "operation released", "object released",
                                 "make task"));
    EXPECT_EQ(delegate_.use_count(), 2);
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr);
    EXPECT_EQ(delegate_.use_count(), 2);
    thread.bodies.at(2)();
    EXPECT_EQ(delegate_->object(), nullptr);
    EXPECT_EQ(delegate_->ends(), 1);
}

TEST_F(AsyncSteps, OfAToolThatCannotBeLaunchedAreLoggedAndNotPrinted) {
    fileManager_.executable = false;
    for (const bool exists : {false, true}) {
        fileManager_.exists = exists;
        runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_),
                                   nullptr);
        ASSERT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
        EXPECT_NE(runner_->theTask(), nullptr);
    }
    const std::string text =
        "Unable to launch async task - task does not exist or is not executable";
    EXPECT_THAT(logged(), ElementsAre(text, text));
    EXPECT_THAT(console_.printed.all(), IsEmpty());
    EXPECT_THAT(console_.logged.all(), IsEmpty());
    EXPECT_EQ(delegate_->ends(), 0);
    runner_->terminateAsyncTask();
}

TEST_F(AsyncSteps, WithoutATaskDoNotCallTheDelegate) {
    HeldThreads thread;
    platform_->mainThread = &thread;
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr);
    runner_->setTheTask(nullptr);
    thread.bodies.at(0)();
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
    EXPECT_EQ(delegate_->ends(), 0);
}

TEST(AsyncTaskField, MayBeSetAndReadByManyThreads) {
    const auto runner = KXTaskEx::create();
    std::atomic<bool> over{false};
    std::vector<std::thread> threads;
    for (int n = 0; n < 2; ++n)
        threads.emplace_back([&] {
            while (!over) {
                const auto task = runner->theTask();
                EXPECT_FALSE(task != nullptr && task->isRunning());
            }
        });
    for (int i = 0; i < 2000; ++i) runner->setTheTask(platform::current().tasks->makeTask());
    over = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_NE(runner->theTask(), nullptr);
}

TEST(AsyncTaskNotification, HasTheNameThatCallersCompare) {
    EXPECT_STREQ(KXAsyncTaskDataNotification, "KXAsyncTaskDataNotification");
}

TEST_F(AsyncSteps, EndWithAFailedRead) {
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

TEST_F(AsyncSteps, OfALateReaderDoNotReadTheNextRunsOutput) {
    HeldThreads thread;
    platform_->mainThread = &thread;
    handles_.chunks[1] = {"first", "late"};
    handles_.chunks[2] = {"second"};
    const auto begin = [this] {
        runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_),
                                   nullptr);
    };
    delegate_->meanwhile = [&](const Data& data, KXTaskEx& task) {
        if (data.view() != "first") return;
        task.terminateAsyncTask();
        begin();
    };
    begin();
    thread.bodies.at(0)();
    EXPECT_EQ(delegate_->ends(), 0);
    thread.bodies.at(1)();
    EXPECT_EQ(delegate_->text(), "firstsecond");
    EXPECT_EQ(delegate_->ends(), 1);
}

TEST_F(AsyncSteps, OfAPreparationExcludeATermination) {
    // Another thread terminates while the pipe of the first run is made.
    class Interrupted : public test::ScriptedHandles {
      public:
        using ScriptedHandles::ScriptedHandles;
        std::function<void()> meanwhile = [] {};
        platform::Pipe makePipe() override {
            std::exchange(meanwhile, [] {})();
            return ScriptedHandles::makePipe();
        }
    };
    Interrupted handles(journal_);
    handles.chunks[1] = {"one", "two"};
    platform_->fileHandles = &handles;
    std::thread terminating;
    std::atomic<bool> terminated{false};
    handles.meanwhile = [&] {
        terminating = std::thread([&] {
            runner_->terminateAsyncTask();
            terminated = true;
        });
        // It may have to wait until the run is prepared.
        for (int i = 0; i < 100 && !terminated; ++i) std::this_thread::sleep_for(1ms);
    };
    runner_->asyncDataFromTask("/tool", std::nullopt, delegate_, selectorOf(delegate_), nullptr);
    const bool cameBefore = terminated;
    terminating.join();
    ASSERT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_EQ(runner_->theTask(), nullptr);
    // A termination before the run does not affect it.
    if (cameBefore) {
        EXPECT_EQ(delegate_->text(), "onetwo");
        EXPECT_EQ(delegate_->ends(), 1);
    }
}

}  // namespace
}  // namespace quillmoor
