#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/log/KXLog.h"
#include "quillmoor/paths/KXLocalPaths.h"
#include "quillmoor/task/KXTaskEx.h"
#include "tests/files/files_fixture.h"
#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FakeTools : public test::ForwardingToolPaths {
  public:
    std::string tool = KX_DITTO;
    StringList asked;
    std::string toolPath(const std::string& path) override {
        asked.push_back(path);
        return tool;
    }
};

class FakeTrash : public test::ForwardingTrash {
  public:
    StringList recycled;  // source, destination, names …
    bool reallyRecycles = true;
    platform::RecycleOutcome recycle(const std::string& source, const OptionalPath& destination,
                                     const StringList& names) override {
        recycled = {source, destination.value_or("nil")};
        recycled.insert(recycled.end(), names.begin(), names.end());
        if (!reallyRecycles) return {};
        for (const std::string& name : names)
            std::filesystem::rename(source + "/" + name, source + "/recycled " + name);
        return {true, {}};
    }
    bool prepareTrash(const std::string&) override { return false; }
};

class DecompressFile : public ::testing::Test {
  protected:
    DecompressFile() {
        platform_->toolPaths = &tools_;
        platform_->trash = &trash_;
    }
    void TearDown() override { KXLog::finishWriting(); }

    // An archive of a small application, made with the same tool.
    std::string makeArchive() {
        folder_.writeFile("source/App.app/Contents/Info.plist", "<plist/>");
        folder_.makeLink("source/App.app/Current", "Contents");
        const std::string archive = folder_ / "an \"archive'\n.zip";
        KXTaskEx::runTask(KX_DITTO, StringList{"-ck", folder_ / "source", archive});
        return archive;
    }
    // Replaces the tool: records its arguments and fails.
    std::string failingTool() {
        const std::string tool =
            folder_.writeFile("tool", "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" +
                                          (folder_ / "arguments") + "'\nexit 1\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
        return tool;
    }

    FakeTools tools_;
    FakeTrash trash_;
    test::AuthUser user_;
    test::ScopedPlatform platform_;
    test::TempFolder folder_;
};

TEST_F(DecompressFile, UnpacksIntoANewFolder) {
    const std::string archive = makeArchive();
    EXPECT_TRUE(KXFileManager::decompressFile(archive, folder_ / "new"));
    EXPECT_EQ(test::readFile(folder_ / "new/App.app/Contents/Info.plist"), "<plist/>");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "new/App.app/Current"));
    EXPECT_THAT(tools_.asked, ElementsAre("/usr/bin/ditto"));
    EXPECT_THAT(trash_.recycled, IsEmpty());
}

TEST_F(DecompressFile, MovesAnExistingItemToTheTrashFirst) {
    const std::string archive = makeArchive();
    folder_.writeFile("there/old", "old");
    EXPECT_TRUE(KXFileManager::decompressFile(archive, folder_ / "there"));
    EXPECT_THAT(
        trash_.recycled,
        ElementsAre(folder_.path(), KXLocalPaths::trashDirectory().value_or("nil"), "there"));
    EXPECT_TRUE(test::somethingAt(folder_ / "there/App.app"));
    EXPECT_FALSE(test::somethingAt(folder_ / "there/old"));
    EXPECT_EQ(test::readFile(folder_ / "recycled there/old"), "old");
}

TEST_F(DecompressFile, ReturnsTrueWhenTheOldItemStaysAndTheToolFails) {
    tools_.tool = failingTool();
    trash_.reallyRecycles = false;
    folder_.writeFile("there/old", "old");
    EXPECT_TRUE(KXFileManager::decompressFile("no.zip", folder_ / "there"));
    EXPECT_EQ(test::readFile(folder_ / "there/old"), "old");
}

TEST_F(DecompressFile, WithoutAnArchiveRunsTheToolWithItsOptionsOnly) {
    tools_.tool = failingTool();
    EXPECT_FALSE(KXFileManager::decompressFile(std::nullopt, folder_ / "new"));
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-xk\n");
    EXPECT_FALSE(test::somethingAt(folder_ / "new"));
}

TEST_F(DecompressFile, WithoutAnArchiveTheRealToolCreatesNothing) {
    EXPECT_FALSE(KXFileManager::decompressFile(std::nullopt, folder_ / "new"));
    EXPECT_FALSE(test::somethingAt(folder_ / "new"));
}

TEST_F(DecompressFile, WithoutADestinationReturnsFalse) {
    tools_.tool = failingTool();
    EXPECT_FALSE(KXFileManager::decompressFile("a.zip", std::nullopt));
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-xk\na.zip\n");
}

TEST_F(DecompressFile, OfAMissingOrBrokenArchiveLeavesNothing) {
    EXPECT_FALSE(KXFileManager::decompressFile(folder_ / "missing.zip", folder_ / "new"));
    EXPECT_FALSE(
        KXFileManager::decompressFile(folder_.writeFile("broken.zip", "PK?"), folder_ / "new"));
    EXPECT_FALSE(test::somethingAt(folder_ / "new"));
}

TEST_F(DecompressFile, WithoutAToolReturnsFalse) {
    tools_.tool = folder_ / "no tool";
    EXPECT_FALSE(KXFileManager::decompressFile(makeArchive(), folder_ / "new"));
}

using CompressFile = DecompressFile;

TEST_F(CompressFile, PacksTheItemItselfByDefault) {
    tools_.tool = failingTool();
    KXFileManager::compressFile("/from", folder_ / "a.zip");
    EXPECT_EQ(test::readFile(folder_ / "arguments"),
              "-ck\n--keepParent\n/from\n" + (folder_ / "a.zip") + "\n");
    KXFileManager::compressFile("/from", folder_ / "a.zip", IncludeParent::No);
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-ck\n/from\n" + (folder_ / "a.zip") + "\n");
    EXPECT_THAT(tools_.asked, ElementsAre("/usr/bin/ditto", "/usr/bin/ditto"));
}

TEST_F(CompressFile, MakesAnArchiveThatUnpacksToTheSameItem) {
    folder_.writeFile("Some.app/Contents/Info.plist", "<plist/>");
    folder_.makeLink("Some.app/Current", "Contents");
    const std::string archive = folder_ / "an \"archive'\n.zip";
    EXPECT_TRUE(KXFileManager::compressFile(folder_ / "Some.app", archive));
    EXPECT_TRUE(KXFileManager::decompressFile(archive, folder_ / "out"));
    EXPECT_EQ(test::readFile(folder_ / "out/Some.app/Contents/Info.plist"), "<plist/>");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "out/Some.app/Current"));
}

TEST_F(CompressFile, MovesAnOldArchiveToTheTrashFirst) {
    folder_.writeFile("item");
    folder_.writeFile("a.zip", "old");
    EXPECT_TRUE(KXFileManager::compressFile(folder_ / "item", folder_ / "a.zip"));
    EXPECT_THAT(
        trash_.recycled,
        ElementsAre(folder_.path(), KXLocalPaths::trashDirectory().value_or("nil"), "a.zip"));
    EXPECT_EQ(test::readFile(folder_ / "recycled a.zip"), "old");
    EXPECT_NE(test::readFile(folder_ / "a.zip"), "old");
}

// Only packing asks for rights: the difference is kept for compatibility.
class OldItems : public test::FilesTest {
  protected:
    OldItems() {
        desktop_.refusesToRecycle = true;
        authorized();
    }
    std::string old_ = folder_.writeFile("old", "old");
};

TEST_F(OldItems, ThatMayNotBeTrashedUseAuthorizationWhenPacking) {
    KXFileManager::compressFile(folder_ / "item", old_);
    EXPECT_THAT(authorization_.started(),
                ElementsAre("/bin/mv -f " + old_ + " " + trash() + "/old"));
}

TEST_F(OldItems, ThatMayNotBeTrashedStayWhenUnpacking) {
    KXFileManager::decompressFile(folder_ / "archive.zip", old_);
    EXPECT_THAT(authorization_.calls, IsEmpty());
    EXPECT_EQ(test::readFile(old_), "old");
}

TEST_F(CompressFile, ReturnsTrueWhenTheOldArchiveStaysAndTheToolFails) {
    tools_.tool = failingTool();
    trash_.reallyRecycles = false;
    platform_->processInfo = &user_;
    folder_.writeFile("a.zip", "old");
    EXPECT_TRUE(KXFileManager::compressFile("/no/such/item", folder_ / "a.zip"));
    EXPECT_EQ(test::readFile(folder_ / "a.zip"), "old");
}

TEST_F(CompressFile, WithoutASourceRunsTheToolWithItsOptionsOnly) {
    tools_.tool = failingTool();
    EXPECT_FALSE(KXFileManager::compressFile(std::nullopt, folder_ / "a.zip"));
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-ck\n--keepParent\n");
}

TEST_F(CompressFile, WithoutASourceReturnsWhetherAnOldArchiveStillExists) {
    platform_->processInfo = &user_;
    tools_.tool = failingTool();
    trash_.reallyRecycles = false;
    const std::string archive = folder_.writeFile("a.zip", "old");
    EXPECT_TRUE(KXFileManager::compressFile(std::nullopt, archive));
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-ck\n--keepParent\n");
    EXPECT_EQ(test::readFile(archive), "old");
    EXPECT_TRUE(KXFileManager::compressFile(std::nullopt, archive, IncludeParent::No));
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-ck\n");
    trash_.reallyRecycles = true;
    EXPECT_FALSE(KXFileManager::compressFile(std::nullopt, archive));
    EXPECT_EQ(test::readFile(folder_ / "recycled a.zip"), "old");
}

TEST_F(CompressFile, WithoutASourceTheRealToolLeavesAnOldArchiveUnchanged) {
    platform_->processInfo = &user_;
    trash_.reallyRecycles = false;
    const std::string archive = folder_.writeFile("a.zip", "old");
    EXPECT_TRUE(KXFileManager::compressFile(std::nullopt, archive));
    EXPECT_EQ(test::readFile(archive), "old");
}

TEST_F(CompressFile, WithoutAnArchiveReturnsFalse) {
    tools_.tool = failingTool();
    EXPECT_FALSE(KXFileManager::compressFile("/from", std::nullopt, IncludeParent::No));
    EXPECT_EQ(test::readFile(folder_ / "arguments"), "-ck\n/from\n");
}

TEST_F(CompressFile, ReturnsAfterTheToolHasEnded) {
    const std::string tool =
        folder_.writeFile("slow tool", "#!/bin/sh\nsleep 0.3\n: > '" + (folder_ / "ended") + "'\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    tools_.tool = tool;
    KXFileManager::compressFile("/from", folder_ / "a.zip");
    EXPECT_TRUE(test::somethingAt(folder_ / "ended"));
    std::filesystem::remove(folder_ / "ended");
    KXFileManager::decompressFile("/a.zip", folder_ / "out");
    EXPECT_TRUE(test::somethingAt(folder_ / "ended"));
}

}  // namespace
}  // namespace quillmoor
