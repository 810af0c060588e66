#include "quillmoor/platform/trash.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/contract/services/back_end.h"
#include "tests/platform/support/scoped_environment.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnvironment;
using test::somethingAt;

// In a home of the test's own.
class TrashContract : public testing::TestWithParam<BackEnd> {
  protected:
    Trash& trash() { return *GetParam().platform().trash; }

    std::string writeItem(const std::string& name, const std::string& text) const {
        return folder_.writeFile("home/desk/" + name, text);
    }
    bool recycle(const StringList& names) {
        return bool(trash().recycle(desk_, std::nullopt, names));
    }

    // How many files of the home hold this text, wherever its Trash is.
    int filesWith(const std::string& text) const {
        int count = 0;
        for (const auto& entry : fs::recursive_directory_iterator(home_))
            if (!entry.is_symlink() && entry.is_regular_file())
                count += test::readFile(entry.path()) == text ? 1 : 0;
        return count;
    }

    const test::TempFolder folder_;
    const std::string home_ = folder_.makeFolder("home");
    const std::string desk_ = folder_.makeFolder("home/desk");
    const std::string destination_ = home_ + "/.Trash";
    const ScopedEnvironment environment_{"HOME", home_};
    const ScopedEnvironment data_{"XDG_DATA_HOME", nullptr};
};

TEST_P(TrashContract, AnItemLeavesItsPlaceAndIsWholeInTheTrash) {
    writeItem("file", "of the file");
    writeItem("folder/inside", "of the folder");
    EXPECT_TRUE(recycle({"file", "folder"}));
    EXPECT_FALSE(somethingAt(desk_ + "/file"));
    EXPECT_FALSE(somethingAt(desk_ + "/folder"));
    EXPECT_EQ(filesWith("of the file"), 1);
    EXPECT_EQ(filesWith("of the folder"), 1);
}

TEST_P(TrashContract, AnItemWhoseNameIsTakenReplacesNothing) {
    for (const char* text : {"one", "two", "three"}) {
        writeItem("file", text);
        EXPECT_TRUE(recycle({"file"}));
    }
    for (const char* text : {"one", "two", "three"}) EXPECT_EQ(filesWith(text), 1) << text;
}

TEST_P(TrashContract, ALinkIsMovedItself) {
    const std::string target = folder_.writeFile("target", "stays");
    folder_.makeLink("home/desk/link", target);
    folder_.makeLink("home/desk/dangling", "nowhere");
    EXPECT_TRUE(recycle({"link", "dangling"}));
    EXPECT_FALSE(somethingAt(desk_ + "/link"));
    EXPECT_FALSE(somethingAt(desk_ + "/dangling"));
    EXPECT_EQ(test::readFile(target), "stays");
}

TEST_P(TrashContract, AMissingItemIsAFailureAndTheOthersAreMoved) {
    writeItem("a", "text a");
    writeItem("z", "text z");
    EXPECT_FALSE(recycle({"a", "missing", "z"}));
    EXPECT_FALSE(somethingAt(desk_ + "/a"));
    EXPECT_FALSE(somethingAt(desk_ + "/z"));
    EXPECT_EQ(filesWith("text a"), 1);
    EXPECT_EQ(filesWith("text z"), 1);
}

TEST_P(TrashContract, WhatIsNotANameIsRefused) {
    writeItem("folder/file", "stays");
    for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                    std::string("folder/file"), std::string("folder\0", 7)})
        EXPECT_FALSE(recycle({name})) << name;
    EXPECT_EQ(test::readFile(desk_ + "/folder/file"), "stays");
}

TEST_P(TrashContract, NoNamesAreASuccess) {
    EXPECT_TRUE(recycle({}));
}

// The results of recordPendingTrash are left to the back-ends: a system's Trash need not keep
// records.
TEST_P(TrashContract, APreparedTrashTakesWhatAToolMovesThere) {
    const std::string item = writeItem("file", "text");
    ASSERT_TRUE(trash().prepareTrash(destination_));
    ASSERT_TRUE(fs::is_directory(destination_));
    trash().recordPendingTrash(destination_, "file", item);
    EXPECT_EQ(test::readFile(item), "text");
    fs::rename(item, destination_ + "/file");
    EXPECT_EQ(test::readFile(destination_ + "/file"), "text");
    EXPECT_TRUE(trash().prepareTrash(destination_));
    EXPECT_EQ(test::readFile(destination_ + "/file"), "text");
}

TEST_P(TrashContract, DiscardingARecordLeavesEveryItem) {
    const std::string item = writeItem("file", "text");
    ASSERT_TRUE(trash().prepareTrash(destination_));
    trash().recordPendingTrash(destination_, "file", item);
    trash().discardTrashRecord(destination_, "file");
    EXPECT_EQ(test::readFile(item), "text");
    fs::rename(item, destination_ + "/file");
    trash().discardTrashRecord(destination_, "file");
    EXPECT_EQ(test::readFile(destination_ + "/file"), "text");
}

TEST_P(TrashContract, ATrashThatLeadsOutOfItsHomeCannotBeUsed) {
    const std::string outside = folder_.makeFolder("outside");
    folder_.makeLink("home/.Trash", outside);
    EXPECT_FALSE(trash().prepareTrash(destination_));
    EXPECT_FALSE(trash().recordPendingTrash(destination_, "file", desk_ + "/file"));
    EXPECT_TRUE(fs::is_empty(outside));
}

INSTANTIATE_TEST_SUITE_P(All, TrashContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
