// What every back-end owes to those who ask for an item's attributes, or change them.
#include "quillmoor/platform/attributes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/contract/services/back_end.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

const std::string kNoPaths[] = {"", std::string("\0", 1)};

unsigned modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
}

class AttributesContract : public testing::TestWithParam<BackEnd> {
  protected:
    Attributes& attributes() { return *GetParam().platform().attributes; }

    std::optional<system_clock::time_point> dateOf(const std::string& path) {
        const auto item = attributes().attributesOfItem(path);
        return item ? std::optional(item->modificationDate) : std::nullopt;
    }
    std::optional<std::uint64_t> sizeOf(const std::string& path) {
        const auto item = attributes().attributesOfItem(path);
        return item ? std::optional(item->size) : std::nullopt;
    }

    // The text that a call fails with.
    static std::string textOf(const Outcome& outcome) {
        return outcome ? "a success" : outcome.error().description;
    }
    static std::string missing(const std::string& name) {
        return "\u201c" + name + "\u201d couldn\u2019t be changed: No such file or directory";
    }

    test::TempFolder folder_;
};

TEST_P(AttributesContract, AFileHasASizeADateAndNoLock) {
    const auto before = system_clock::now() - 1s;
    const auto item = attributes().attributesOfItem(folder_.writeFile("-f\n\xff", "ten bytes!"));
    ASSERT_TRUE(item);
    EXPECT_EQ(item->size, 10U);
    EXPECT_GE(item->modificationDate, before);
    EXPECT_LE(item->modificationDate, system_clock::now() + 1s);
    EXPECT_FALSE(item->isImmutable);
}

TEST_P(AttributesContract, AFolderHasAttributes) {
    EXPECT_TRUE(attributes().attributesOfItem(folder_.path()));
    EXPECT_TRUE(attributes().attributesOfItem(folder_.path() + "/"));
    EXPECT_TRUE(attributes().attributesOfItem("/"));
}

TEST_P(AttributesContract, ReadsTheAttributesOfALinkItself) {
    folder_.writeFile("file", "a longer text than the name");
    EXPECT_EQ(sizeOf(folder_.makeLink("link", "file")), 4U);
    EXPECT_EQ(sizeOf(folder_.makeLink("dangling", "nowhere")), 7U);
}

TEST_P(AttributesContract, AreNilForAMissingItem) {
    EXPECT_FALSE(attributes().attributesOfItem(folder_ / "missing"));
    EXPECT_FALSE(attributes().attributesOfItem(folder_.writeFile("file") + "/"));
    EXPECT_FALSE(attributes().attributesOfItem(folder_ / "file/below"));
    EXPECT_FALSE(attributes().attributesOfItem(folder_.path() + std::string("/file\0", 6)));
    for (const std::string& path : kNoPaths) EXPECT_FALSE(attributes().attributesOfItem(path));
}

TEST_P(AttributesContract, PermissionsAreSetOnAFileAndAFolder) {
    const std::string file = folder_.writeFile("file");
    const std::string inside = folder_.makeFolder("folder");
    for (const unsigned mode : {0U, 0644U, 0755U, 0400U, 01755U, 0777U}) {
        EXPECT_TRUE(attributes().setPosixPermissions(file, mode));
        EXPECT_EQ(modeOf(file), mode);
        EXPECT_TRUE(attributes().setPosixPermissions(inside, mode));
        EXPECT_EQ(modeOf(inside), mode);
    }
}

TEST_P(AttributesContract, PermissionsHaveNoOtherBits) {
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(attributes().setPosixPermissions(file, 0xFFFF0000U | S_IFLNK | 0640U));
    EXPECT_EQ(modeOf(file), 0640U);
}

TEST_P(AttributesContract, PermissionsFollowLinks) {
    const std::string file = folder_.writeFile("file");
    EXPECT_TRUE(attributes().setPosixPermissions(folder_.makeLink("link", "file"), 0604));
    EXPECT_EQ(modeOf(file), 0604U);
    const std::string dangling = folder_.makeLink("dangling", "nowhere");
    EXPECT_EQ(textOf(attributes().setPosixPermissions(dangling, 0604)), missing("dangling"));
}

TEST_P(AttributesContract, PermissionsOfWhatIsMissingAreAnError) {
    EXPECT_EQ(textOf(attributes().setPosixPermissions(folder_ / "gone", 0644)), missing("gone"));
    for (const std::string& path : kNoPaths)
        EXPECT_FALSE(attributes().setPosixPermissions(path, 0644));
}

TEST_P(AttributesContract, AModificationDateIsReadBack) {
    const std::string file = folder_.writeFile("file");
    const system_clock::time_point epoch;
    for (const auto date : {epoch, epoch + 1s + 500ms, epoch - 1s, epoch - 1ns, epoch - 30 * 8760h,
                            epoch + 80 * 8760h, epoch + 1'700'000'000s + 123'456'789ns}) {
        EXPECT_TRUE(attributes().setModificationDate(file, date));
        EXPECT_EQ(dateOf(file), date) << date.time_since_epoch().count();
    }
}

TEST_P(AttributesContract, AModificationDateLeavesTheDateOfTheLastAccess) {
    const std::string file = folder_.writeFile("file");
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    EXPECT_TRUE(attributes().setModificationDate(file, system_clock::time_point(10s)));
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_EQ(after.st_mtime, 10);
    EXPECT_EQ(after.st_atime, before.st_atime);
}

TEST_P(AttributesContract, AModificationDateFollowsLinks) {
    const std::string file = folder_.writeFile("file");
    const system_clock::time_point date(1'000'000'000s);
    EXPECT_TRUE(attributes().setModificationDate(folder_.makeLink("link", "file"), date));
    EXPECT_EQ(dateOf(file), date);
    EXPECT_NE(dateOf(folder_ / "link"), date);
}

TEST_P(AttributesContract, ADateOfWhatIsMissingIsAnError) {
    const auto now = system_clock::now();
    EXPECT_EQ(textOf(attributes().setModificationDate(folder_ / "gone", now)), missing("gone"));
    EXPECT_EQ(textOf(attributes().setCreationDate(folder_ / "gone", now)), missing("gone"));
    for (const std::string& path : kNoPaths) {
        EXPECT_FALSE(attributes().setModificationDate(path, now));
        EXPECT_FALSE(attributes().setCreationDate(path, now));
    }
}

TEST_P(AttributesContract, UnlockingWhatIsNotLockedIsASuccess) {
    EXPECT_TRUE(attributes().setImmutable(folder_.writeFile("file"), false));
    EXPECT_TRUE(attributes().setImmutable(folder_.path(), false));
    EXPECT_TRUE(attributes().setImmutable(folder_.makeLink("link", "file"), false));
    EXPECT_TRUE(attributes().setImmutable(folder_.makeLink("dangling", "nowhere"), false));
}

TEST_P(AttributesContract, LockingAndUnlockingWhatIsMissingAreErrors) {
    for (const bool immutable : {true, false}) {
        EXPECT_EQ(textOf(attributes().setImmutable(folder_ / "gone", immutable)), missing("gone"));
        EXPECT_FALSE(attributes().setImmutable(folder_.writeFile("file") + "/", immutable));
        for (const std::string& path : kNoPaths)
            EXPECT_FALSE(attributes().setImmutable(path, immutable));
    }
}

INSTANTIATE_TEST_SUITE_P(All, AttributesContract, backEnds(), nameOf<BackEnd>);

}  // namespace
}  // namespace quillmoor::platform
