#include <atomic>
#include <future>
#include <thread>

#include "tests/files/files_fixture.h"
#include "tests/files/passing_time.h"
#include "tests/files/slow_log.h"
#include "tests/platform/support/locked_item.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::_;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Copying = test::FilesTest;

TEST_F(Copying, CopiesAnItemToItsNewPath) {
    folder_.writeFile("tree/sub/file", "text");
    folder_.makeLink("tree/link", "sub");
    EXPECT_TRUE(KXFileManager::copyFile(folder_ / "tree", folder_ / "copy"));
    EXPECT_EQ(test::readFile(folder_ / "copy/sub/file"), "text");
    EXPECT_TRUE(KXFileManager::isSymbolicLinkAtPath(folder_ / "copy/link"));
    EXPECT_EQ(test::readFile(folder_ / "tree/sub/file"), "text");
}

TEST_F(Copying, UnlocksTheReceivingFolderAndLeavesItUnlocked) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    const std::string to = folder_.makeFolder("to");
    EXPECT_TRUE(KXFileManager::copyFile(file, to + "/file"));
    EXPECT_THAT(changes(),
                ElementsAre(ElementsAre("unlock", to), ElementsAre("copy", file, to + "/file")));
}

TEST_F(Copying, ThroughALinkUnlocksTheFolderThatTheLinkLeadsTo) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    folder_.makeFolder("to");
    const std::string link = folder_.makeLink("link", "to");
    EXPECT_TRUE(KXFileManager::copyFile(file, link + "/file"));
    EXPECT_THAT(changes(), ElementsAre(ElementsAre("unlock", link + "/."),
                                       ElementsAre("copy", file, link + "/file")));
}

// Only a folder can receive a copy, so both copies fail.
TEST_F(Copying, ThroughALinkThatIsNotToAFolderUnlocksTheLinkOnly) {
    noteChanges();
    const std::string file = folder_.writeFile("file");
    const std::string link = folder_.makeLink("link", "file");
    const std::string dangling = folder_.makeLink("dangling", "gone");
    EXPECT_FALSE(KXFileManager::copyFile(file, link + "/copy", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::copyFile(file, dangling + "/copy", ShouldAuth::No));
    EXPECT_THAT(changes(),
                ElementsAre(ElementsAre("unlock", link), _, ElementsAre("unlock", dangling), _));
}

// With the system's own locked flag.
using RootCopying = test::FilesTest;

TEST_F(RootCopying, IntoALockedFolderSucceedsAndLeavesItUnlocked) {
    const std::string file = folder_.writeFile("file", "text");
    const std::string to = folder_.makeFolder("to");
    const test::LockedItem locked(to);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    ASSERT_TRUE(locked.outcome());
    ASSERT_TRUE(KXFileManager::isFileLocked(to));
    ASSERT_FALSE(manager_.copyItem(file, to + "/refused"));
    EXPECT_TRUE(KXFileManager::copyFile(file, to + "/copy", ShouldAuth::No));
    EXPECT_EQ(test::readFile(to + "/copy"), "text");
    EXPECT_FALSE(KXFileManager::isFileLocked(to));
    EXPECT_TRUE(manager_.copyItem(file, to + "/other"));
}

TEST_F(RootCopying, IntoALockedFolderThroughALinkUnlocksTheFolder) {
    startLog();
    const std::string file = folder_.writeFile("file", "text");
    const std::string to = folder_.makeFolder("to");
    const std::string link = folder_.makeLink("link", "to");
    const test::LockedItem locked(to);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    ASSERT_TRUE(locked.outcome());
    EXPECT_TRUE(KXFileManager::copyFile(file, link + "/copy", ShouldAuth::No));
    EXPECT_EQ(test::readFile(to + "/copy"), "text");
    EXPECT_FALSE(KXFileManager::isFileLocked(to));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Copying, OntoAnExistingFileWithShouldAuthNoLeavesBothAndLogsAuthorizing) {
    startLog();
    authorized();
    const std::string one = folder_.writeFile("one", "1");
    const std::string two = folder_.writeFile("two", "2");
    EXPECT_FALSE(KXFileManager::copyFile(one, two, ShouldAuth::No));
    EXPECT_EQ(test::readFile(one), "1");
    EXPECT_EQ(test::readFile(two), "2");
    EXPECT_THAT(authorization_.calls, IsEmpty());
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_THAT(logged().front(),
                ::testing::MatchesRegex("Error copying file: .*\\. Authorizing\\.\\.\\."));
}

TEST_F(Copying, OntoAnExistingFileUsesAuthorization) {
    authorized();
    const std::string one = folder_.writeFile("one", "1");
    const std::string two = folder_.writeFile("two", "2");
    EXPECT_TRUE(KXFileManager::copyFile(one, two));
    EXPECT_THAT(authorization_.started(), ElementsAre("/bin/cp -f -p -R " + one + " " + two));
}

TEST_F(Copying, WithoutAPathIsLoggedAndPrinted) {
    class Printed : public test::ForwardingConsole {
      public:
        StringList lines;
        void putString(std::string_view text) override { lines.emplace_back(text); }
    };
    Printed console;
    platform_->console = &console;
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(std::nullopt, "/to"));
    EXPECT_FALSE(KXFileManager::copyFile("/from", std::nullopt));
    EXPECT_THAT(logged(), ElementsAre("Error copying file: source path is nil",
                                      "Error copying file /from: destination path is nil"));
    EXPECT_THAT(console.lines, ElementsAre("Error copying file: source path is nil",
                                           "Error copying file /from: destination path is nil"));
}

// The message is a format when it is printed, and once more when it is logged.
TEST_F(Copying, WithoutADestinationLogsThePathAsAFormat) {
    test::WholeConsole console;
    platform_->console = &console;
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile("/a%%b", std::nullopt));
    EXPECT_THAT(logged(), ElementsAre("Error copying file /a%b: destination path is nil"));
    EXPECT_THAT(console.lines, ElementsAre("Error copying file /a%%%%b: destination path is nil"));
}

TEST_F(Copying, WithoutEitherPathReportsOnlyTheSource) {
    startLog();
    EXPECT_FALSE(KXFileManager::copyFile(std::nullopt, std::nullopt));
    EXPECT_THAT(logged(), ElementsAre("Error copying file: source path is nil"));
}

TEST_F(Copying, WithATimeOutMeasuresFromTheEndOfTheCopy) {
    test::PassingTime time(platform_);
    class SlowManager : public test::FilesManager {
      public:
        test::PassingClock* clock = nullptr;
        Outcome copyItem(const std::string&, const std::string&) override {
            clock->pass(5s);
            return Outcome::success();
        }
    };
    SlowManager manager;
    manager.clock = &time.clock;
    platform_->fileManager = &manager;
    EXPECT_FALSE(KXFileManager::copyFile(folder_.writeFile("file"), folder_ / "never", 1s));
    EXPECT_EQ(time.newEvents(), 100U);
}

// Neither copy ends before both have begun.
TEST_F(Copying, OnSeveralThreadsRunsInParallel) {
    class Meeting : public test::FilesManager {
      public:
        std::atomic<int> inside{0};
        std::atomic<int> met{0};
        Outcome copyItem(const std::string& path, const std::string& destination) override {
            const auto end = std::chrono::steady_clock::now() + 60s;
            ++inside;
            while (inside < 8 && std::chrono::steady_clock::now() < end)
                std::this_thread::sleep_for(1ms);
            if (inside == 8) ++met;
            return platform::native().fileManager->copyItem(path, destination);
        }
    };
    Meeting manager;
    platform_->fileManager = &manager;
    const std::string file = folder_.writeFile("file", "text");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, to = folder_ / std::to_string(i)] {
            EXPECT_TRUE(KXFileManager::copyFile(file, to, ShouldAuth::No));
            EXPECT_EQ(test::readFile(to), "text");
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(manager.met, 8);
}

TEST_F(Copying, WithATimeOutOfZeroReturnsAtOnceWhetherTheCopyExists) {
    test::PassingTime time(platform_);
    const std::string file = folder_.writeFile("file");
    authorized();
    EXPECT_TRUE(KXFileManager::copyFile(file, folder_ / "copy", 0s));
    manager_.refuses = true;
    for (const bool onMainThread : {true, false}) {
        time.events.onMainThread = onMainThread;
        EXPECT_FALSE(KXFileManager::copyFile(file, folder_ / "other", 0s));
        EXPECT_FALSE(KXFileManager::copyFile(file, folder_ / "other", -1s));
    }
    EXPECT_EQ(authorization_.started().size(), 4U);
    EXPECT_TRUE(time.nothingWaited());
}

TEST_F(Copying, WithATimeOutThatFailsDoesNotWait) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    authorization_.executeStatus = -60031;
    EXPECT_FALSE(KXFileManager::copyFile(folder_.writeFile("file"), folder_ / "copy", 30s));
    EXPECT_TRUE(time.nothingWaited());
}

TEST_F(Copying, WithATimeOutWaitsUntilTheCopyExists) {
    test::PassingTime time(platform_);
    authorized();
    manager_.refuses = true;
    const std::string file = folder_.writeFile("file");
    time.duringEvent(3, [&] { folder_.writeFile("copy"); });
    EXPECT_TRUE(KXFileManager::copyFile(file, folder_ / "copy", 5s));
    EXPECT_EQ(time.newEvents(), 3U);
    // The wait is for the copy, not for the source to disappear.
    time.duringEvent(1, [&] { std::filesystem::remove(file); });
    EXPECT_FALSE(KXFileManager::copyFile(file, folder_ / "never", 1s));
    EXPECT_EQ(time.newEvents(), 100U);
}

TEST_F(Copying, OfContentsCopiesEachEntryAndLogsItsName) {
    startLog();
    folder_.writeFile("from/one", "1");
    folder_.writeFile("from/.hidden", "2");
    folder_.writeFile("from/sub/deep", "3");
    folder_.makeFolder("to");
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory(folder_ / "from", folder_ / "to", 10s));
    EXPECT_EQ(test::readFile(folder_ / "to/one"), "1");
    EXPECT_EQ(test::readFile(folder_ / "to/.hidden"), "2");
    EXPECT_EQ(test::readFile(folder_ / "to/sub/deep"), "3");
    EXPECT_THAT(logged(), UnorderedElementsAre("File: one", "File: .hidden", "File: sub"));
}

TEST_F(Copying, OfContentsEndsWithTheFirstFailure) {
    startLog();
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    manager_.refuses = true;
    folder_.writeFile("from/one");
    folder_.writeFile("from/two");
    folder_.makeFolder("to");
    EXPECT_FALSE(KXFileManager::copyContentsOfDirectory(folder_ / "from", folder_ / "to", 10s));
    EXPECT_EQ(logged().size(), 2U);  // one name and its error
}

TEST_F(Copying, OfContentsThatFailsKeepsWhatWasCopiedBefore) {
    startLog();
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    for (const char* name : {"a", "b", "c", "d"}) folder_.writeFile(std::string("from/") + name);
    const StringList names = manager_.contentsOfDirectory(folder_ / "from").value();
    folder_.writeFile("to/" + names.at(2), "in the way");
    EXPECT_FALSE(KXFileManager::copyContentsOfDirectory(folder_ / "from", folder_ / "to", 10s));
    EXPECT_TRUE(test::somethingAt(folder_ / "to/" + names.at(0)));
    EXPECT_TRUE(test::somethingAt(folder_ / "to/" + names.at(1)));
    EXPECT_EQ(test::readFile(folder_ / "to/" + names.at(2)), "in the way");
    EXPECT_FALSE(test::somethingAt(folder_ / "to/" + names.at(3)));
    EXPECT_EQ(logged().size(), 4U);  // three names and an error
}

TEST_F(Copying, OfContentsIntoAMissingFolderUsesAuthorization) {
    authorized();
    const std::string one = folder_.writeFile("from/one");
    EXPECT_FALSE(KXFileManager::copyContentsOfDirectory(folder_ / "from", folder_ / "gone", 0s));
    EXPECT_THAT(authorization_.started(),
                ElementsAre("/bin/cp -f -p -R " + one + " " + (folder_ / "gone/one")));
    EXPECT_FALSE(test::somethingAt(folder_ / "gone"));
}

TEST_F(Copying, OfAnEmptyFoldersContentsSucceedsAndLogsNothing) {
    startLog();
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory(folder_.makeFolder("empty"), "/to", 10s));
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory(folder_ / "gone", "/to", 10s));
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory(std::nullopt, "/to", 10s));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Copying, OfContentsLogsEachNameBeforeItsCopy) {
    class LogsSeen : public test::OrderedManager {
      public:
        std::function<StringList()> logged;
        std::vector<StringList> atCopy;
        Outcome copyItem(const std::string& path, const std::string& destination) override {
            atCopy.push_back(logged());
            return OrderedManager::copyItem(path, destination);
        }
    };
    LogsSeen manager;
    manager.logged = [this] { return logged(); };
    platform_->fileManager = &manager;
    folder_.writeFile("from/one");
    folder_.writeFile("from/two");
    folder_.makeFolder("to");
    manager.order[folder_ / "from"] = {"two", "one"};
    startLog();
    EXPECT_TRUE(KXFileManager::copyContentsOfDirectory(folder_ / "from", folder_ / "to", 10s));
    EXPECT_THAT(manager.atCopy,
                ElementsAre(ElementsAre("File: two"), ElementsAre("File: two", "File: one")));
}

TEST_F(Copying, OfContentsDoesNotWaitForTheLog) {
    folder_.writeFile("from/one", "1");
    folder_.makeFolder("to");
    test::SlowLog log(platform_);
    log.hold();
    auto copied = std::async(std::launch::async, [&] {
        return KXFileManager::copyContentsOfDirectory(folder_ / "from", folder_ / "to", 10s);
    });
    EXPECT_EQ(copied.wait_for(60s), std::future_status::ready);
    log.letGo();
    EXPECT_TRUE(copied.get());
    KXLog::finishWriting();
    EXPECT_THAT(log.text(), HasSubstr("File: one"));
}

}  // namespace
}  // namespace quillmoor
