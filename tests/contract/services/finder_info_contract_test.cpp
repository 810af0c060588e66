// What every back-end owes to those who keep references to items, and their Finder information.
#include "quillmoor/platform/finder_info.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

bool operator==(const FileReference& a, const FileReference& b) {
    return a.device == b.device && a.item == b.item && a.path == b.path;
}

class FinderInfoContract : public testing::TestWithParam<BackEnd> {
  protected:
    FinderInfo& finder() { return *GetParam().platform().finderInfo; }

    FileReference reference(const std::string& path) {
        FileReference made;
        EXPECT_TRUE(finder().makeReference(path, made)) << path;
        return made;
    }

    CatalogInfo infoOf(const std::string& path) {
        CatalogInfo info;
        EXPECT_EQ(finder().catalogInfo(reference(path), info), 0) << path;
        return info;
    }

    test::TempFolder folder_;
};

TEST_P(FinderInfoContract, AReferenceLeadsBackToItsPath) {
    for (const std::string& path : {folder_.writeFile("file"), folder_.makeFolder("fold er"),
                                    folder_.writeFile("-\n\xff"), folder_.makeLink("link", "file"),
                                    folder_.makeLink("dangling", "nowhere"), std::string("/")})
        EXPECT_EQ(finder().pathOfReference(reference(path)), path);
}

TEST_P(FinderInfoContract, DropsATrailingSlashFromAReference) {
    const std::string inside = folder_.makeFolder("inside");
    EXPECT_TRUE(reference(inside + "//") == reference(inside));
    FileReference none;
    EXPECT_FALSE(finder().makeReference(folder_.writeFile("file") + "/", none));
}

TEST_P(FinderInfoContract, AReferenceIsAValueThatIsTheSameEachTime) {
    const std::string path = folder_.writeFile("file");
    const FileReference first = reference(path);
    FileReference dirty;
    dirty.path.fill('x');
    EXPECT_TRUE(finder().makeReference(path, dirty));
    EXPECT_TRUE(first == dirty);
}

TEST_P(FinderInfoContract, AReferenceOutlivesAChangeOfTheWorkingFolder) {
    const auto before = std::filesystem::current_path();
    folder_.writeFile("inside/file");
    std::filesystem::current_path(folder_.path());
    const FileReference made = reference("inside/file");
    std::filesystem::current_path(before);
    EXPECT_EQ(finder().pathOfReference(made), folder_ / "inside/file");
}

TEST_P(FinderInfoContract, LeavesTheReferenceUnchangedForAMissingItem) {
    const FileReference before = reference(folder_.writeFile("file"));
    FileReference kept = before;
    for (const std::string& path : {folder_ / "missing", folder_ / "file/below", std::string(),
                                    folder_.path() + std::string("/file\0", 6)}) {
        EXPECT_FALSE(finder().makeReference(path, kept)) << path;
        EXPECT_TRUE(kept == before);
    }
}

TEST_P(FinderInfoContract, APathThatIsTooLongHasNoReference) {
    std::string path = folder_.writeFile("file");
    path.insert(path.size() - 4, 4095 - path.size(), '/');
    ASSERT_EQ(path.size(), 4095U);
    EXPECT_EQ(finder().pathOfReference(reference(path)), path);
    path.insert(path.size() - 4, "/");
    FileReference none;
    EXPECT_FALSE(finder().makeReference(path, none));
}

TEST_P(FinderInfoContract, HasNoPathForAReferenceToARemovedItem) {
    const std::string path = folder_.writeFile("file");
    const FileReference made = reference(path);
    std::filesystem::rename(path, folder_ / "elsewhere");
    CatalogInfo info;
    EXPECT_EQ(finder().pathOfReference(made), std::nullopt);
    EXPECT_NE(finder().catalogInfo(made, info), 0);
    EXPECT_NE(finder().setFinderInfo(made, info), 0);
}

TEST_P(FinderInfoContract, AnotherItemAtThePathIsNotTheOneMeant) {
    const std::string path = folder_.writeFile("file");
    const FileReference made = reference(path);
    std::filesystem::rename(path, folder_ / "elsewhere");
    folder_.writeFile("file");
    CatalogInfo info;
    EXPECT_EQ(finder().pathOfReference(made), std::nullopt);
    EXPECT_NE(finder().catalogInfo(made, info), 0);
    EXPECT_NE(finder().setFinderInfo(made, info), 0);
}

TEST_P(FinderInfoContract, AReferenceThatWasNeverMadeNamesNothing) {
    FileReference filled;
    filled.path.fill('/');
    CatalogInfo info;
    for (const FileReference& none : {FileReference{}, filled}) {
        EXPECT_EQ(finder().pathOfReference(none), std::nullopt);
        EXPECT_NE(finder().catalogInfo(none, info), 0);
        EXPECT_NE(finder().setFinderInfo(none, info), 0);
    }
}

TEST_P(FinderInfoContract, AnItemWithoutFinderInformationHasZeroes) {
    const CatalogInfo file = infoOf(folder_.writeFile("file"));
    EXPECT_EQ(file.finderInfo, CatalogInfo().finderInfo);
    EXPECT_EQ(file.nodeFlags & CatalogInfo::kNodeIsDirectory, 0);
    const CatalogInfo inside = infoOf(folder_.makeFolder("inside"));
    EXPECT_EQ(inside.finderFlags(), 0);
    EXPECT_EQ(inside.nodeFlags & CatalogInfo::kNodeIsDirectory, CatalogInfo::kNodeIsDirectory);
}

TEST_P(FinderInfoContract, FinderInformationIsReadBack) {
    for (const std::string& path : {folder_.writeFile("file", "text"), folder_.makeFolder("dir")}) {
        CatalogInfo info;
        // The second half is left to the back-ends: nothing here uses it.
        for (std::uint8_t i = 0; i < 16; ++i) info.finderInfo[i] = static_cast<std::uint8_t>(i + 1);
        info.setFinderFlags(0xA50C);
        ASSERT_EQ(finder().setFinderInfo(reference(path), info), 0);
        EXPECT_EQ(infoOf(path).finderInfo, info.finderInfo);
        EXPECT_EQ(infoOf(path).finderFlags(), 0xA50C);
        info.setFinderFlags(0);
        ASSERT_EQ(finder().setFinderInfo(reference(path), info), 0);
        EXPECT_EQ(infoOf(path).finderFlags(), 0);
        EXPECT_EQ(infoOf(path).finderInfo[0], 1);
    }
    EXPECT_EQ(test::readFile(folder_ / "file"), "text");
}

TEST_P(FinderInfoContract, AFailureLeavesTheInformationAskedForAlone) {
    const FileReference made = reference(folder_.writeFile("file"));
    std::remove((folder_ / "file").c_str());
    CatalogInfo info;
    info.setFinderFlags(6);
    EXPECT_NE(finder().catalogInfo(made, info), 0);
    EXPECT_EQ(info.finderFlags(), 6);
}

TEST_P(FinderInfoContract, AnUpdateEventChangesNothing) {
    const std::string path = folder_.makeFolder("inside");
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(path.c_str(), &before), 0);
    EXPECT_EQ(finder().sendUpdateEvent(reference(path)), 0);
    ASSERT_EQ(::stat(path.c_str(), &after), 0);
    EXPECT_EQ(before.st_ctim.tv_sec, after.st_ctim.tv_sec);
    EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
}

INSTANTIATE_TEST_SUITE_P(All, FinderInfoContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
