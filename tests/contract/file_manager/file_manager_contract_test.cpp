// What every back-end owes to those who work on files.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

#include "quillmoor/platform/platform.h"
#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::somethingAt;
using test::TempFolder;

class FileManagerContract : public testing::TestWithParam<BackEnd> {
  protected:
    FileManager& files() { return *GetParam().platform().fileManager; }

    // The error's text; "" for a success.
    static std::string textOf(const Outcome& outcome) {
        return outcome ? "" : outcome.error().description;
    }

    static StringList sorted(std::optional<StringList> names) {
        std::sort(names->begin(), names->end());
        return *names;
    }

    const TempFolder folder_;
    const std::string file_ = folder_.writeFile("file", "text");
    const std::string sub_ = folder_.makeFolder("sub");
    const std::string linkToFolder_ = folder_.makeLink("link to folder", "sub");
    const std::string linkToFile_ = folder_.makeLink("link to file", "file");
    const std::string dangling_ = folder_.makeLink("dangling", "nowhere");
};

INSTANTIATE_TEST_SUITE_P(All, FileManagerContract, backEnds(), nameOf<BackEnd>);

TEST_P(FileManagerContract, WhatExistsIsAskedThroughLinks) {
    EXPECT_TRUE(files().fileExists(file_));
    EXPECT_TRUE(files().fileExists(sub_));
    EXPECT_TRUE(files().fileExists(sub_ + "/"));
    EXPECT_TRUE(files().fileExists("/"));
    EXPECT_TRUE(files().fileExists(linkToFile_));
    EXPECT_TRUE(files().fileExists(linkToFolder_));
    EXPECT_FALSE(files().fileExists(dangling_));
    EXPECT_FALSE(files().fileExists(folder_ / "missing"));
    EXPECT_FALSE(files().fileExists(file_ + "/"));
    EXPECT_FALSE(files().fileExists(file_ + "/below"));
}

TEST_P(FileManagerContract, AFolderIsAskedForThroughLinks) {
    EXPECT_TRUE(files().isDirectory(sub_));
    EXPECT_TRUE(files().isDirectory(linkToFolder_));
    EXPECT_FALSE(files().isDirectory(file_));
    EXPECT_FALSE(files().isDirectory(linkToFile_));
    EXPECT_FALSE(files().isDirectory(dangling_));
    EXPECT_FALSE(files().isDirectory(folder_ / "missing"));
}

TEST_P(FileManagerContract, ReportsProgramsAndSearchableFoldersAsExecutable) {
    EXPECT_FALSE(files().isExecutableFile(file_));
    fs::permissions(file_, fs::perms::owner_exec, fs::perm_options::add);
    EXPECT_TRUE(files().isExecutableFile(file_));
    EXPECT_TRUE(files().isExecutableFile(linkToFile_));
    EXPECT_TRUE(files().isExecutableFile(sub_));
    EXPECT_FALSE(files().isExecutableFile(dangling_));
    EXPECT_FALSE(files().isExecutableFile(folder_ / "missing"));
    EXPECT_FALSE(files().isExecutableFile(file_ + "/"));
}

TEST_P(FileManagerContract, TreatsAnEmptyPathAsAMissingItem) {
    for (const std::string& path : {std::string(), std::string("\0", 1), file_ + '\0',
                                    folder_.path() + std::string("\0/file", 6)}) {
        EXPECT_FALSE(files().fileExists(path));
        EXPECT_FALSE(files().isDirectory(path));
        EXPECT_FALSE(files().isExecutableFile(path));
        EXPECT_FALSE(files().contentsOfDirectory(path));
        EXPECT_FALSE(files().createDirectoryWithIntermediates(path));
        EXPECT_FALSE(files().removeItem(path));
        EXPECT_FALSE(files().moveItem(path, folder_ / "new"));
        EXPECT_FALSE(files().copyItem(path, folder_ / "new"));
        EXPECT_FALSE(files().moveItem(file_, path));
        EXPECT_FALSE(files().copyItem(file_, path));
        EXPECT_FALSE(files().writeAtomically(path, "text"));
    }
    EXPECT_EQ(readFile(file_), "text");
    EXPECT_FALSE(somethingAt(folder_ / "new"));
}

TEST_P(FileManagerContract, AListingHoldsHiddenNamesAndAllBytes) {
    const StringList names{"-leading dash", ".hidden", "line\nbreak", "two  words", "\xff\xfe"};
    for (const std::string& name : names) folder_.writeFile("sub/" + name);
    EXPECT_EQ(sorted(files().contentsOfDirectory(sub_)), names);
    EXPECT_EQ(sorted(files().contentsOfDirectory(linkToFolder_)), names);
    EXPECT_EQ(sorted(files().contentsOfDirectory(sub_ + "/")), names);
}

TEST_P(FileManagerContract, ListsNothingForAnItemThatIsNotAFolder) {
    EXPECT_EQ(files().contentsOfDirectory(sub_)->size(), 0U);
    EXPECT_FALSE(files().contentsOfDirectory(file_));
    EXPECT_FALSE(files().contentsOfDirectory(folder_ / "missing"));
    EXPECT_FALSE(files().contentsOfDirectory(dangling_));
}

TEST_P(FileManagerContract, FoldersAreMadeWithThoseAboveThem) {
    EXPECT_EQ(textOf(files().createDirectoryWithIntermediates(sub_ + "/a/b")), "");
    EXPECT_TRUE(fs::is_directory(sub_ + "/a/b"));
    EXPECT_EQ(textOf(files().createDirectoryWithIntermediates(sub_ + "/a")), "");
    EXPECT_EQ(textOf(files().createDirectoryWithIntermediates(linkToFolder_)), "");
    EXPECT_EQ(textOf(files().createDirectoryWithIntermediates(file_)),
              "“file” couldn’t be created: File exists");
    EXPECT_EQ(textOf(files().createDirectoryWithIntermediates(file_ + "/x")),
              "“x” couldn’t be created: Not a directory");
}

TEST_P(FileManagerContract, AnItemIsRemovedWithAllItHolds) {
    folder_.writeFile("sub/a/b/file");
    folder_.makeLink("sub/a/link", file_);
    EXPECT_EQ(textOf(files().removeItem(sub_)), "");
    EXPECT_FALSE(somethingAt(sub_));
    EXPECT_EQ(readFile(file_), "text");
    EXPECT_EQ(textOf(files().removeItem(sub_)),
              "“sub” couldn’t be removed: No such file or directory");
}

TEST_P(FileManagerContract, ALinkIsRemovedItself) {
    folder_.writeFile("sub/inside");
    EXPECT_EQ(textOf(files().removeItem(linkToFolder_)), "");
    EXPECT_EQ(textOf(files().removeItem(linkToFile_)), "");
    EXPECT_EQ(textOf(files().removeItem(dangling_)), "");
    EXPECT_FALSE(somethingAt(dangling_));
    EXPECT_TRUE(somethingAt(sub_ + "/inside"));
    EXPECT_TRUE(somethingAt(file_));
}

TEST_P(FileManagerContract, AMoveNeverReplaces) {
    EXPECT_EQ(textOf(files().moveItem(file_, sub_)), "“file” couldn’t be moved: File exists");
    EXPECT_EQ(textOf(files().moveItem(sub_, file_)), "“sub” couldn’t be moved: File exists");
    EXPECT_EQ(textOf(files().moveItem(file_, dangling_)), "“file” couldn’t be moved: File exists");
    EXPECT_EQ(textOf(files().moveItem(folder_ / "missing", folder_ / "new")),
              "“missing” couldn’t be moved: No such file or directory");
    EXPECT_EQ(textOf(files().moveItem(file_, file_)), "");
    EXPECT_EQ(textOf(files().moveItem(file_, folder_ / "new")), "");
    EXPECT_FALSE(somethingAt(file_));
    EXPECT_EQ(readFile(folder_ / "new"), "text");
}

TEST_P(FileManagerContract, MovesALinkItself) {
    EXPECT_EQ(textOf(files().moveItem(linkToFolder_, folder_ / "moved")), "");
    EXPECT_TRUE(fs::is_symlink(folder_ / "moved"));
    EXPECT_EQ(textOf(files().moveItem(dangling_, folder_ / "moved too")), "");
    EXPECT_EQ(fs::read_symlink(folder_ / "moved too"), "nowhere");
}

TEST_P(FileManagerContract, ACopyNeverReplaces) {
    EXPECT_EQ(textOf(files().copyItem(file_, sub_)), "“file” couldn’t be copied: File exists");
    EXPECT_EQ(textOf(files().copyItem(file_, dangling_)), "“file” couldn’t be copied: File exists");
    EXPECT_EQ(textOf(files().copyItem(file_, file_)), "“file” couldn’t be copied: File exists");
    EXPECT_EQ(textOf(files().copyItem(folder_ / "missing", folder_ / "new")),
              "“missing” couldn’t be copied: No such file or directory");
    EXPECT_EQ(fs::read_symlink(dangling_), "nowhere");
}

TEST_P(FileManagerContract, ACopyHasTheContentsLinksModesAndDates) {
    folder_.writeFile("sub/deeper/file", "deep");
    folder_.makeLink("sub/link", "../file");
    fs::permissions(sub_ + "/deeper", fs::perms::owner_all | fs::perms::group_read);
    fs::permissions(sub_ + "/deeper/file", fs::perms::owner_read);
    const auto date = fs::last_write_time(file_) - std::chrono::hours(1000);
    fs::last_write_time(sub_ + "/deeper/file", date);
    fs::last_write_time(sub_ + "/deeper", date);
    const std::string copy = folder_ / "copy";
    ASSERT_EQ(textOf(files().copyItem(sub_, copy)), "");
    EXPECT_EQ(readFile(copy + "/deeper/file"), "deep");
    EXPECT_EQ(fs::read_symlink(copy + "/link"), "../file");
    for (const char* name : {"/deeper", "/deeper/file"}) {
        EXPECT_EQ(fs::status(copy + name).permissions(), fs::status(sub_ + name).permissions());
        EXPECT_EQ(fs::last_write_time(copy + name), date);
    }
    EXPECT_EQ(readFile(sub_ + "/deeper/file"), "deep");
}

TEST_P(FileManagerContract, RefusesToMoveOrCopyAFolderIntoItself) {
    folder_.makeFolder("sub/deeper");
    EXPECT_FALSE(files().copyItem(sub_, sub_ + "/deeper/copy"));
    EXPECT_FALSE(files().moveItem(sub_, sub_ + "/deeper/moved"));
    EXPECT_EQ(files().contentsOfDirectory(sub_ + "/deeper")->size(), 0U);
}

TEST_P(FileManagerContract, AFailedCopyLeavesNothing) {
    const auto before = sorted(files().contentsOfDirectory(folder_.path()));
    EXPECT_FALSE(files().copyItem(file_, folder_ / "missing/copy"));
    EXPECT_FALSE(files().copyItem(sub_, sub_ + "/copy"));
    EXPECT_EQ(sorted(files().contentsOfDirectory(folder_.path())), before);
    EXPECT_EQ(files().contentsOfDirectory(sub_)->size(), 0U);
}

TEST_P(FileManagerContract, AFileIsWrittenWholeOrNotAtAll) {
    const std::string bytes("a\0b\xff\n", 5);
    EXPECT_EQ(textOf(files().writeAtomically(file_, bytes)), "");
    EXPECT_EQ(readFile(file_), bytes);
    EXPECT_EQ(textOf(files().writeAtomically(folder_ / "new", "")), "");
    EXPECT_TRUE(fs::is_empty(folder_ / "new"));
    EXPECT_EQ(textOf(files().writeAtomically(linkToFile_, "instead of the link")), "");
    EXPECT_EQ(readFile(file_), bytes);
    EXPECT_FALSE(fs::is_symlink(linkToFile_));
    EXPECT_EQ(textOf(files().writeAtomically(sub_, "text")),
              "“sub” couldn’t be written: Is a directory");
    EXPECT_EQ(textOf(files().writeAtomically(folder_ / "missing/file", "text")),
              "“file” couldn’t be written: No such file or directory");
}

}  // namespace
}  // namespace quillmoor::platform
