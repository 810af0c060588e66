#include "tools/ditto/entry_reader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/zip_builder.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

constexpr std::size_t kRoom = 256U << 10U;

// Compressible text, zeros, and noise; quick to deflate.
std::string someContent(std::size_t size) {
    constexpr std::size_t kEdge = 150'000;
    std::mt19937 random(7);
    std::string content(std::max(size, 2 * kEdge), '\0');
    for (std::size_t i = 0; i < kEdge; ++i) {
        content[i] = static_cast<char>('a' + random() % 4);
        content[size > 2 * kEdge ? size - 1 - i : kEdge + i] = static_cast<char>(random());
    }
    content.resize(size);
    return content;
}

std::uint32_t added(std::uint32_t crc, std::span<const unsigned char> bytes) {
    return static_cast<std::uint32_t>(::crc32_z(crc, bytes.data(), bytes.size()));
}

// Keeps the content. Has no more room than it must have.
class TextSink : public PieceSink {
  public:
    std::span<unsigned char> room(std::size_t wanted) override {
        room_.resize(std::max<std::size_t>(kRoom, wanted <= kWholeEntry ? wanted : 0));
        return room_;
    }
    void accept(std::size_t size) override {
        const auto piece = std::span(room_).first(size);
        text.append(piece.begin(), piece.end());
        crc_ = added(crc_, piece);
    }
    std::uint32_t finish() override { return crc_; }

    std::string text;

  private:
    std::vector<unsigned char> room_;
    std::uint32_t crc_ = 0;
};

// Counts the content only.
class CountingSink : public PieceSink {
  public:
    std::span<unsigned char> room(std::size_t) override { return room_; }
    void accept(std::size_t size) override {
        count += size;
        crc_ = added(crc_, std::span(room_).first(size));
    }
    std::uint32_t finish() override { return crc_; }

    std::uint64_t count = 0;

  private:
    std::vector<unsigned char> room_ = std::vector<unsigned char>(kRoom);
    std::uint32_t crc_ = 0;
};

class DittoEntryReader : public testing::Test {
  protected:
    // An entry whose data is between other bytes.
    Entry put(const std::string& data, std::uint64_t size, std::uint32_t crc,
              std::uint16_t method = zip::kDeflated) {
        folder_.writeFile("archive", "before" + data + "behind");
        Entry entry;
        entry.name = "entry";
        entry.size = size;
        entry.compressedSize = data.size();
        entry.dataOffset = 6;
        entry.crc = crc;
        entry.method = method;
        return entry;
    }
    Entry putDeflated(const std::string& content) {
        return put(test::deflated(content), content.size(), test::crcOf(content));
    }

    std::string read(const Entry& entry) {
        TextSink sink;
        reader_.read(InputFile(path()), entry, sink);
        return std::move(sink.text);
    }
    // The failure's message; "" if there is none. The sink never receives more than declared.
    std::string failure(const Entry& entry) {
        TextSink sink;
        try {
            reader_.read(InputFile(path()), entry, sink);
        } catch (const Failure& failure) {
            EXPECT_LE(sink.text.size(), entry.size);
            const std::string start = path() + ": “entry”: ";
            const std::string text = failure.what();
            EXPECT_TRUE(text.starts_with(start)) << text;
            return text.substr(std::min(start.size(), text.size()));
        }
        return {};
    }

    std::string path() const { return folder_ / "archive"; }

    test::TempFolder folder_;
    std::atomic<bool> stop_ = false;
    EntryReader reader_{stop_};
};

// Of these sizes, the first is unpacked at once and the second in pieces.
class DittoEntryReaderOfSize : public DittoEntryReader,
                               public testing::WithParamInterface<std::size_t> {
  protected:
    const std::string content_ = someContent(GetParam());
    const std::string data_ = test::deflated(content_);
    const std::uint32_t crc_ = test::crcOf(content_);
};

constexpr char kBroken[] = "damaged: its content cannot be unpacked";
constexpr char kTooLong[] = "holds more than its declared size";
constexpr char kTooShort[] = "holds less than its declared size";
constexpr char kFollowed[] = "damaged: data follows its end";
constexpr char kOtherSum[] = "damaged: its checksum does not match";

TEST_P(DittoEntryReaderOfSize, UnpacksAGoodEntryTwice) {
    const Entry entry = put(data_, content_.size(), crc_);
    for (int round = 0; round < 2; ++round) EXPECT_TRUE(read(entry) == content_);
}

TEST_P(DittoEntryReaderOfSize, RefusesDamagedContent) {
    std::string data = data_;
    for (std::size_t i = data.size() / 2; i < data.size() / 2 + 100; ++i) data[i] ^= '\x55';
    // What still happens to be deflated data has another length or another checksum.
    EXPECT_NE(failure(put(data, content_.size(), crc_)), "");
    data = data_;
    data[0] = '\x07';  // a kind of block that does not exist
    EXPECT_EQ(failure(put(data, content_.size(), crc_)), kBroken);
}

TEST_P(DittoEntryReaderOfSize, RefusesContentThatIsCut) {
    EXPECT_EQ(failure(put(data_.substr(0, data_.size() / 2), content_.size(), crc_)), kBroken);
    EXPECT_EQ(failure(put(data_.substr(0, 1), content_.size(), crc_)), kBroken);
    // At the very end it may look like content that is too long.
    EXPECT_NE(failure(put(data_.substr(0, data_.size() - 1), content_.size(), crc_)), "");
}

TEST_P(DittoEntryReaderOfSize, RefusesMoreThanTheDeclaredSize) {
    for (const std::size_t more : {1U, 1U << 20U})
        EXPECT_EQ(
            failure(put(test::deflated(content_ + std::string(more, 'x')), content_.size(), crc_)),
            kTooLong)
            << more;
}

TEST_P(DittoEntryReaderOfSize, RefusesLessThanTheDeclaredSize) {
    EXPECT_EQ(failure(put(data_, content_.size() + 1, crc_)), kTooShort);
}

TEST_P(DittoEntryReaderOfSize, RefusesAWrongChecksum) {
    EXPECT_EQ(failure(put(data_, content_.size(), ~crc_)), kOtherSum);
}

TEST_P(DittoEntryReaderOfSize, RefusesDataBehindTheEnd) {
    for (const std::size_t more : {1U, 2U, 9U, 300'000U})
        EXPECT_EQ(failure(put(data_ + std::string(more, 'x'), content_.size(), crc_)), kFollowed)
            << more;
}

TEST_P(DittoEntryReaderOfSize, UnpacksAGoodEntryAfterABadOne) {
    EXPECT_EQ(failure(put("\x07", content_.size(), 0)), kBroken);
    EXPECT_TRUE(read(put(data_, content_.size(), crc_)) == content_);
}

INSTANTIATE_TEST_SUITE_P(Of, DittoEntryReaderOfSize,
                         testing::Values(kWholeEntry / 8, kWholeEntry + (1U << 20U)),
                         [](const auto& each) { return std::to_string(each.param); });

TEST_F(DittoEntryReader, UnpacksEntriesOfTheSizesAroundTheLimit) {
    const std::string content = someContent(kWholeEntry + 1);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kRoom, kRoom + 1,
                                   kWholeEntry - 1, kWholeEntry, kWholeEntry + 1}) {
        const std::string part = content.substr(0, size);
        EXPECT_TRUE(read(putDeflated(part)) == part) << size;
        EXPECT_TRUE(read(put(part, size, test::crcOf(part), zip::kStored)) == part) << size;
    }
}

// A writer may close a block after every few bytes: the data is then longer than what it holds.
TEST_F(DittoEntryReader, UnpacksDataThatIsLongerThanItsContent) {
    const std::string emptyBlock("\0\0\0\xff\xff", 5);
    const std::string content = someContent(100'000);
    for (const std::size_t size : {kWholeEntry / 8, 2 * kWholeEntry}) {
        std::string data;
        while (data.size() < size) data += emptyBlock;
        data += test::deflated(content);
        EXPECT_TRUE(read(put(data, content.size(), test::crcOf(content))) == content) << size;
        EXPECT_EQ(failure(put(data + 'x', content.size(), test::crcOf(content))), kFollowed);
        EXPECT_EQ(failure(put(data, content.size() - 1, test::crcOf(content))), kTooLong);
    }
}

TEST_F(DittoEntryReader, StopsWhenAnotherThreadHasFailed) {
    for (const std::size_t size : {std::size_t{100}, kWholeEntry + 1}) {
        const Entry entry = putDeflated(std::string(size, 'a'));
        stop_ = true;
        EXPECT_THROW(read(entry), Stopped) << size;
        stop_ = false;
        EXPECT_EQ(read(entry).size(), size);
    }
}

TEST_F(DittoEntryReader, ReportsAnArchiveThatEndsInsideAnEntry) {
    const std::string content = someContent(kWholeEntry + (1U << 20U));
    for (const std::uint16_t method : {zip::kStored, zip::kDeflated}) {
        const Entry entry = method == zip::kStored
                                ? put(content, content.size(), test::crcOf(content), method)
                                : putDeflated(content);
        std::filesystem::resize_file(path(), entry.compressedSize / 2);
        TextSink sink;
        EXPECT_THROW(reader_.read(InputFile(path()), entry, sink), Failure) << method;
    }
}

// The most memory that the process has used, in bytes.
std::uint64_t mostMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return std::stoull(line.substr(6)) << 10U;
    ADD_FAILURE() << "no VmHWM";
    return 0;
}

// Blocks without codes, of zeros, in a file with holes: neither the data nor the content is small.
void writeStoredBlocks(const std::string& path, std::uint64_t count) {
    const std::string middle("\0\xff\xff\0\0", 5);
    const std::string last("\1\0\0\xff\xff", 5);
    std::ofstream file(path, std::ios::binary);
    for (std::uint64_t i = 0; i < count; ++i) {
        file.seekp(static_cast<std::streamoff>(i * (5 + 0xffff)));
        file << middle;
    }
    file.seekp(static_cast<std::streamoff>(count * (5 + 0xffff)));
    file << last;
}

std::uint32_t crcOfZeros(std::uint64_t size) {
    const std::vector<unsigned char> zeros(0xffff);
    std::uint32_t crc = 0;
    for (std::uint64_t done = 0; done < size; done += zeros.size()) crc = added(crc, zeros);
    return crc;
}

TEST_F(DittoEntryReader, NeedsNoMoreMemoryForALargerEntry) {
    const auto readBlocks = [this](std::uint64_t count) {
        writeStoredBlocks(path(), count);
        Entry entry;
        entry.name = "entry";
        entry.method = zip::kDeflated;
        entry.compressedSize = count * (5 + 0xffff) + 5;
        entry.size = count * 0xffff;
        entry.crc = crcOfZeros(entry.size);
        CountingSink sink;
        reader_.read(InputFile(path()), entry, sink);
        EXPECT_EQ(sink.count, entry.size);
    };
    readBlocks(150);
    const std::uint64_t before = mostMemory();
    readBlocks(1000);
    EXPECT_LT(mostMemory() - before, 4U << 20U);
}

}  // namespace
}  // namespace quillmoor::ditto
