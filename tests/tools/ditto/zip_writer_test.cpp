#include "tools/ditto/zip_writer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/libarchive_peer.h"
#include "tests/tools/ditto/zip_builder.h"
#include "tools/ditto/archive_index.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

class DittoZipWriter : public ::testing::Test {
  protected:
    EntryHeader header(const std::string& name) const {
        return {name, S_IFREG | 0644U, 1000000000};
    }

    void expectEntries(std::size_t count) {
        writer_.finish();
        EntryList list;
        readIndex(InputFile(path_), 0, {1U << 20U}, list);
        EXPECT_EQ(list.entries.size(), count);
        // The peer does not recognise an archive without entries.
        if (count > 0) {
            EXPECT_EQ(test::readWithPeer(path_).size(), count);
        }
    }

    test::TempFolder folder_;
    std::string path_ = folder_ / "a.zip";
    platform::posix::Descriptor file_{
        ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644)};
    ZipWriter writer_{file_.get(), path_};
};

TEST_F(DittoZipWriter, AnArchiveMayBeEmpty) {
    expectEntries(0);
}

TEST_F(DittoZipWriter, MoreThan65535EntriesAreCounted) {
    for (int i = 0; i < 66000; ++i) writer_.add(header(std::to_string(i)), zip::kStored, 0, 0, {});
    expectEntries(66000);
}

TEST_F(DittoZipWriter, TheLargestOldCountIsWrittenAsZip64) {
    for (int i = 0; i < 65535; ++i) writer_.add(header(std::to_string(i)), zip::kStored, 0, 0, {});
    expectEntries(65535);
}

// Exact from 1901 to 2038, then in the MS-DOS form up to 2107.
TEST_F(DittoZipWriter, DatesAreKeptAsFarAsTheFormatHoldsThem) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    const std::int64_t least = std::numeric_limits<std::int32_t>::min();
    const std::int64_t most = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t kIn1980 = 315532800;
    constexpr std::int64_t kEndOf2107 = 4354819198;
    for (const std::int64_t date : {least, least - 1, most, most + 1, kEndOf2107}) {
        EntryHeader entry = header("a");
        entry.modified = date;
        writer_.add(entry, zip::kStored, 0, 0, {});
    }
    writer_.finish();
    EntryList list;
    readIndex(InputFile(path_), 0, {1U << 20U}, list);
    ASSERT_EQ(list.entries.size(), 5U);
    EXPECT_EQ(list.entries[0].modified, least);
    EXPECT_EQ(list.entries[1].modified, kIn1980);
    EXPECT_EQ(list.entries[2].modified, most);
    EXPECT_EQ(list.entries[3].modified, most + 1);
    EXPECT_EQ(list.entries[4].modified, kEndOf2107);
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(DittoZipWriter, AWideEntryHasItsSizesInBothHeaders) {
    const std::string content(100000, 'w');
    writer_.begin(header("wide"), true);
    writer_.append(test::deflated(content));
    writer_.end(test::crcOf(content), content.size());
    writer_.finish();
    const auto entries = test::readWithPeer(path_);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].content, content);
}

TEST_F(DittoZipWriter, ANarrowEntryCannotGrowBeyondFourGigabytes) {
    writer_.begin(header("narrow"), false);
    writer_.append(test::deflated(""));
    EXPECT_THROW(writer_.end(0, 1ULL << 32U), Failure);
}

}  // namespace
}  // namespace quillmoor::ditto
