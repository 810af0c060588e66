#include "tools/ditto/archive_index.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>

#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/zip_builder.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

using test::buildZip;
using test::zipFile;
using test::zipFolder;
using test::ZipItem;
using test::zipLink;
using Kind = Entry::Kind;

class DittoIndex : public ::testing::Test {
  protected:
    const std::vector<Entry>& read(const std::string& archive, Limits limits = {1U << 20U}) {
        const InputFile file(folder_.writeFile("a.zip", archive));
        list_ = std::make_unique<EntryList>();
        readIndex(file, 3, limits, *list_);
        return list_->entries;
    }

    std::string errorOf(const std::string& archive, Limits limits = {1U << 20U}) {
        try {
            read(archive, limits);
        } catch (const Failure& failure) {
            return failure.what();
        }
        return {};
    }

    bool fails(const std::string& archive, const char* why) {
        const std::string error = errorOf(archive);
        EXPECT_NE(error.find(why), std::string::npos) << error;
        return !error.empty();
    }

    test::TempFolder folder_;
    std::unique_ptr<EntryList> list_;
};

TEST_F(DittoIndex, AnEntryHasTheValuesOfItsHeaders) {
    ZipItem item = zipFile("dir/é\n\xff", std::string(1000, 'x'));
    item.mode = 0100751;
    item.deflated = true;
    item.modified = 1234567890;
    const auto& entries = read(buildZip({zipFile("first"), item}));
    ASSERT_EQ(entries.size(), 2U);
    const Entry& entry = entries[1];
    EXPECT_EQ(entry.name, "dir/é\n\xff");
    EXPECT_EQ(entry.kind, Kind::File);
    EXPECT_EQ(entry.mode, 0751);
    EXPECT_EQ(entry.size, 1000U);
    EXPECT_EQ(entry.compressedSize, test::deflated(item.content).size());
    EXPECT_EQ(entry.method, zip::kDeflated);
    EXPECT_EQ(entry.modified, 1234567890);
    EXPECT_EQ(entry.archive, 3);
    EXPECT_EQ(entry.headerOffset, 30U + 5 + 7);
    EXPECT_EQ(entry.dataOffset, entry.headerOffset + 30 + item.name.size());
    EXPECT_FALSE(entry.localHeaderDiffers);
}

TEST_F(DittoIndex, KindsComeFromModeAndName) {
    ZipItem fifo = zipFile("fifo");
    fifo.mode = 0010644;
    ZipItem noFormat = zipFile("no format");
    noFormat.mode = 0640;
    ZipItem setuid = zipFile("setuid");
    setuid.mode = 0107755;
    ZipItem dosFolder = zipFolder("dos", 0);
    dosFolder.mode = 0;
    dosFolder.host = 0;
    dosFolder.attributes = 0x10;
    ZipItem dosSlash = dosFolder;
    dosSlash.name = "slash/";
    dosSlash.attributes = 0;
    ZipItem dosLink = zipLink("dos link", "x");
    dosLink.host = 0;
    const auto& entries =
        read(buildZip({zipFile("file"), zipFolder("folder"), zipLink("link", "file"), fifo,
                       noFormat, setuid, dosFolder, dosSlash, dosLink}));
    const Kind kinds[] = {Kind::File, Kind::Folder, Kind::Link,   Kind::File, Kind::File,
                          Kind::File, Kind::Folder, Kind::Folder, Kind::File};
    const int modes[] = {0644, 0755, 0777, 0644, 0640, 0755, -1, -1, -1};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].kind, kinds[i]) << entries[i].name;
        EXPECT_EQ(entries[i].mode, modes[i]) << entries[i].name;
    }
}

TEST_F(DittoIndex, LinkTargetsAreRead) {
    ZipItem deflatedLink = zipLink("b", std::string(300, 'y'));
    deflatedLink.deflated = true;
    const auto& entries = read(buildZip({zipLink("a", "../x"), deflatedLink}));
    EXPECT_EQ(entries[0].linkTarget, "../x");
    EXPECT_EQ(entries[1].linkTarget, std::string(300, 'y'));
}

TEST_F(DittoIndex, ATargetMayBeAsLongAsAPath) {
    const std::string longest(kLongestName, 'y');
    EXPECT_EQ(read(buildZip({zipLink("a", longest)}))[0].linkTarget, longest);
    EXPECT_EQ(read(buildZip({zipLink("a", longest + 'y')}))[0].linkTarget, "");
}

TEST_F(DittoIndex, AnOldDateIsLocalTime) {
    ::setenv("TZ", "UTC-2", 1);
    ::tzset();
    EXPECT_EQ(read(buildZip({zipFile("a")}))[0].modified, 1592215200);  // 2020-06-15 10:00 UTC
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(DittoIndex, DatesBefore1970AreKept) {
    ZipItem item = zipFile("a");
    item.modified = static_cast<std::uint32_t>(-86400);
    EXPECT_EQ(read(buildZip({item}))[0].modified, -86400);
}

TEST_F(DittoIndex, AnEmptyArchiveHasNoEntries) {
    EXPECT_TRUE(read(buildZip({})).empty());
    EXPECT_TRUE(read(buildZip({}, true)).empty());
}

TEST_F(DittoIndex, WideFieldsReplaceTheNarrowOnes) {
    ZipItem wide = zipFile("wide", "12345");
    wide.zip64 = true;
    const auto& entries = read(buildZip({zipFile("first"), wide}, true));
    EXPECT_EQ(entries[1].size, 5U);
    EXPECT_EQ(entries[1].compressedSize, 5U);
    EXPECT_GT(entries[1].headerOffset, 0U);
}

TEST_F(DittoIndex, MissingWideFieldsAreDamage) {
    ZipItem item = zipFile("a");
    item.size = zip::kMax32;
    EXPECT_TRUE(fails(buildZip({item}), "its size is missing"));
}

TEST_F(DittoIndex, AFileThatIsNotAZipArchiveIsReported) {
    EXPECT_TRUE(fails("", "is not a zip archive"));
    EXPECT_TRUE(fails("just a text", "is not a zip archive"));
    EXPECT_TRUE(fails(std::string(100000, 'x'), "is not a zip archive"));
    const std::string archive = buildZip({zipFile("a")});
    EXPECT_TRUE(fails(archive.substr(0, archive.size() - 1), "is not a zip archive"));
    EXPECT_TRUE(fails(archive + "x", "is not a zip archive"));
}

TEST_F(DittoIndex, BytesBeforeTheArchiveAreRefused) {
    EXPECT_TRUE(fails("prefix" + buildZip({zipFile("a")}), "central directory is not where"));
}

TEST_F(DittoIndex, ACommentAtTheEndIsSkipped) {
    std::string archive = buildZip({zipFile("a")});
    archive[archive.size() - 2] = 4;
    EXPECT_EQ(read(archive + "note").size(), 1U);
}

TEST_F(DittoIndex, AWrongNumberOfEntriesIsDamage) {
    std::string archive = buildZip({zipFile("a")});
    archive[archive.size() - 12] = archive[archive.size() - 14] = 2;
    EXPECT_TRUE(fails(archive, "its number of entries is not the declared one"));
}

TEST_F(DittoIndex, SeveralVolumesAreRefused) {
    std::string archive = buildZip({zipFile("a")});
    archive[archive.size() - 18] = 1;
    EXPECT_TRUE(fails(archive, "one of several volumes"));
    archive[archive.size() - 16] = 1;
    EXPECT_TRUE(fails(archive, "one of several volumes"));
}

// An archive of one entry with both end records, changed at some bytes before its end.
std::string wideWith(std::size_t beforeEnd, std::string_view bytes) {
    std::string archive = buildZip({zipFile("a")}, true);
    return archive.replace(archive.size() - beforeEnd, bytes.size(), bytes);
}

constexpr std::size_t kEnd = 22;
constexpr std::size_t kLocator = kEnd + 20;
constexpr std::size_t kEnd64 = kLocator + 56;

TEST_F(DittoIndex, SeveralVolumesAreRefusedInTheWideRecordsToo) {
    for (const std::size_t place :
         {kLocator - 4, kEnd64 - 16, kEnd64 - 20, kEnd64 - 24, kEnd64 - 32})
        EXPECT_TRUE(fails(wideWith(place, "\2"), "one of several volumes")) << place;
    EXPECT_TRUE(fails(wideWith(kLocator - 16, "\2"), "one of several volumes"));
    EXPECT_EQ(errorOf(wideWith(kLocator - 16, std::string_view("\0", 1))), "");
}

TEST_F(DittoIndex, WideRecordsThatLeadNowhereAreDamage) {
    EXPECT_TRUE(fails(wideWith(kEnd64, "x"), "end record cannot be found"));
    EXPECT_TRUE(fails(wideWith(kLocator - 8, "\1"), "end record cannot be found"));
    EXPECT_TRUE(fails(wideWith(kLocator - 15, "\1"), "end record cannot be found"));
    EXPECT_TRUE(fails(wideWith(kEnd64 - 40, "\1"), "central directory is not where"));
    EXPECT_TRUE(fails(wideWith(kEnd64 - 48, "\1"), "central directory is not where"));
    EXPECT_TRUE(fails(wideWith(kEnd64 - 48, "\xff"), "central directory is not where"));
}

TEST_F(DittoIndex, TwoEndRecordsMustAgree) {
    const std::string good = buildZip({zipFile("a")}, true);
    const std::string size = {good[good.size() - kEnd64 + 40], 0, 0, 0};
    const std::string offset = {good[good.size() - kEnd64 + 48], 0, 0, 0};
    using namespace std::string_literals;
    EXPECT_EQ(errorOf(wideWith(kEnd - 8, "\1\0\1\0"s + size + offset)), "");
    EXPECT_TRUE(fails(wideWith(kEnd - 8, "\2\0\2\0"s), "two end records disagree"));
    EXPECT_TRUE(fails(wideWith(kEnd - 12, "\1\0\0\0"s), "two end records disagree"));
    EXPECT_TRUE(fails(wideWith(kEnd - 16, "\1\0\0\0"s), "two end records disagree"));
}

TEST_F(DittoIndex, TheWideRecordMayHoldTheNumberOfTheVolume) {
    std::string archive = buildZip({zipFile("a")}, true);
    for (std::size_t i = 15; i <= 18; ++i) archive[archive.size() - i] = '\xff';
    EXPECT_EQ(read(archive).size(), 1U);
}

TEST_F(DittoIndex, ALocalHeaderWithAnotherNameIsNoticed) {
    ZipItem item = zipFile("harmless");
    item.localName = "../../x!";
    EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
    item.localName = "harmless but longer";
    EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
}

TEST_F(DittoIndex, DevicesAndSocketsAreSpecial) {
    ZipItem item = zipFile("a");
    for (const std::uint32_t mode : {0020666U, 0060666U, 0140666U}) {
        item.mode = mode;
        EXPECT_EQ(read(buildZip({item}))[0].kind, Kind::Special) << mode;
    }
}

TEST_F(DittoIndex, ALocalHeaderThatContradictsTheDirectoryIsNoticed) {
    ZipItem good = zipFile("a", std::string(1000, 'x'));
    good.deflated = true;
    const auto differs = [&](auto change) {
        ZipItem item = good;
        change(item);
        return read(buildZip({zipFile("first"), item, zipFile("last")}))[1].localHeaderDiffers;
    };
    EXPECT_FALSE(differs([](ZipItem&) {}));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localSize = 1001; }));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localSize = 0; }));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localCompressedSize = 1; }));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localCompressedSize = 0; }));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localCrc = 1; }));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localCrc = 0; }));
    EXPECT_TRUE(differs([](ZipItem& item) { item.localMethod = zip::kStored; }));
    for (const std::uint16_t flag :
         {zip::kFlagEncrypted, zip::kFlagPatched, zip::kFlagStrongEncryption, zip::kFlagMasked})
        EXPECT_TRUE(differs([=](ZipItem& item) { item.localFlags = flag; })) << flag;
    EXPECT_FALSE(differs([](ZipItem& item) { item.localFlags = zip::kFlagUtf8; }));
}

TEST_F(DittoIndex, WideSizesInALocalHeaderAreCompared) {
    ZipItem item = zipFile("a", std::string(1000, 'x'));
    item.deflated = true;
    item.localZip64 = true;
    EXPECT_FALSE(read(buildZip({item}))[0].localHeaderDiffers);
    item.localSize = 1000ULL + (1ULL << 32U);
    EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
    item.localSize.reset();
    item.localCompressedSize = 1ULL << 32U;
    EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
    item.localZip64 = false;
    item.localCompressedSize = zip::kMax32;  // and no wide field
    EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
}

TEST_F(DittoIndex, SumsThatFollowTheContentMayBeMissingButNotWrong) {
    ZipItem item = zipFile("a", std::string(1000, 'x'));
    item.deflated = true;
    item.flags = zip::kFlagSumsFollow;
    for (const bool wide : {false, true}) {
        item.localZip64 = wide;
        item.localSize = item.localCompressedSize = item.localCrc = 0;
        EXPECT_FALSE(read(buildZip({item}))[0].localHeaderDiffers);
        item.localSize = 1000;
        EXPECT_FALSE(read(buildZip({item}))[0].localHeaderDiffers);
        item.localSize = 999;
        EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
        item.localSize = 0;
        item.localCompressedSize = 1;
        EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
        item.localCompressedSize = 0;
        item.localCrc = 1;
        EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
    }
    // Only the flag in the local header itself counts.
    item.localCrc = 0;
    item.localFlags = 0;
    EXPECT_TRUE(read(buildZip({item}))[0].localHeaderDiffers);
}

TEST_F(DittoIndex, OffsetsOutsideTheArchiveAreDamage) {
    ZipItem item = zipFile("a");
    item.offset = 0xfffffff0;
    EXPECT_TRUE(fails(buildZip({item}), "beyond its archive's end"));
    item.offset.reset();
    item.compressedSize = 0xfffffff0;
    EXPECT_TRUE(fails(buildZip({item}), "beyond its archive's end"));
    item.compressedSize.reset();
    item.offset = 1;
    EXPECT_TRUE(fails(buildZip({item}), "not where the directory says"));
    item.zip64 = true;
    item.offset = ~0ULL;
    EXPECT_TRUE(fails(buildZip({item}), "beyond its archive's end"));
}

TEST_F(DittoIndex, ALinkWhoseTargetIsDamagedIsRefused) {
    ZipItem link = zipLink("a", "target");
    link.crc = 1;
    EXPECT_TRUE(fails(buildZip({link}), "checksum"));
}

TEST_F(DittoIndex, MoreEntriesThanAllowedEndTheReading) {
    const std::string archive = buildZip({zipFile("a"), zipFile("b"), zipFile("c")});
    EXPECT_EQ(errorOf(archive, {1000, 3}), "");
    EXPECT_NE(errorOf(archive, {1000, 2}).find("too many entries"), std::string::npos);
}

TEST_F(DittoIndex, APartOfAnArchiveIsNotReadAsAnArchive) {
    const std::string archive = buildZip({zipFile("a"), zipLink("b", "a")}, true);
    for (std::size_t size = 0; size < archive.size(); ++size)
        EXPECT_NE(errorOf(archive.substr(0, size)), "") << size;
}

TEST_F(DittoIndex, AFolderOrAPipeIsNotAnArchive) {
    EXPECT_THROW(InputFile(folder_.makeFolder("d")), Failure);
    EXPECT_THROW(InputFile("/dev/null"), Failure);
    EXPECT_THROW(InputFile(folder_ / "missing"), Failure);
}

}  // namespace
}  // namespace quillmoor::ditto
