#include "tools/ditto/zip_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>
#include <utility>

#include "tools/ditto/failure.h"
#include "tools/ditto/file_sink.h"
#include "tools/ditto/text.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

using zip::put16;
using zip::put32;
using zip::put64;

constexpr std::size_t kBufferSize = 1U << 20U;
// "Version needed to extract": 2.0 has folders and deflate, 4.5 has zip64.
constexpr std::uint16_t kVersion = 20;
constexpr std::uint16_t kWideVersion = 45;
constexpr std::uint32_t kFormatMask = 0170000;
constexpr std::uint32_t kFolderFormat = 0040000;
// Offsets in a local header: of the checksum, and, with the name's length, of the zip64 sizes.
constexpr std::uint64_t kCrcOffset = 14;
constexpr std::uint64_t kWideSizesOffset = zip::kLocalSize + 4;

std::span<const unsigned char> bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// The extended timestamp, if 32 bits can hold the date. Its flags say: modification time only.
std::string timestampField(std::int64_t modified) {
    std::string field;
    if (modified < std::numeric_limits<std::int32_t>::min() ||
        modified > std::numeric_limits<std::int32_t>::max())
        return field;
    put16(field, zip::kExtraTimestamp);
    put16(field, 5);
    field += '\1';
    put32(field, static_cast<std::uint64_t>(modified));
    return field;
}

// The largest value itself as well: in a 32-bit field it means that the zip64 field has the value.
bool needsWide(std::uint64_t value) {
    return value >= zip::kMax32;
}

std::uint64_t narrow(std::uint64_t value) {
    return std::min<std::uint64_t>(value, zip::kMax32);
}

}  // namespace

ZipWriter::ZipWriter(int file, std::string path, DateZone zone)
    : file_(file), path_(std::move(path)), zone_(zone) {
    buffer_.reserve(2 * kBufferSize);
}

void ZipWriter::add(const EntryHeader& header, std::uint16_t method, std::uint32_t crc,
                    std::uint64_t size, std::string_view data) {
    const std::uint64_t offset = offset_;
    // Never wide: the whole entry is in memory, far below 4 GiB.
    const Sums sums{method, crc, size, data.size()};
    writeLocalHeader(header, sums, false);
    write(data);
    addToDirectory(header, sums, offset);
}

void ZipWriter::begin(const EntryHeader& header, bool wide) {
    current_ = header;
    currentOffset_ = offset_;
    currentWide_ = wide;
    // The sums are 0 until end() patches them in.
    writeLocalHeader(header, {zip::kDeflated}, wide);
    currentData_ = offset_;
}

void ZipWriter::append(std::string_view data) {
    write(data);
}

void ZipWriter::end(std::uint32_t crc, std::uint64_t size) {
    const Sums sums{zip::kDeflated, crc, size, offset_ - currentData_};
    if (!currentWide_ && (needsWide(sums.size) || needsWide(sums.compressedSize)))
        throw Failure(quoted(current_.name) + " grew while it was packed");
    // Patched into the local header rather than written behind the data: readers that go by local
    // headers then know the sizes in advance. The header must be in the file by now.
    flush();
    std::string patch;
    put32(patch, crc);
    put32(patch, currentWide_ ? zip::kMax32 : sums.compressedSize);
    put32(patch, currentWide_ ? zip::kMax32 : sums.size);
    writeAllAt(file_, currentOffset_ + kCrcOffset, bytesOf(patch), path_);
    if (currentWide_) {
        patch.clear();
        put64(patch, sums.size);
        put64(patch, sums.compressedSize);
        writeAllAt(file_, currentOffset_ + kWideSizesOffset + current_.name.size(), bytesOf(patch),
                   path_);
    }
    addToDirectory(current_, sums, currentOffset_);
}

// The MS-DOS form of a date: from 1980 to 2107 in steps of two seconds.
std::uint32_t ZipWriter::dosDate(std::int64_t modified) const {
    const auto seconds = static_cast<std::time_t>(modified);
    std::tm parts = {};
    const auto* done =
        zone_ == DateZone::Utc ? ::gmtime_r(&seconds, &parts) : ::localtime_r(&seconds, &parts);
    // 1 January 1980: a month or day 0 would not be a date.
    if (done == nullptr || parts.tm_year < 80) return 1U << 21U | 1U << 16U;
    // Seven bits for the year. A leap second would be 30 in steps of two, and the last one is 29.
    const int year = std::min(parts.tm_year - 80, 127);
    return static_cast<std::uint32_t>(year << 25 | (parts.tm_mon + 1) << 21 | parts.tm_mday << 16 |
                                      parts.tm_hour << 11 | parts.tm_min << 5 |
                                      std::min(parts.tm_sec, 59) / 2);
}

// The fields that both headers have in common, from "version needed to extract" to the date.
void ZipWriter::putCommon(std::string& out, const EntryHeader& header, std::uint16_t method,
                          bool wide) const {
    put16(out, wide ? kWideVersion : kVersion);
    // Without the flag, readers take a name for their own system's character set.
    put16(out, isUtf8(header.name) ? zip::kFlagUtf8 : 0);
    put16(out, method);
    // Two fields of 16 bits: the low one, which is written first, is the time.
    put32(out, dosDate(header.modified));
}

void ZipWriter::writeLocalHeader(const EntryHeader& header, const Sums& sums, bool wide) {
    std::string extra;
    if (wide) {
        // In a local header the zip64 field must hold both sizes.
        put16(extra, zip::kExtraZip64);
        put16(extra, 16);
        put64(extra, 0);
        put64(extra, 0);
    }
    extra += timestampField(header.modified);
    std::string out;
    put32(out, zip::kLocalSignature);
    putCommon(out, header, sums.method, wide);
    put32(out, sums.crc);
    put32(out, sums.compressedSize);
    put32(out, sums.size);
    put16(out, header.name.size());
    put16(out, extra.size());
    write(out + header.name + extra);
}

void ZipWriter::addToDirectory(const EntryHeader& header, const Sums& sums, std::uint64_t offset) {
    // In the directory the zip64 field holds only what does not fit, in this order.
    std::string wide;
    for (const std::uint64_t value : {sums.size, sums.compressedSize, offset})
        if (needsWide(value)) put64(wide, value);
    std::string extra;
    if (!wide.empty()) {
        put16(extra, zip::kExtraZip64);
        put16(extra, wide.size());
        extra += wide;
    }
    extra += timestampField(header.modified);
    const bool folder = (header.mode & kFormatMask) == kFolderFormat;

    put32(directory_, zip::kCentralSignature);
    // "Made by" Unix: readers take the upper half of the external attributes for a mode.
    put16(directory_, zip::kHostUnix << 8U | kWideVersion);
    putCommon(directory_, header, sums.method, !wide.empty());
    put32(directory_, sums.crc);
    put32(directory_, narrow(sums.compressedSize));
    put32(directory_, narrow(sums.size));
    put16(directory_, header.name.size());
    put16(directory_, extra.size());
    put16(directory_, 0);  // comment
    put16(directory_, 0);  // volume
    put16(directory_, 0);  // internal attributes
    // With the MS-DOS attribute of a folder, for readers that know no modes.
    put32(directory_, header.mode << 16U | (folder ? zip::kDosFolder : 0U));
    put32(directory_, narrow(offset));
    directory_ += header.name;
    directory_ += extra;
    ++count_;
}

void ZipWriter::finish() {
    const std::uint64_t start = offset_;
    write(directory_);
    const std::uint64_t size = directory_.size();
    std::string out;
    // 65,535 entries as well: that number in the old record means that the zip64 record has it.
    if (needsWide(start) || needsWide(size) || count_ >= zip::kMax16) {
        const std::uint64_t record = offset_;
        put32(out, zip::kEnd64Signature);
        put64(out, zip::kEnd64Size - 12);  // without the signature and this size
        put16(out, zip::kHostUnix << 8U | kWideVersion);
        put16(out, kWideVersion);
        put64(out, 0);  // volumes
        put64(out, count_);
        put64(out, count_);
        put64(out, size);
        put64(out, start);
        put32(out, zip::kEnd64LocatorSignature);
        put32(out, 0);  // the volume that holds the record
        put64(out, record);
        put32(out, 1);  // volumes in total
    }
    put32(out, zip::kEndSignature);
    put32(out, 0);  // volumes
    put16(out, std::min<std::uint64_t>(count_, zip::kMax16));
    put16(out, std::min<std::uint64_t>(count_, zip::kMax16));
    put32(out, narrow(size));
    put32(out, narrow(start));
    put16(out, 0);  // comment
    write(out);
    flush();
}

void ZipWriter::write(std::string_view bytes) {
    buffer_ += bytes;
    offset_ += bytes.size();
    if (buffer_.size() >= kBufferSize) flush();
}

void ZipWriter::flush() {
    writeAll(file_, bytesOf(buffer_), path_);
    buffer_.clear();
}

}  // namespace quillmoor::ditto
