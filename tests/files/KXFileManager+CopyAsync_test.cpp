#include "tests/files/copy_async_test.h"
#include "tests/files/passing_time.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using platform::FileOperationStage;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Notice = FileOperationDelegate::Notice;
using CopyWithProgress = test::CopyWithProgressTest;

TEST_F(CopyWithProgress, OfAMissingSourceIsRefusedAtOnce) {
    EXPECT_FALSE(KXFileManager::copyFileWithProgress(folder_ / "gone", folder_ / "copy", listener_,
                                                     nullptr));
    EXPECT_FALSE(
        KXFileManager::copyFileWithProgress(std::nullopt, folder_ / "copy", listener_, nullptr));
    EXPECT_THAT(operations_.calls, IsEmpty());
    EXPECT_THAT(console_.logged,
                ElementsAre("Error: File " + (folder_ / "gone") +
                                " doesn't exist. Aborting copy process...",
                            "Error: File (null) doesn't exist. Aborting copy process..."));
    deliver();
    EXPECT_THAT(listener_->events, IsEmpty());
}

TEST_F(CopyWithProgress, CreatesTheDestinationsFolder) {
    EXPECT_TRUE(start());
    EXPECT_TRUE(KXFileManager::isDirectoryAtPath(folder_ / "to"));
    EXPECT_THAT(operations_.copied, ElementsAre(file_, folder_ / "to", "copy", "1000"));
}

TEST_F(CopyWithProgress, WaitsTenSecondsForTheDestinationsFolder) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    EXPECT_FALSE(start());
    EXPECT_EQ(time.newEvents(), 1000U);
    EXPECT_THAT(time.events.asked, Each(10ms));
    EXPECT_EQ(console_.logged.size(), 1U);
    EXPECT_THAT(operations_.calls, IsEmpty());
}

TEST_F(CopyWithProgress, ContinuesWhenTheDestinationsFolderExists) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    time.duringEvent(900, [&] { folder_.makeFolder("to"); });
    EXPECT_TRUE(start());
    EXPECT_EQ(time.newEvents(), 900U);
    EXPECT_EQ(operations_.calls.back(), "copy");
    EXPECT_THAT(console_.logged, IsEmpty());
}

TEST_F(CopyWithProgress, WithoutTheDestinationsFolderIsRefused) {
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    manager_.refuses = true;
    EXPECT_FALSE(start());
    EXPECT_THAT(operations_.calls, IsEmpty());
    EXPECT_THAT(console_.logged,
                ElementsAre("Unable to copy file " + file_ + " - destination directory " +
                            (folder_ / "to") + " doesn't exist. Aborting copy process..."));
}

TEST_F(CopyWithProgress, WithoutADestinationIsRefused) {
    test::PassingTime time(platform_);
    authorized();
    EXPECT_FALSE(KXFileManager::copyFileWithProgress(file_, std::nullopt, listener_, nullptr));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/mkdir -p"));
    EXPECT_THAT(operations_.calls, IsEmpty());
    EXPECT_THAT(console_.logged, ElementsAre("Unable to copy file " + file_ +
                                             " - destination directory (null) doesn't exist. "
                                             "Aborting copy process..."));
}

TEST_F(CopyWithProgress, ThatCannotBeScheduledIsReported) {
    operations_.scheduleStatus = -50;
    EXPECT_FALSE(start());
    EXPECT_THAT(operations_.calls, ElementsAre("create", "schedule"));
    EXPECT_THAT(console_.logged, ElementsAre("Failed to schedule operation with run loop: -50"));
}

TEST_F(CopyWithProgress, ThatCannotBeScheduledKeepsItsOperation) {
    operations_.scheduleStatus = -50;
    std::weak_ptr<platform::FileOperation> kept;
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(start());
        kept = std::exchange(operations_.operation, nullptr);
        EXPECT_EQ(kept.use_count(), 1);
    }
}

// The platform keeps an operation that it has started; one that could not start is released before
// the report.
TEST_F(CopyWithProgress, ReleasesItsOperationRightAfterTheStart) {
    class CountsAtReport : public test::AuthConsole {
      public:
        std::weak_ptr<platform::FileOperation> operation;
        long references = -1;
        void log(std::string_view text) override {
            references = operation.use_count();
            AuthConsole::log(text);
        }
    };
    CountsAtReport console;
    platform_->console = &console;
    operations_.onSchedule = [&] { console.operation = operations_.operation; };
    for (const std::int32_t status : {0, -48}) {
        operations_.copyStatus = status;
        EXPECT_EQ(start(), status == 0);
        EXPECT_EQ(operations_.operation.use_count(), 1) << status;
    }
    EXPECT_EQ(console.references, 1);
    EXPECT_THAT(console.logged, ElementsAre("Failed to begin asynchronous object copy: -48"));
}

TEST_F(CopyWithProgress, KeepsNoOperationAfterTheEnd) {
    ASSERT_TRUE(start());
    const std::weak_ptr<platform::FileOperation> operation = operations_.operation;
    operations_.report(FileOperationStage::Complete);
    operations_.callback = nullptr;
    operations_.operation = nullptr;
    EXPECT_EQ(operation.use_count(), 1);  // of the notice that is queued
    deliver();
    listener_->operation = nullptr;
    EXPECT_TRUE(operation.expired());
}

TEST_F(CopyWithProgress, CreatesThenSchedulesThenStartsTheOperation) {
    EXPECT_TRUE(start());
    EXPECT_THAT(operations_.calls, ElementsAre("create", "schedule", "copy"));
}

TEST_F(CopyWithProgress, QueuesTheEndBeforeItUnschedules) {
    class Queue : public test::ForwardingMainThread {
      public:
        StringList* calls = nullptr;
        void queue(platform::PreparedCall call) noexcept override {
            calls->emplace_back("queue");
            ForwardingMainThread::queue(std::move(call));
        }
    };
    Queue queue;
    queue.calls = &operations_.calls;
    platform_->mainThread = &queue;
    ASSERT_TRUE(start());
    operations_.calls.clear();
    operations_.report(FileOperationStage::Complete);
    EXPECT_THAT(operations_.calls, ElementsAre("queue", "unschedule"));
    deliver();
}

TEST_F(CopyWithProgress, IntoAnExistingFolderCreatesNone) {
    manager_.refuses = true;
    EXPECT_TRUE(KXFileManager::copyFileWithProgress(file_, folder_ / "copy", listener_, nullptr));
    EXPECT_THAT(console_.logged, IsEmpty());
    EXPECT_THAT(authorization_.calls, IsEmpty());
}

// It reports to the console only.
TEST_F(CopyWithProgress, WritesNothingToTheLog) {
    startLog();
    EXPECT_FALSE(KXFileManager::copyFileWithProgress(folder_ / "gone", folder_ / "copy", listener_,
                                                     nullptr));
    folder_.makeFolder("to");
    operations_.scheduleStatus = -50;
    EXPECT_FALSE(start());
    operations_.scheduleStatus = 0;
    operations_.copyStatus = -48;
    EXPECT_FALSE(start());
    operations_.copyStatus = 0;
    operations_.unscheduleStatus = -50;
    EXPECT_TRUE(start());
    operations_.report(FileOperationStage::Complete);
    EXPECT_EQ(console_.logged.size(), 4U);
    EXPECT_THAT(logged(), IsEmpty());
}

// A caller may pass reports of its own to the callback.
TEST_F(CopyWithProgress, HasACallbackThatMayBeCalledDirectly) {
    const FileOperationNotice info{{"delegate", FileOperationDelegateRef(listener_)},
                                   {"source", std::string("/from")}};
    const platform::FileOperationRef operation = operations_.create();
    statusCallback({operation, std::nullopt, FileOperationStage::Running, 0, {{{"bytes", 1.0}}}},
                   &info);
    statusCallback({operation, "/item", FileOperationStage::Complete, -36, std::nullopt}, &info);
    statusCallback({operation, "/item", FileOperationStage::Complete, 0, std::nullopt}, nullptr);
    deliver();
    EXPECT_THAT(listener_->events,
                ElementsAre("progress with operation", "finished with operation"));
    EXPECT_EQ(listener_->last,
              (FileOperationNotice{{"delegate", FileOperationDelegateRef(listener_)},
                                   {"source", std::string("/from")},
                                   {"stage", 3L}}));
    EXPECT_EQ(listener_->operation, operation);
    EXPECT_THAT(operations_.calls, ElementsAre("create", "unschedule", "unschedule"));
}

TEST_F(CopyWithProgress, ThatCannotBeginIsReported) {
    operations_.copyStatus = -48;
    EXPECT_FALSE(start());
    EXPECT_THAT(console_.logged, ElementsAre("Failed to begin asynchronous object copy: -48"));
}

TEST_F(CopyWithProgress, ReportsStatusesAndTheEnd) {
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Undefined);
    operations_.report(FileOperationStage::Preflighting);
    operations_.report(FileOperationStage::Running);
    operations_.report(FileOperationStage::Preflighting, platform::FileOperationStatus{{"a", 1}});
    deliver();
    EXPECT_THAT(listener_->events, IsEmpty());
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{{"bytes", 5}});
    EXPECT_THAT(listener_->events, IsEmpty());  // queued
    deliver();
    EXPECT_THAT(listener_->events, ElementsAre("progress with operation"));
    EXPECT_EQ(listener_->operation, operations_.operation);
    operations_.report(FileOperationStage::Complete, platform::FileOperationStatus{{"bytes", 9}});
    deliver();
    EXPECT_THAT(listener_->events,
                ElementsAre("progress with operation", "finished with operation"));
    EXPECT_EQ(operations_.calls.back(), "unschedule");
    EXPECT_TRUE(listener_->onMainThread);
}

TEST_F(CopyWithProgress, NoticesNameSourceAndDestination) {
    const CallerObject one = std::make_shared<int>(1);
    const CallerObject two = std::make_shared<int>(2);
    ASSERT_TRUE(start(one, two));
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{{"bytes", 5}});
    deliver();
    FileOperationNotice expected{{"stage", 2L},
                                 {"source", file_},
                                 {"destination", folder_ / "to/copy"},
                                 {"operationtype", std::string("copy")},
                                 {"delegate", FileOperationDelegateRef(listener_)},
                                 {"object", one},
                                 {"object2", two},
                                 {"bytes", 5.0}};
    EXPECT_EQ(listener_->last, expected);
    operations_.report(FileOperationStage::Complete, platform::FileOperationStatus{{"bytes", 9}});
    deliver();
    expected.erase("bytes");
    expected["stage"] = 3L;
    EXPECT_EQ(listener_->last, expected);
}

// Its keys are the platform's.
TEST_F(CopyWithProgress, NoticesHaveEveryKeyOfAStatus) {
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running,
                       {{{"delegate", 1.5}, {"source", 2.5}, {"stage", 3.5}}});
    deliver();
    EXPECT_THAT(listener_->events, ElementsAre("progress with operation"));
    EXPECT_EQ(std::get<double>(listener_->last.at("delegate")), 1.5);
    EXPECT_EQ(std::get<double>(listener_->last.at("source")), 2.5);
    EXPECT_EQ(std::get<double>(listener_->last.at("stage")), 3.5);
}

TEST_F(CopyWithProgress, ChoosesTheFormForEachEvent) {
    listener_->implemented = {Notice::Progress, Notice::FinishedWithOperation};
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running, {{{"bytes", 1.0}}});
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events, ElementsAre("progress", "finished with operation"));
}

TEST_F(CopyWithProgress, NoticesOmitMissingObjects) {
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_EQ(listener_->last.size(), 5U);
    EXPECT_EQ(listener_->last.count("object"), 0U);
    EXPECT_EQ(listener_->last.count("object2"), 0U);
}

TEST_F(CopyWithProgress, PrefersTheFormWithTheOperation) {
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
}

TEST_F(CopyWithProgress, FallsBackToTheFormWithoutTheOperation) {
    listener_->implemented = {Notice::Progress, Notice::Finished};
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{});
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events, ElementsAre("progress", "finished"));
}

TEST_F(CopyWithProgress, SendsNoNoticeThatIsNotImplemented) {
    listener_->implemented = {};
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{});
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events, IsEmpty());
    EXPECT_EQ(operations_.calls.back(), "unschedule");
}

TEST_F(CopyWithProgress, CancelledFromAProgressNoticeReportsTheEnd) {
    listener_->onProgress = [](const platform::FileOperationRef& operation) {
        KXFileManager::cancelFileOperation(operation);  // its status does not matter
    };
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{{"bytes", 5}});
    deliver();
    EXPECT_EQ(operations_.calls.back(), "cancel");
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events,
                ElementsAre("progress with operation", "finished with operation"));
    EXPECT_EQ(operations_.calls.back(), "unschedule");
}

TEST_F(CopyWithProgress, WithoutADelegateIsUnscheduled) {
    listener_ = nullptr;
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{});
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_EQ(operations_.calls.back(), "unschedule");
}

TEST_F(CopyWithProgress, WithADelegateThatThrowsIsUnscheduled) {
    class Throwing : public test::Listener {
      public:
        bool implements(Notice) const override {
            throw platform::Exception("NSGenericException", "unknown");
        }
    };
    startLog();
    listener_ = std::make_shared<Throwing>();
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Running, platform::FileOperationStatus{});
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events, IsEmpty());
    EXPECT_THAT(operations_.calls, ElementsAre("create", "schedule", "copy", "unschedule"));
    EXPECT_THAT(logged(),
                ElementsAre("Exception in statusCallback. NSGenericException - unknown.",
                            "Exception in statusCallback. NSGenericException - unknown."));
}

TEST_F(CopyWithProgress, WhoseEndCouldNotBePreparedReportsIt) {
    class Unprepared : public test::ForwardingMainThread {
      public:
        platform::PreparedCall prepareCall(std::function<void()>) override {
            throw platform::Exception("NSGenericException", "no descriptors");
        }
    };
    Unprepared mainThread;
    platform_->mainThread = &mainThread;
    ASSERT_TRUE(start());
    operations_.report(FileOperationStage::Complete);
    deliver();
    EXPECT_THAT(listener_->events, ElementsAre("finished with operation"));
    EXPECT_EQ(listener_->last.size(), 5U);
    EXPECT_EQ(operations_.calls.back(), "unschedule");
}

TEST_F(CopyWithProgress, ThatCannotBeUnscheduledIsReported) {
    ASSERT_TRUE(start());
    operations_.unscheduleStatus = -50;
    operations_.report(FileOperationStage::Complete);
    EXPECT_THAT(console_.logged, ElementsAre("Failed to unschedule operation from run loop: -50"));
}

}  // namespace
}  // namespace quillmoor
