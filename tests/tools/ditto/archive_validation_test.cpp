#include "tools/ditto/archive_validation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillmoor::ditto {
namespace {

using Kind = Entry::Kind;

// Entries that follow one another in an archive.
class Archive {
  public:
    Entry& add(std::string_view name, Kind kind = Kind::File, std::string_view target = {}) {
        Entry entry;
        entry.name = name;
        entry.kind = kind;
        entry.linkTarget = target;
        entry.size = kind == Kind::Folder ? 0 : kind == Kind::Link ? target.size() : 10;
        entry.compressedSize = entry.size;
        entry.headerOffset = next_;
        entry.dataOffset = next_ + 100;
        next_ = entry.dataOffset + entry.size;
        return entries_.emplace_back(entry);
    }

    // The reason, or "" for an archive that may be unpacked.
    std::string reason(FoldCase foldCase = FoldCase::No) const {
        if (auto refusal = validateEntries(entries_, limits_)) return refusal->reason;
        const EntryTree tree(entries_, foldCase);
        if (auto refusal = validateTree(tree, limits_)) return refusal->reason;
        return {};
    }

    std::vector<Entry> entries_;
    Limits limits_{1000};

  private:
    std::uint64_t next_ = 0;
};

class DittoValidation : public ::testing::Test, protected Archive {
  protected:
    static std::string reasonForName(std::string_view name, Kind kind = Kind::File) {
        Archive archive;
        archive.add(name, kind);
        return archive.reason();
    }
};

TEST_F(DittoValidation, AnOrdinaryTreeIsAccepted) {
    add("X.app/", Kind::Folder);
    add("X.app/Contents/Info.plist");
    add("X.app/Contents/F.framework/Versions/A/F");
    add("X.app/Contents/F.framework/Versions/Current", Kind::Link, "A");
    add("X.app/Contents/F.framework/F", Kind::Link, "Versions/Current/F");
    add("X.app/Contents/F.framework/up", Kind::Link, "../../Contents/Info.plist");
    add(".hidden");
    add("..twodots");
    add("-rf");
    EXPECT_EQ(reason(), "");
}

TEST_F(DittoValidation, NamesThatLeadOutAreRefused) {
    for (const char* name : {"/etc/passwd", "//x", "/"})
        EXPECT_EQ(reasonForName(name), "its name is absolute") << name;
    for (const char* name : {"..", "../x", "a/../b", "a/..", "a/./../b", "./.."})
        EXPECT_EQ(reasonForName(name), "its name holds “..”") << name;
}

TEST_F(DittoValidation, ABackslashIsAnOrdinaryCharacter) {
    EXPECT_EQ(reasonForName("..\\x"), "");
    EXPECT_EQ(reasonForName("C:\\Windows"), "");
}

TEST_F(DittoValidation, UnusableNamesAreRefused) {
    EXPECT_EQ(reasonForName(""), "it has no name");
    EXPECT_EQ(reasonForName("."), "it has no name");
    EXPECT_EQ(reasonForName("./"), "it has no name");
    EXPECT_EQ(reasonForName(std::string_view("a\0b", 3)), "its name holds a NUL");
    EXPECT_EQ(reasonForName(std::string(256, 'x')), "a part of its name is too long");
    EXPECT_EQ(reasonForName(std::string(255, 'x')), "");
    std::string deep;
    while (deep.size() < kLongestName) deep += "d/";
    EXPECT_EQ(reasonForName(deep), "its name is too long");
    deep.pop_back();
    EXPECT_EQ(reasonForName(deep), "");
}

TEST_F(DittoValidation, UnusableLinksAreRefused) {
    Entry& link = add("l", Kind::Link, "a");
    limits_.size = 1U << 20U;
    link.size = link.compressedSize = kLongestName;
    EXPECT_EQ(reason(), "");
    link.size = link.compressedSize = kLongestName + 1;
    EXPECT_EQ(reason(), "it is a link with too long a target");
    link.size = link.compressedSize = 0;
    EXPECT_EQ(reason(), "it is a link without a target");
    link.size = link.compressedSize = 3;
    link.linkTarget = std::string_view("a\0b", 3);
    EXPECT_EQ(reason(), "it is a link whose target holds a NUL");
    link.name = "l/";
    EXPECT_EQ(reason(), "it is a folder by its name and a link by its mode");
}

TEST_F(DittoValidation, TheRootItselfMayBeAnEntry) {
    EXPECT_EQ(reasonForName("./", Kind::Folder), "");
    EXPECT_EQ(reasonForName(".", Kind::Folder), "");
}

TEST_F(DittoValidation, UnsupportedEntriesAreRefused) {
    EXPECT_EQ(reasonForName("fifo", Kind::Special), "it is neither a file nor a folder nor a link");
    add("a").flags = 1;
    EXPECT_EQ(reason(), "it is encrypted");
    entries_[0].flags = 1U << 6U;
    EXPECT_EQ(reason(), "it is encrypted");
    entries_[0].flags = 1U << 13U;
    EXPECT_EQ(reason(), "it is encrypted");
    entries_[0].flags = 1U << 5U;
    EXPECT_EQ(reason(), "it is a patch");
    entries_[0].flags = 0;
    for (const std::uint16_t method : std::initializer_list<std::uint16_t>{1, 6, 9, 12, 93, 99}) {
        entries_[0].method = method;
        EXPECT_EQ(reason(), "its compression method is unknown") << method;
    }
}

TEST_F(DittoValidation, ImpossibleSizesAreRefused) {
    Entry& entry = add("a");
    entry.size = 11;
    EXPECT_EQ(reason(), "its two sizes contradict each other");
    entry.method = 8;
    EXPECT_EQ(reason(), "");
    entry.compressedSize = 0;
    entry.size = 1032;
    limits_.size = 1U << 20U;
    EXPECT_EQ(reason(), "it declares more than its data can hold");
    entry.compressedSize = 1;
    EXPECT_EQ(reason(), "");
}

TEST_F(DittoValidation, AFolderWithContentIsRefused) {
    Entry& entry = add("a/", Kind::Folder);
    entry.size = entry.compressedSize = 1;
    EXPECT_EQ(reason(), "it is a folder with content");
}

TEST_F(DittoValidation, TheSumOfSizesIsLimited) {
    limits_.size = 25;
    add("a");
    add("b");
    EXPECT_EQ(reason(), "");
    add("c");
    EXPECT_EQ(reason(), "more than 25 bytes when unpacked (--max-size allows more)");
    entries_[2].size = entries_[2].compressedSize = ~0ULL;  // must not wrap around
    EXPECT_NE(reason(), "");
}

TEST_F(DittoValidation, TheNumberOfItemsIsLimited) {
    limits_.count = 4;
    add("a/b/c/d");
    EXPECT_EQ(reason(), "");
    add("a/b/c/e");
    EXPECT_EQ(reason(), "too many items");
}

TEST_F(DittoValidation, ContradictingHeadersAreRefused) {
    add("a").localHeaderDiffers = true;
    EXPECT_EQ(reason(), "its two headers contradict each other");
}

TEST_F(DittoValidation, EntriesThatShareBytesAreRefused) {
    add("a");
    add("b").headerOffset -= 1;
    EXPECT_EQ(reason(), "it shares its bytes with another entry");
    entries_[1].archive = 1;  // of another archive: no overlap
    EXPECT_EQ(reason(), "");
    entries_[1].archive = 0;
    std::swap(entries_[0], entries_[1]);
    EXPECT_EQ(reason(), "it shares its bytes with another entry");
}

TEST_F(DittoValidation, ADuplicateNameIsRefused) {
    add("a/b");
    add("x");
    add("a//./b");
    EXPECT_EQ(reason(), "its name occurs twice");
}

TEST_F(DittoValidation, AFileAndAFolderOfOneNameAreRefused) {
    add("a");
    add("a/", Kind::Folder);
    EXPECT_EQ(reason(), "its name occurs twice, as two kinds of item");
}

TEST_F(DittoValidation, AFileInsideAFileIsRefused) {
    add("a/b/c");
    add("a!");
    add("a/b");
    EXPECT_EQ(reason(), "it is inside a file of the archive");
}

TEST_F(DittoValidation, FoldersOfTwoArchivesMayShareAName) {
    add("a/", Kind::Folder);
    add("a/", Kind::Folder).archive = 1;
    EXPECT_EQ(reason(), "");
    add("a/", Kind::Folder).archive = 1;
    EXPECT_EQ(reason(), "its name occurs twice");
}

TEST_F(DittoValidation, CaseCountsUnlessTheFileSystemFoldsIt) {
    add("Read");
    add("read");
    EXPECT_EQ(reason(), "");
    EXPECT_EQ(reason(FoldCase::Yes), "its name occurs twice");
}

TEST_F(DittoValidation, FoldedNamesCountForLinksToo) {
    add("Link", Kind::Link, "target");
    add("link/file");
    EXPECT_EQ(reason(), "");
    EXPECT_EQ(reason(FoldCase::Yes), "it would be written through a link of the archive");
}

TEST_F(DittoValidation, NothingIsWrittenThroughALink) {
    add("dir/link", Kind::Link, "elsewhere");
    add("dir/link/file");
    EXPECT_EQ(reason(), "it would be written through a link of the archive");
}

TEST_F(DittoValidation, AppleDoubleEntriesAreRecognisedByTheirPath) {
    EXPECT_TRUE(isAppleDouble("__MACOSX/._a"));
    EXPECT_TRUE(isAppleDouble("__MACOSX/b/._a"));
    EXPECT_FALSE(isAppleDouble("__MACOSX/a"));
    EXPECT_FALSE(isAppleDouble("x/__MACOSX/._a"));
    EXPECT_FALSE(isAppleDouble("._a"));
}

}  // namespace
}  // namespace quillmoor::ditto
