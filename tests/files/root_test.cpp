// What root cannot do is repeated with the tools as well, without a request for rights.
#include <gmock/gmock.h>

#include "quillmoor/platform/exception.h"
#include "tests/files/files_fixture.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Tasks that cannot be launched.
class NoTasks : public test::ForwardingTasks {
  public:
    std::shared_ptr<platform::Task> makeTask() override {
        class Refused : public test::RecordingTask {
          public:
            using RecordingTask::RecordingTask;
            void launch() override { throw platform::Exception("Name", "no means"); }
        };
        return std::make_shared<Refused>(launched_);
    }

  private:
    StringList launched_;
};

class RootsFiles : public test::FilesTest {
  protected:
    RootsFiles() {
        becomeRoot();
        manager_.refuses = desktop_.refusesToRecycle = true;
        startLog();
    }

    std::string file_ = folder_.writeFile("file", "text");
    std::string new_ = folder_ / "new";
};

TEST_F(RootsFiles, FallBackToTheToolsThemselves) {
    EXPECT_TRUE(KXFileManager::copyFile(file_, new_));
    EXPECT_TRUE(KXFileManager::moveFile(file_, new_));
    EXPECT_TRUE(KXFileManager::createDirectory(new_));
    EXPECT_TRUE(KXFileManager::trashFile(file_));
    EXPECT_TRUE(KXFileManager::removeFile(file_));
    EXPECT_THAT(
        tasks_.launched,
        ElementsAre("/bin/cp -f -p -R " + file_ + " " + new_, "/bin/mv -f " + file_ + " " + new_,
                    "/bin/mkdir -p " + new_, "/bin/mv -f " + file_ + " " + trash() + "/file",
                    "/bin/rm -Rdf " + file_));
    EXPECT_THAT(authorization_.started(), IsEmpty());
}

TEST_F(RootsFiles, WithShouldAuthNoAreLeftUnchanged) {
    EXPECT_FALSE(KXFileManager::copyFile(file_, new_, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::moveFile(file_, new_, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::createDirectory(new_, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::trashFile(file_, ShouldAuth::No));
    EXPECT_FALSE(KXFileManager::removeFile(file_, ShouldAuth::No));
    EXPECT_THAT(tasks_.launched, IsEmpty());
}

TEST_F(RootsFiles, WhoseToolCannotBeStartedReturnFalseAndAreReported) {
    NoTasks tasks;
    platform_->tasks = &tasks;
    ::testing::internal::CaptureStdout();
    EXPECT_FALSE(KXFileManager::copyFile(file_, new_));
    EXPECT_FALSE(KXFileManager::moveFile(file_, new_));
    EXPECT_FALSE(KXFileManager::createDirectory(new_));
    EXPECT_FALSE(KXFileManager::trashFile(file_));
    EXPECT_FALSE(KXFileManager::removeFile(file_));
    const StringList lines = logged();
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_THAT(lines, ElementsAre(HasSubstr("Authorizing..."),
                                   "Exception in +[KXFileManager copyFile:toPath:shouldAuth:]. "
                                   "Name - no means.",
                                   HasSubstr("Error moving file"), "Authorizing...",
                                   "Exception in +[KXFileManager moveFile:toPath:shouldAuth:]. "
                                   "Name - no means.",
                                   HasSubstr("Authorizing..."),
                                   "Exception in +[KXFileManager createDirectory:shouldAuth:]. "
                                   "Name - no means.",
                                   "Exception in +[KXFileManager trashFile:shouldAuth:]. "
                                   "Name - no means.",
                                   HasSubstr("Authorizing..."),
                                   "Exception in +[KXFileManager removeFile:shouldAuth:]. "
                                   "Name - no means."));
    EXPECT_THAT(printed, HasSubstr("Exception in +[KXFileManager removeFile:shouldAuth:]."));
    EXPECT_EQ(test::readFile(file_), "text");
}

// The record of an item that was not moved is removed.
TEST_F(RootsFiles, WhoseToolCannotBeStartedLeaveNoRecordInTheTrash) {
    NoTasks tasks;
    platform_->tasks = &tasks;
    EXPECT_FALSE(KXFileManager::trashFile(file_));
    EXPECT_THAT(desktop_.steps,
                ElementsAre("prepare " + trash(), "announce " + trash() + " file " + file_,
                            "abandon " + trash() + " file"));
}

TEST_F(RootsFiles, WithANameThatCannotBeAnArgumentReturnFalse) {
    platform_->tasks = platform::native().tasks;
    const std::string bad("/tmp/a\0b", 8);
    EXPECT_FALSE(KXFileManager::copyFile(file_, bad));
    EXPECT_FALSE(KXFileManager::moveFile(file_, bad));
    EXPECT_FALSE(KXFileManager::createDirectory(bad));
    EXPECT_EQ(test::readFile(file_), "text");
}

TEST_F(RootsFiles, ThatAreMissingAreTouchedByTheToolItself) {
    EXPECT_TRUE(KXFileManager::touchFile(new_));
    EXPECT_THAT(tasks_.launched, ElementsAre("/usr/bin/touch -c " + new_, "waited"));
    EXPECT_THAT(authorization_.started(), IsEmpty());
}

}  // namespace
}  // namespace quillmoor
