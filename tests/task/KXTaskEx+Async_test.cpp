#include <signal.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tests/children/pattern.h"
#include "tests/task/async_test.h"

namespace quillmoor {
namespace {

using test::childPath;
using test::eventually;
using test::selectorOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using AsyncTask = test::AsyncTaskTest;

TEST_F(AsyncTask, DeliversOutputAndThenTheEnd) {
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

TEST_F(AsyncTask, DeliversEveryByteOfALargeOutput) {
    const std::size_t size = 9'000'001;
    start(childPath("print_bytes"), {std::to_string(size), "4099"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_TRUE(delegate_->text() == test::pattern(0, size));
    EXPECT_GT(delegate_->chunks(), 1);
}

TEST_F(AsyncTask, DeliversOutputAsItArrives) {
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

TEST_F(AsyncTask, OfASilentToolDeliversOnlyTheEnd) {
    start(childPath("print_streams"), {"", "only errors"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->chunks(), 0);
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends(), 1);
}

TEST_F(AsyncTask, DoesNotDeliverStandardError) {
    // Writes more than a pipe can hold, and at the end "done" to standard output.
    start(childPath("fill_errors"), {folder_ / "pid"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->text(), "done");
    EXPECT_TRUE(isIdle());
    start("/bin/sh", {"-c", "test /dev/stderr -ef /dev/null && echo discarded; echo no >&2"});
    ASSERT_TRUE(delegate_->waitForEnds(2));
    EXPECT_EQ(delegate_->text(), "donediscarded\n");
}

TEST_F(AsyncTask, PassesNullForAMissingObject) {
    start(childPath("print_streams"), {"out"});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_EQ(delegate_->object(), nullptr);
}

TEST_F(AsyncTask, GivesTheToolOnlyTheGivenEnvironment) {
    runner_->asyncDataFromTask(childPath("print_env"), std::nullopt, delegate_,
                               selectorOf(delegate_), nullptr,
                               Environment{{"ONE", "1"}, {"TWO", "a b\n"}});
    ASSERT_TRUE(delegate_->waitForEnds(1));
    EXPECT_THAT(delegate_->text(), ::testing::HasSubstr("ONE=1"));
    EXPECT_EQ(delegate_->text().find("PATH="), std::string::npos);
}

TEST_F(AsyncTask, WithoutAnEnvironmentTheToolInheritsTheProgramsOwn) {
    ASSERT_EQ(::setenv("KX_TEST_INHERITED", "yes", 1), 0);
    start(childPath("print_env"));
    ASSERT_TRUE(delegate_->waitForEnds(1));
    ASSERT_EQ(::unsetenv("KX_TEST_INHERITED"), 0);
    EXPECT_THAT(delegate_->text(), ::testing::HasSubstr("KX_TEST_INHERITED=yes"));
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

TEST_F(AsyncTask, WithoutAnOperationEndsTheToolAndReleasesTheDelegate) {
    class KeptTasks : public test::ForwardingTasks {
      public:
        std::shared_ptr<platform::Task> made;
        std::shared_ptr<platform::Task> makeTask() override {
            return made = ForwardingTasks::makeTask();
        }
    };
    KeptTasks tasks;
    platform_->tasks = &tasks;
    const std::weak_ptr<test::Delegate> watched = delegate_;
    auto object = std::make_shared<int>(1);
    const std::weak_ptr<int> watchedObject = object;
    // Closes its output and continues to run.
    runner_->asyncDataFromTask(childPath("close_output_and_hang"), StringList{folder_ / "pid"},
                               std::exchange(delegate_, nullptr), nullptr,
                               std::exchange(object, nullptr));
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(eventually([&] { return !tasks.made->isRunning(); }));
    EXPECT_EQ(tasks.made->terminationStatus(), SIGTERM);
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(watchedObject.expired());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(AsyncTask, KeepsTheDelegateAndTheObjectWhileItLasts) {
    const std::weak_ptr<test::Delegate> watched = delegate_;
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

TEST_F(AsyncTask, OfAMissingToolIsLoggedAndKeepsTheDelegate) {
    const std::weak_ptr<test::Delegate> watched = delegate_;
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

TEST_F(AsyncTask, OfAToolThatIsNotExecutableIsLogged) {
    start(folder_.writeFile("file"));
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    EXPECT_THAT(
        logged(),
        ElementsAre("Unable to launch async task - task does not exist or is not executable"));
    EXPECT_EQ(delegate_->ends(), 0);
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

TEST_F(AsyncTask, WhoseDelegateThrowsAPlatformExceptionReportsItAndEnds) {
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
    runner_->terminateAsyncTask();
    delegate_->meanwhile = [](const Data&, KXTaskEx&) { throw 1; };
    start(childPath("print_streams"), {"out"});
    EXPECT_TRUE(eventually([this] { return runner_.use_count() == 1; }));
    runner_->terminateAsyncTask();
    EXPECT_THAT(
        logged(),
        ElementsAre("Exception in -[KXTaskEx launchAsyncTask]. std::runtime_error - a reason.",
                    "Exception in -[KXTaskEx launchAsyncTask]. int - int."));
    EXPECT_EQ(delegate_->ends(), 0);
}

TEST_F(AsyncTask, OfAToolThatNeverStopsWritingCanBeStopped) {
    start("/usr/bin/yes");
    ASSERT_TRUE(delegate_->waitForChunks(3));
    runner_->terminateAsyncTask();
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(delegate_->ends(), 0);
    EXPECT_TRUE(eventually([] { return test::zombieCount() == 0; }));
}

TEST_F(AsyncTask, OfAToolThatIgnoresTheSignalEnds) {
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

TEST_F(AsyncTask, DeliversANotificationOfTheCaller) {
    start(childPath("hang"), {folder_ / "pid"});
    test::pidIn(folder_ / "pid");
    const AsyncTaskNotification notification{KXAsyncTaskDataNotification, Data("mine")};
    runner_->asyncTaskReturnData(notification);
    EXPECT_EQ(delegate_->text(), "mine");
    runner_->asyncTaskReturnData({KXAsyncTaskDataNotification, Data()});
    EXPECT_EQ(delegate_->ends(), 1);
    EXPECT_TRUE(isIdle());
}

TEST_F(AsyncTask, ItsThreadsBodyMayRunOnAnyThread) {
    runner_->launchAsyncTask();
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
}

}  // namespace
}  // namespace quillmoor
