#include "quillmoor/platform/linux/desktop/entry_folder_linux.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/platform/support/file_fixtures.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform::linux_ {
namespace {

class EntryFolder : public testing::Test {
  protected:
    test::TempFolder folder_;
    test::ScopedEnvironment data_{"XDG_DATA_HOME", folder_ / "data"};
    std::string path_;
    posix::Descriptor opened_;
};

TEST_F(EntryFolder, IsInTheUsersDataFolderAndMadeWhereItIsMissing) {
    ASSERT_EQ(openOwnEntryFolder(path_, opened_), 0);
    EXPECT_EQ(path_, folder_ / "data/applications");
    EXPECT_TRUE(opened_);
    EXPECT_TRUE(std::filesystem::is_directory(path_));
    folder_.writeFile("data/applications/kept");
    ASSERT_EQ(openOwnEntryFolder(path_, opened_), 0);
    EXPECT_TRUE(test::somethingAt(folder_ / "data/applications/kept"));
}

TEST_F(EntryFolder, ThatCannotBeMadeIsAnError) {
    folder_.writeFile("data");
    EXPECT_EQ(openOwnEntryFolder(path_, opened_), ENOTDIR);
}

TEST_F(EntryFolder, GetsWholeEntries) {
    ASSERT_EQ(openOwnEntryFolder(path_, opened_), 0);
    EXPECT_EQ(writeEntry(opened_, "a.desktop", "first, and longer"), 0);
    EXPECT_EQ(writeEntry(opened_, "a.desktop", "second"), 0);
    EXPECT_EQ(test::readFile(path_ + "/a.desktop"), "second");
    EXPECT_EQ(test::listing(path_), "a.desktop") << "nothing else is left";
}

TEST_F(EntryFolder, AnEntryReplacesALinkAndNotItsTarget) {
    ASSERT_EQ(openOwnEntryFolder(path_, opened_), 0);
    const std::string target = folder_.writeFile("target", "kept");
    folder_.makeLink("data/applications/a.desktop", target);
    EXPECT_EQ(writeEntry(opened_, "a.desktop", "entry"), 0);
    EXPECT_EQ(test::readFile(target), "kept");
    EXPECT_FALSE(std::filesystem::is_symlink(path_ + "/a.desktop"));
}

TEST_F(EntryFolder, AnEntryThatCannotBeWrittenIsAnErrorAndLeavesNothing) {
    ASSERT_EQ(openOwnEntryFolder(path_, opened_), 0);
    std::filesystem::create_directory(path_ + "/a.desktop");
    EXPECT_NE(writeEntry(opened_, "a.desktop", "entry"), 0);
    EXPECT_EQ(test::listing(path_), "a.desktop");
    EXPECT_NE(writeEntry(posix::Descriptor(), "b.desktop", "entry"), 0);
}

}  // namespace
}  // namespace quillmoor::platform::linux_
