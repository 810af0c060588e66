#include "tools/ditto/destination.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/run_ditto.h"
#include "tools/ditto/failure.h"

namespace quillmoor::ditto {
namespace {

namespace fs = std::filesystem;
using test::somethingAt;

class DittoDestination : public ::testing::Test {
  protected:
    void write(int folder, const char* name) {
        const Descriptor file(
            ::openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        ASSERT_TRUE(file);
    }
    Descriptor open(const std::string& path) {
        return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }

    test::TempFolder folder_;
    std::string dest_ = folder_ / "dest";
};

TEST_F(DittoDestination, TheStageIsBesideItAndOnlyForItsOwner) {
    {
        const Destination destination(dest_, 022);
        ASSERT_EQ(test::describeTree(folder_.path()).size(), 1U);
        const fs::path stage = *fs::directory_iterator(folder_.path());
        EXPECT_TRUE(stage.filename().string().starts_with(".ditto."));
        EXPECT_EQ(fs::status(stage).permissions(), fs::perms::owner_all);
        EXPECT_FALSE(somethingAt(dest_));
        EXPECT_EQ(destination.foldCase(), FoldCase::No);
    }
    EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(DittoDestination, ANameThatAppearsMeanwhileIsNotReplaced) {
    {
        Destination destination(dest_, 022);
        write(destination.stage(), "a");
        folder_.makeFolder("dest");
        EXPECT_THROW(destination.commit({"a"}), Failure);
    }
    EXPECT_EQ(test::describeTree(folder_.path()).size(), 1U);
}

TEST_F(DittoDestination, AStageThatWasReplacedIsNotPutInPlace) {
    fs::path stage;
    {
        Destination destination(dest_, 022);
        write(destination.stage(), "a");
        stage = *fs::directory_iterator(folder_.path());
        fs::rename(stage, folder_ / "moved away");
        folder_.writeFile("of another/file", "kept");
        fs::rename(folder_ / "of another", stage);
        EXPECT_THROW(destination.commit({"a"}), Failure);
    }
    EXPECT_FALSE(somethingAt(dest_));
    EXPECT_EQ(test::readFile(stage / "file"), "kept");
    EXPECT_TRUE(fs::is_empty(folder_ / "moved away"));
}

TEST_F(DittoDestination, MovedItemsAreTakenBackIfALaterMoveFails) {
    folder_.makeFolder("dest");
    {
        Destination destination(dest_, 022);
        write(destination.stage(), "a");
        write(destination.stage(), "b");
        folder_.writeFile("dest/b", "of another");
        EXPECT_THROW(destination.commit({"a", "b"}), Failure);
    }
    EXPECT_EQ(test::describeTree(folder_.path()).size(), 2U);
    EXPECT_EQ(test::readFile(dest_ + "/b"), "of another");
}

TEST_F(DittoDestination, AVeryLongNameCanBeCreated) {
    const std::string name(255, 'n');
    Destination destination(folder_ / name, 022);
    destination.commit({});
    EXPECT_TRUE(fs::is_directory(folder_ / name));
}

TEST_F(DittoDestination, FoldersAreNotReachedThroughLinks) {
    folder_.makeFolder("root/a/b");
    folder_.makeFolder("outside");
    folder_.makeLink("root/link", "a");
    folder_.makeLink("root/a/out", folder_ / "outside");
    const Descriptor root = open(folder_ / "root");
    EXPECT_TRUE(openFolderBeneath(root.get(), "a/b"));
    EXPECT_TRUE(openFolderBeneath(root.get(), ""));
    for (const char* path : {"link", "link/b", "a/out", "..", "a/../..", "missing"})
        EXPECT_THROW(openFolderBeneath(root.get(), path), Failure) << path;
    FolderCache cache(root.get());
    EXPECT_GE(cache.open("a"), 0);
    EXPECT_GE(cache.open("a/b"), 0);
    EXPECT_THROW(cache.open("a/out"), Failure);
}

TEST_F(DittoDestination, AFolderIsEmptyWhenItHoldsNothingThatCanBeSeen) {
    const Descriptor empty = open(folder_.makeFolder("empty"));
    EXPECT_TRUE(isEmpty(empty.get()));
    folder_.writeFile("empty/.hidden");
    EXPECT_FALSE(isEmpty(empty.get()));
    EXPECT_THROW(isEmpty(-1), Failure);
}

}  // namespace
}  // namespace quillmoor::ditto
