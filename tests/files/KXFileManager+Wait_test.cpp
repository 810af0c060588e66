#include <thread>

#include "quillmoor/files/operation_support.h"
#include "tests/files/files_fixture.h"
#include "tests/files/passing_time.h"
#include "tests/files/slow_log.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TimePoint = std::chrono::system_clock::time_point;

class Dates : public test::ForwardingAttributes {
  public:
    std::optional<TimePoint> date;
    std::optional<platform::ItemAttributes> attributesOfItem(const std::string&) override {
        if (!date) return std::nullopt;
        return platform::ItemAttributes{0, *date, false};
    }
};

class Waiting : public test::FilesTest {
  protected:
    test::PassingTime time_{platform_};
    test::PassingClock& passing_ = time_.clock;
    test::PassingEvents& events_ = time_.events;
    Dates dates_;
};

using SlowlyLogged = test::FilesTest;

TEST_F(Waiting, OnTheMainThreadSendsEventsUntilTheTimeIsOver) {
    EXPECT_FALSE(waitUntil([] { return false; }, 1s));
    EXPECT_EQ(events_.asked.size(), 100U);
    EXPECT_THAT(events_.asked, Each(10ms));
    EXPECT_THAT(passing_.slept, IsEmpty());
}

TEST_F(Waiting, OnOtherThreadsSleeps) {
    events_.onMainThread = false;
    EXPECT_FALSE(waitUntil([] { return false; }, 1s));
    EXPECT_THAT(passing_.slept, ElementsAre(300ms, 300ms, 300ms, 300ms));
    EXPECT_THAT(events_.asked, IsEmpty());
}

TEST_F(Waiting, EndsWhenTheConditionHolds) {
    int asked = 0;
    EXPECT_TRUE(waitUntil([&] { return ++asked > 3; }, 30s));
    EXPECT_EQ(events_.asked.size(), 3U);
    EXPECT_EQ(asked, 5);  // once more at the end
}

TEST_F(Waiting, ReturnsWhatHoldsInTheEnd) {
    int asked = 0;
    EXPECT_FALSE(waitUntil([&] { return ++asked == 2; }, 30s));
}

TEST_F(Waiting, ForZeroSecondsOnlyChecks) {
    EXPECT_FALSE(waitUntil([] { return false; }, 0s));
    EXPECT_FALSE(waitUntil([] { return false; }, -5s));
    EXPECT_TRUE(waitUntil([] { return true; }, 0s));
    EXPECT_THAT(events_.asked, IsEmpty());
}

TEST_F(Waiting, ForTheLongestTimeLastsUntilTheConditionHolds) {
    int asked = 0;
    EXPECT_TRUE(waitUntil([&] { return ++asked > 3; }, std::chrono::seconds::max()));
    EXPECT_EQ(events_.asked.size(), 3U);
}

TEST_F(Waiting, ForTheLeastTimeOnlyChecks) {
    EXPECT_FALSE(waitUntil([] { return false; }, std::chrono::seconds::min()));
    EXPECT_TRUE(time_.nothingWaited());
}

TEST_F(Waiting, ChecksTheConditionAfterAnEvent) {
    passing_.meanwhile = [&] { folder_.writeFile("copy"); };
    authorized();
    manager_.refuses = true;
    EXPECT_TRUE(KXFileManager::copyFile(folder_.writeFile("file"), folder_ / "copy", 5s));
    EXPECT_EQ(events_.asked.size(), 1U);
}

TEST_F(Waiting, HasTheFailureOfItsOwnOperationAndNotThatOfAnEvent) {
    authorized();
    manager_.refuses = true;
    std::string seen;
    passing_.meanwhile = [&] {
        EXPECT_EQ(KXFileManager::fileSize(folder_ / "missing"), 0U);
        seen = KXFailure::last()->operation;
    };
    EXPECT_FALSE(KXFileManager::removeFile(folder_.writeFile("file"), 1s));
    EXPECT_EQ(seen, "+[KXFileManager fileSize:]");
    const auto failure = KXFailure::last();
    ASSERT_TRUE(failure);
    EXPECT_STREQ(failure->operation, "+[KXFileManager removeFile:timeout:]");
    EXPECT_EQ(failure->reason, KXFailure::Reason::TimedOut);
    EXPECT_EQ(failure->path, folder_ / "file");
    EXPECT_EQ(failure->authorization, KXFailure::Authorization::Granted);
}

TEST_F(Waiting, OperationsInAnEventLeaveASuccessfulOneWithoutFailure) {
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    passing_.meanwhile = [&] {
        KXFileManager::fileSize(folder_ / "missing");
        std::filesystem::remove(file);
    };
    EXPECT_TRUE(KXFileManager::removeFile(file, 1s));
    EXPECT_FALSE(KXFailure::last());
}

TEST_F(Waiting, GoesOnAfterAnEventThatThrows) {
    startLog();
    events_.throws = true;
    int asked = 0;
    EXPECT_TRUE(waitUntil([&] { return ++asked > 2; }, 30s));
    EXPECT_EQ(events_.asked.size(), 2U);
    EXPECT_THAT(logged(), Each("Exception in sendNextEvent. Bad - an event."));
}

TEST_F(Waiting, ForAFileChecksOnceAndSleepsOnce) {
    startLog();
    KXFileManager::waitForFileCreation(folder_ / "gone", 30s);
    EXPECT_THAT(logged(),
                ElementsAre("File " + (folder_ / "gone") + " is not yet created. Waiting..."));
    EXPECT_THAT(passing_.slept, ElementsAre(500us));
}

TEST_F(Waiting, ForAFileForTheLongestTimeSleepsOnce) {
    startLog();
    KXFileManager::waitForFileCreation(folder_ / "gone", std::chrono::seconds::max());
    EXPECT_EQ(logged().size(), 1U);
    EXPECT_THAT(passing_.slept, ElementsAre(500us));
    KXFileManager::waitForFileCreation(folder_ / "gone", std::chrono::seconds::min());
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(Waiting, ForAnEmptyFileEqualsWaitingForAMissingOne) {
    KXFileManager::waitForFileCreation(folder_.writeFile("empty"), 30s);
    EXPECT_THAT(passing_.slept, ElementsAre(500us));
}

TEST_F(Waiting, ForAnExistingFileOrZeroSecondsReturnsAtOnce) {
    startLog();
    KXFileManager::waitForFileCreation(folder_.writeFile("file", "x"), 30s);
    KXFileManager::waitForFileCreation(folder_ / "gone", 0s);
    KXFileManager::waitForFileCreation(folder_ / "gone", -1s);
    EXPECT_THAT(passing_.slept, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Waiting, ForTheWritesOfAnOldFileReturnsAtOnce) {
    startLog();
    platform_->attributes = &dates_;
    dates_.date = passing_.time - 10s;
    KXFileManager::waitForFileWrites("/file");
    EXPECT_THAT(passing_.slept, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Waiting, ForTheWritesOfAFileOfAnotherCenturyReturnsAtOnce) {
    startLog();
    platform_->attributes = &dates_;
    passing_.time = platform::native().clock->now();
    // In the year 1700, and as long ago as there are dates.
    for (const TimePoint date : {TimePoint(-8'520'336'000s), TimePoint::min()}) {
        dates_.date = date;
        KXFileManager::waitForFileWrites("/file");
    }
    EXPECT_THAT(passing_.slept, IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Waiting, ForTheWritesOfAFileOfTheFutureTakesUntilItIsOld) {
    platform_->attributes = &dates_;
    dates_.date = TimePoint::max();
    passing_.meanwhile = [&] {
        if (passing_.slept.size() == 3) dates_.date = passing_.time - 10s;
    };
    KXFileManager::waitForFileWrites("/file");
    EXPECT_EQ(passing_.slept.size(), 3U);
}

TEST_F(Waiting, ForTheWritesOfAFileOfTheNearFutureTakesUntilItIsFourSecondsOld) {
    platform_->attributes = &dates_;
    const TimePoint start = passing_.time;
    dates_.date = start + 2s;
    KXFileManager::waitForFileWrites("/file");
    EXPECT_EQ(passing_.time - start, 6s + 500us);
}

TEST_F(Waiting, ForTheWritesOfAFreshFileTakesUntilItIsFourSecondsOld) {
    startLog();
    platform_->attributes = &dates_;
    const TimePoint start = passing_.time;
    dates_.date = start - 1s;
    KXFileManager::waitForFileWrites("/file");
    EXPECT_EQ(passing_.time - start, 3s + 500us);
    EXPECT_THAT(passing_.slept, Each(500us));
    EXPECT_THAT(logged(), ElementsAre("File /file is currently being written to. Waiting...",
                                      "File /file finished writing."));
}

TEST_F(Waiting, ForTheWritesOfARealFileUsesItsDate) {
    const std::string file = folder_.writeFile("file");
    const TimePoint start = passing_.time;
    ASSERT_TRUE(KXFileManager::setModificationDate(start - 10s, file));
    startLog();
    KXFileManager::waitForFileWrites(file);
    EXPECT_THAT(logged(), IsEmpty());
    folder_.writeFile(".lock");
    KXFileManager::waitForFileWrites(file, ".lock");
    EXPECT_EQ(logged().size(), 2U);
    EXPECT_EQ(passing_.time, start);
    ASSERT_TRUE(KXFileManager::setModificationDate(start - 1s, file));
    startLog();
    KXFileManager::waitForFileWrites(file);
    EXPECT_EQ(passing_.time - start, 3s + 500us);
    EXPECT_EQ(logged().size(), 2U);
}

TEST_F(Waiting, ForWritesRestartsWithEveryWrite) {
    platform_->attributes = &dates_;
    const TimePoint start = passing_.time;
    dates_.date = start;
    passing_.meanwhile = [&] {
        if (passing_.time - start < 2s) dates_.date = passing_.time;
    };
    KXFileManager::waitForFileWrites("/file");
    EXPECT_GT(passing_.time - start, 5900ms);
    EXPECT_LT(passing_.time - start, 6100ms);
}

TEST_F(Waiting, ForWritesWithALockFileOfAnOldFileLogsBothLinesAtOnce) {
    startLog();
    platform_->attributes = &dates_;
    dates_.date = passing_.time - 10s;
    folder_.writeFile(".lock");
    KXFileManager::waitForFileWrites(folder_ / "file", ".lock");
    EXPECT_THAT(passing_.slept, IsEmpty());
    EXPECT_THAT(logged(), ElementsAre("File " + (folder_ / "file") +
                                          " is currently being written to. Waiting...",
                                      "File " + (folder_ / "file") + " finished writing."));
}

TEST_F(Waiting, ForWritesOfAMissingFileWithALockFileLastsUntilItIsCreated) {
    platform_->attributes = &dates_;
    folder_.writeFile(".lock");
    const TimePoint start = passing_.time;
    passing_.meanwhile = [&] {
        if (passing_.time - start > 7s && !dates_.date) dates_.date = passing_.time;
    };
    KXFileManager::waitForFileWrites(folder_ / "gone", ".lock");
    EXPECT_GT(passing_.time - start, 11s);
}

TEST_F(Waiting, ForWritesChecksTheLockFileOnce) {
    platform_->attributes = &dates_;
    const TimePoint start = passing_.time;
    dates_.date = start;
    const std::string lock = folder_.writeFile(".lock");
    passing_.meanwhile = [&] { std::filesystem::remove(lock); };
    KXFileManager::waitForFileWrites(folder_ / "file", ".lock");
    EXPECT_EQ(passing_.time - start, 4s + 500us);
    // One that appears does not make the wait longer.
    dates_.date = passing_.time - 1s;
    const TimePoint later = passing_.time;
    passing_.meanwhile = [&] { folder_.writeFile(".lock"); };
    KXFileManager::waitForFileWrites(folder_ / "file", ".lock");
    EXPECT_EQ(passing_.time - later, 3s + 500us);
}

TEST_F(Waiting, ForWritesOfAMissingFileReturnsAtOnce) {
    startLog();
    KXFileManager::waitForFileWrites(folder_ / "gone");
    KXFileManager::waitForFileWrites(folder_ / "gone", "no lock");
    KXFileManager::waitForFileWrites(std::nullopt, "lock");
    EXPECT_THAT(logged(), IsEmpty());
}

// Off the main thread a short line is written before the call returns.
TEST_F(SlowlyLogged, WaitingIsLoggedBeforeTheReturn) {
    test::SlowLog log(platform_);
    std::thread([&] {
        KXFileManager::waitForFileCreation("/g", 30s);
        EXPECT_THAT(log.text(), HasSubstr("File /g is not yet created. Waiting..."));
    }).join();
}

}  // namespace
}  // namespace quillmoor
