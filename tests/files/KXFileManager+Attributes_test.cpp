#include <signal.h>
#include <sys/stat.h>

#include <thread>

#include "quillmoor/platform/exception.h"
#include "tests/children/child_tools.h"
#include "tests/files/deep_tree.h"
#include "tests/files/files_fixture.h"
#include "tests/files/slow_log.h"
#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/locked_item.h"
#include "tests/task/held_time.h"

namespace quillmoor {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// Stores the flags itself, because an ordinary user cannot set them.
class Flags : public test::ForwardingAttributes {
  public:
    StringList locked;
    StringList calls;
    StringList* journal = &calls;  // where the calls are recorded
    bool refuses = false;
    std::optional<platform::ItemAttributes> attributesOfItem(const std::string& path) override {
        auto attributes = ForwardingAttributes::attributesOfItem(path);
        if (attributes)
            attributes->isImmutable = std::find(locked.begin(), locked.end(), path) != locked.end();
        return attributes;
    }
    Outcome setImmutable(const std::string& path, bool immutable) override {
        if (refuses) return test::FilesManager::refusal();
        if (immutable)
            locked.push_back(path);
        else
            std::erase(locked, path);
        return Outcome::success();
    }
    Outcome setCreationDate(const std::string& path,
                            std::chrono::system_clock::time_point) override {
        journal->push_back("created " + path);
        return test::FilesManager::refusal();
    }
};

class ItemAttributes : public test::FilesTest {
  protected:
    ItemAttributes() { platform_->attributes = &flags_; }
    Flags flags_;
};

TEST_F(ItemAttributes, AreLockedAndUnlocked) {
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::isFileLocked(file));
    KXFileManager::lockFile(file);
    EXPECT_TRUE(KXFileManager::isFileLocked(file));
    KXFileManager::unlockFile(file);
    EXPECT_FALSE(KXFileManager::isFileLocked(file));
    EXPECT_FALSE(KXFileManager::isFileLocked(folder_ / "gone"));
    EXPECT_FALSE(KXFileManager::isFileLocked(std::nullopt));
}

TEST_F(ItemAttributes, ThatCannotBeLockedAreReportedWithTheUnlockMessage) {
    startLog();
    flags_.refuses = true;
    KXFileManager::lockFile("/a");
    KXFileManager::unlockFile("/b");
    EXPECT_THAT(logged(), ElementsAre("Unable to unlock file /a: no, 100%",
                                      "Unable to unlock file /b: no, 100%"));
}

TEST_F(ItemAttributes, OfAMissingItemCannotBeUnlocked) {
    platform_->attributes = platform::native().attributes;
    startLog();
    KXFileManager::unlockFile(folder_ / "gone");
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_TRUE(logged().front().ends_with("No such file or directory"));
    KXFileManager::unlockFile(folder_.writeFile("file"));
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(ItemAttributes, OfAFoldersFilesAreLockedAtEveryDepthButNotOfFolders) {
    const std::string one = folder_.writeFile("a/b.txt");
    const std::string two = folder_.writeFile("a/sub/c.txt");
    const std::string three = folder_.writeFile("a/Some.app/d");
    KXFileManager::lockFolder(folder_ / "a");
    EXPECT_THAT(flags_.locked, UnorderedElementsAre(one, two, three));
    KXFileManager::unlockFolder(folder_ / "a");
    EXPECT_THAT(flags_.locked, IsEmpty());
}

TEST_F(ItemAttributes, OfAFolderAreLockedThroughLinksWithoutLooping) {
    folder_.writeFile("elsewhere/file");
    folder_.makeLink("a/out", "../elsewhere");
    folder_.makeLink("a/loop", ".");
    folder_.makeLink("a/dangling", "nowhere");
    KXFileManager::lockFolder(folder_ / "a");
    EXPECT_THAT(flags_.locked,
                UnorderedElementsAre(folder_ / "a/out/file", folder_ / "a/dangling"));
}

TEST_F(ItemAttributes, OfAVeryDeepFoldersFilesAreLocked) {
    test::DeepTree tree({"file"});
    platform_->fileManager = &tree;
    test::onASmallStack([&] {
        KXFileManager::lockFolder(tree.kTop);
        EXPECT_THAT(flags_.locked, ElementsAre(tree.inTheEnd("file")));
        KXFileManager::unlockFolder(tree.kTop);
        EXPECT_THAT(flags_.locked, IsEmpty());
    });
}

TEST_F(ItemAttributes, OfAFolderAreAllTriedWhenTheFirstCannotBeLocked) {
    class FirstRefused : public Flags {
      public:
        StringList tried;
        Outcome setImmutable(const std::string& path, bool immutable) override {
            tried.push_back(path);
            if (tried.size() == 1) return test::FilesManager::refusal();
            return Flags::setImmutable(path, immutable);
        }
    };
    test::OrderedManager manager;
    platform_->fileManager = &manager;
    folder_.writeFile("a/one");
    folder_.writeFile("a/two");
    manager.order[folder_ / "a"] = {"two", "one"};
    startLog();
    FirstRefused flags;
    platform_->attributes = &flags;
    KXFileManager::lockFolder(folder_ / "a");
    EXPECT_THAT(flags.locked, ElementsAre(folder_ / "a/one"));
    EXPECT_THAT(flags.tried, ElementsAre(folder_ / "a/two", folder_ / "a/one"));
    EXPECT_THAT(logged(),
                ElementsAre("Unable to unlock file " + (folder_ / "a/two") + ": no, 100%"));
}

TEST_F(ItemAttributes, OfAnItemThatIsNotAFolderAreLeftUnchanged) {
    KXFileManager::lockFolder(folder_.writeFile("file"));
    KXFileManager::lockFolder(folder_ / "gone");
    KXFileManager::lockFolder(std::nullopt);
    EXPECT_THAT(flags_.locked, IsEmpty());
}

TEST_F(ItemAttributes, IncludePermissions) {
    const std::string file = folder_.writeFile("file");
    KXFileManager::setPosixPermissions(0640, file);
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(ItemAttributes, WhosePermissionsAreRefusedAreLogged) {
    startLog();
    KXFileManager::setPosixPermissions(0640, folder_ / "gone");
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_TRUE(logged().front().starts_with("Error setting permissions for file " +
                                             (folder_ / "gone") + ": "));
}

// Off the main thread a short line is written before the call returns.
TEST_F(ItemAttributes, WhosePermissionsAreRefusedAreLoggedBeforeTheReturn) {
    test::SlowLog log(platform_);
    std::thread([&] {
        KXFileManager::setPosixPermissions(0640, "/g");
        EXPECT_THAT(log.text(), ::testing::HasSubstr("Error setting permissions for file /g: "));
    }).join();
}

TEST_F(ItemAttributes, IncludeTheModificationDate) {
    startLog();
    const std::string file = folder_.writeFile("file");
    const auto date = std::chrono::system_clock::time_point(1000s);
    EXPECT_TRUE(KXFileManager::setModificationDate(date, file));
    EXPECT_EQ(platform::current().attributes->attributesOfItem(file)->modificationDate, date);
    EXPECT_FALSE(KXFileManager::setModificationDate(date, folder_ / "gone"));
    EXPECT_FALSE(KXFileManager::setModificationDate(date, std::nullopt));
    EXPECT_THAT(logged(), IsEmpty());
}

// With the system's own locked flag.
using RootLocking = test::FilesTest;

TEST_F(RootLocking, OfAFolderLocksTheFilesAtEveryDepthAndNotTheFolders) {
    const std::string one = folder_.writeFile("a/b.txt");
    const std::string two = folder_.writeFile("a/sub/c.txt");
    const test::LockedItem probe(folder_.writeFile("probe"));
    if (!probe.excuse().empty()) GTEST_SKIP() << probe.excuse();
    startLog();
    KXFileManager::lockFolder(folder_ / "a");
    EXPECT_TRUE(KXFileManager::isFileLocked(one) && KXFileManager::isFileLocked(two));
    EXPECT_FALSE(KXFileManager::isFileLocked(folder_ / "a"));
    EXPECT_FALSE(KXFileManager::isFileLocked(folder_ / "a/sub"));
    EXPECT_FALSE(manager_.removeItem(one));
    KXFileManager::unlockFolder(folder_ / "a");
    EXPECT_FALSE(KXFileManager::isFileLocked(one) || KXFileManager::isFileLocked(two));
    EXPECT_TRUE(manager_.removeItem(one));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RootLocking, DoesNotPreventTrashingRemovingOrReplacing) {
    for (const char* name : {"trashed", "removed", "there"}) folder_.writeFile(name, name);
    const test::LockedItem one(folder_ / "trashed");
    const test::LockedItem two(folder_ / "removed");
    const test::LockedItem three(folder_ / "there");
    if (!one.excuse().empty()) GTEST_SKIP() << one.excuse();
    EXPECT_TRUE(KXFileManager::trashFile(folder_ / "trashed", ShouldAuth::No));
    EXPECT_EQ(test::readFile(trash() + "/trashed"), "trashed");
    EXPECT_TRUE(KXFileManager::removeFile(folder_ / "removed", ShouldAuth::No));
    EXPECT_FALSE(test::somethingAt(folder_ / "removed"));
    // An existing item at a move's destination is unlocked and not replaced.
    const std::string file = folder_.writeFile("file");
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "there", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::isFileLocked(folder_ / "there"));
    EXPECT_EQ(test::readFile(folder_ / "there"), "there");
}

TEST_F(RootLocking, OfTheSourcePreventsAMoveAndNotACopy) {
    const std::string file = folder_.writeFile("file", "text");
    const test::LockedItem locked(file);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    startLog();
    EXPECT_FALSE(KXFileManager::moveFile(file, folder_ / "moved", ShouldAuth::No));
    EXPECT_THAT(logged(), ElementsAre(::testing::EndsWith("Operation not permitted.")));
    EXPECT_FALSE(test::somethingAt(folder_ / "moved"));
    EXPECT_TRUE(KXFileManager::copyFile(file, folder_ / "copy", ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::isFileLocked(folder_ / "copy"));
    EXPECT_TRUE(KXFileManager::isFileLocked(file));
}

TEST_F(RootLocking, OfAFileInATreePreventsAMoveToAnotherFileSystem) {
    const test::OtherFileSystem other(folder_);
    if (!other.available()) GTEST_SKIP() << "nothing can be mounted here";
    folder_.writeFile("tree/a", "1");
    const std::string file = folder_.writeFile("tree/sub/b", "2");
    const test::LockedItem locked(file);
    if (!locked.excuse().empty()) GTEST_SKIP() << locked.excuse();
    EXPECT_FALSE(KXFileManager::moveFile(folder_ / "tree", other / "tree", ShouldAuth::No));
    EXPECT_EQ(test::readFile(file), "2");
    // The item was moved.
    EXPECT_TRUE(test::somethingAt(folder_ / "tree/a") || test::readFile(other / "tree/a") == "1");
    EXPECT_TRUE(!test::somethingAt(other / "tree") || test::readFile(other / "tree/sub/b") == "2");
}

using UserLocking = test::FilesTest;

TEST_F(UserLocking, IsRefusedWithTheUnlockMessage) {
    if (test::isRoot()) GTEST_SKIP() << "root may lock";
    const std::string file = folder_.writeFile("file");
    startLog();
    KXFileManager::lockFile(file);
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_TRUE(logged().front().starts_with("Unable to unlock file " + file + ": "));
    EXPECT_FALSE(KXFileManager::isFileLocked(file));
    KXFileManager::unlockFile(file);
    EXPECT_EQ(logged().size(), 1U);
}

class Touching : public ItemAttributes {
  protected:
    class Desktop : public test::ForwardingApplications {
      public:
        StringList noted;
        void noteFileSystemChanged(const std::string& path) override { noted.push_back(path); }
    };
    Touching() {
        platform_->applications = &notes_;
        startLog();  // whose thread must not count as a time-out's
        time_.emplace(platform_);
    }
    Desktop notes_;
    std::optional<test::HeldTime> time_;  // the tool's time-out passes only when the test lets it
    std::string file_ = folder_.writeFile("file");
};

TEST_F(Touching, SetsTheDatesOfAWritableItem) {
    platform_->tasks = platform::native().tasks;
    KXFileManager::setModificationDate(std::chrono::system_clock::time_point(1000s), file_);
    EXPECT_TRUE(KXFileManager::touchFile(file_));
    EXPECT_GT(platform::current().attributes->attributesOfItem(file_)->modificationDate,
              std::chrono::system_clock::time_point(1'300'000'000s));
    EXPECT_THAT(notes_.noted, ElementsAre(file_));
    EXPECT_THAT(flags_.calls, IsEmpty());
}

TEST_F(Touching, ReturnsTrueWhateverTheToolDid) {
    EXPECT_TRUE(KXFileManager::touchFile(file_));  // the recorded tool fails
    EXPECT_THAT(tasks_.launched, ElementsAre("/usr/bin/touch -c " + file_, "waited"));
}

TEST_F(Touching, ReturnsTrueWhenTheToolTimesOutAfterFiveSeconds) {
    // Starts a tool that never ends instead of every other.
    class Hanging : public test::ForwardingTask {
      public:
        Hanging(std::shared_ptr<platform::Task> next, std::string file)
            : ForwardingTask(std::move(next)), file_(std::move(file)) {}
        void setLaunchPath(std::string) override {
            ForwardingTask::setLaunchPath(test::childPath("hang"));
        }
        void setArguments(StringList) override { ForwardingTask::setArguments({file_}); }

      private:
        std::string file_;
    };
    class HangingTasks : public test::ForwardingTasks {
      public:
        std::string file;
        std::shared_ptr<platform::Task> made;
        std::shared_ptr<platform::Task> makeTask() override {
            return made = std::make_shared<Hanging>(ForwardingTasks::makeTask(), file);
        }
    };
    HangingTasks tasks;
    tasks.file = folder_ / "pid";
    platform_->tasks = &tasks;
    (*time_)->release();
    EXPECT_TRUE(KXFileManager::touchFile(file_));
    EXPECT_THAT((*time_)->asked(1), ElementsAre(5));
    EXPECT_EQ(tasks.made->terminationStatus(), SIGTERM);
    EXPECT_THAT(console_.logged, ElementsAre("Task timed out. Terminating..."));
    EXPECT_THAT(logged(), ElementsAre(::testing::EndsWith("timed out. Terminating...")));
    EXPECT_THAT(notes_.noted, ElementsAre(file_));
}

TEST_F(Touching, SetsTheCreationDateAfterTheTool) {
    flags_.journal = &tasks_.launched;
    EXPECT_TRUE(KXFileManager::touchFile(file_, SetCreationDate::Yes));
    EXPECT_THAT(tasks_.launched,
                ElementsAre("/usr/bin/touch -c " + file_, "waited", "created " + file_));
}

TEST_F(Touching, WithAuthorizationSetsTheCreationDateBeforeTheTool) {
    authorized();
    flags_.journal = &authorization_.calls;
    const std::string gone = folder_ / "gone";
    EXPECT_TRUE(KXFileManager::touchFile(gone, SetCreationDate::Yes));
    ASSERT_EQ(authorization_.started().size(), 1U);
    EXPECT_EQ(authorization_.calls.front(), "created " + gone);
    EXPECT_TRUE(authorization_.calls.back().ends_with(" /usr/bin/touch -c " + gone));
}

TEST_F(Touching, NeedsAuthorizationForAnItemThatIsNotWritable) {
    authorized();
    const std::string gone = folder_ / "gone";
    EXPECT_TRUE(KXFileManager::touchFile(gone));
    EXPECT_THAT(authorization_.started(), ElementsAre("/usr/bin/touch -c " + gone));
    EXPECT_GT(authorization_.streams.at(0)->reads, 0);  // waited for
    EXPECT_THAT(flags_.calls, IsEmpty());
    EXPECT_THAT(notes_.noted, ElementsAre(gone));
    EXPECT_FALSE(test::somethingAt(gone));
}

TEST_F(Touching, WithAuthorizationReturnsFalseIfTheToolCannotBeStarted) {
    authorized();
    authorization_.executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_FALSE(KXFileManager::touchFile(folder_ / "gone"));
    EXPECT_EQ(authorization_.started().size(), 1U);
    for (const int status : {-1, -2, 5, 1}) {
        authorization_.executeStatus = status;
        EXPECT_FALSE(KXFileManager::touchFile(folder_ / "gone")) << status;
    }
}

TEST_F(Touching, WithoutAuthorizationReturnsFalse) {
    authorization_.rightsStatus = platform::kAuthorizationDenied;
    EXPECT_FALSE(KXFileManager::touchFile(folder_ / "gone"));
    EXPECT_THAT(notes_.noted, ElementsAre(folder_ / "gone"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Touching, ReportsTheChangeToTheDesktopAfterAnException) {
    class Raising : public test::FilesManager {
      public:
        bool isWritableFile(const std::string&) override {
            throw platform::Exception("Name", "reason");
        }
    };
    Raising manager;
    platform_->fileManager = &manager;
    EXPECT_THROW(KXFileManager::touchFile(file_), platform::Exception);
    EXPECT_THAT(notes_.noted, ElementsAre(file_));
}

TEST_F(Touching, WithoutAPathDoesNothing) {
    EXPECT_FALSE(KXFileManager::touchFile(std::nullopt));
    EXPECT_THAT(notes_.noted, IsEmpty());
}

}  // namespace
}  // namespace quillmoor
