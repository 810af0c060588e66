#include "tools/ditto/central_directory.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "tools/ditto/failure.h"
#include "tools/ditto/text.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

using zip::get16;
using zip::get32;
using zip::get64;

constexpr std::size_t kBufferSize = 64U << 10U;
// Room for a million entries with names of some 200 bytes, which are all kept in memory.
constexpr std::uint64_t kLargestDirectory = 256ULL << 20U;

// The last record in the file. Its comment, which may contain the signature too, must reach exactly
// to the file's end.
struct EndRecord {
    std::uint64_t offset;
    std::vector<unsigned char> bytes;
};

EndRecord findEndRecord(const InputFile& archive) {
    const std::uint64_t most = zip::kEndSize + zip::kMax16;
    std::vector<unsigned char> tail(std::min(archive.size(), most));
    const std::uint64_t start = archive.size() - tail.size();
    archive.readAt(start, tail);
    for (std::size_t room = zip::kEndSize; room <= tail.size(); ++room) {
        const std::size_t at = tail.size() - room;
        if (get32(&tail[at]) == zip::kEndSignature && get16(&tail[at + 20]) == room - zip::kEndSize)
            return {start + at, {tail.begin() + static_cast<std::ptrdiff_t>(at), tail.end()}};
    }
    throw Failure(quoted(archive.path()) + " is not a zip archive");
}

// The zip64 record, for what does not fit into the old one; nothing if the archive has none. Its
// locator, if any, is directly before the old record.
std::optional<DirectoryLocation> findDirectory64(const InputFile& archive,
                                                 std::uint64_t endOffset) {
    if (endOffset < zip::kEnd64LocatorSize + zip::kEnd64Size) return std::nullopt;
    std::array<unsigned char, zip::kEnd64LocatorSize> locator = {};
    archive.readAt(endOffset - locator.size(), locator);
    if (get32(locator.data()) != zip::kEnd64LocatorSignature) return std::nullopt;
    const std::uint64_t offset = get64(&locator[8]);
    const std::uint64_t latest = endOffset - zip::kEnd64LocatorSize - zip::kEnd64Size;
    if (get32(&locator[4]) != 0 || get32(&locator[16]) > 1)
        failAsDamaged(archive, "it is one of several volumes");
    if (offset > latest) failAsDamaged(archive, "its end record cannot be found");
    std::array<unsigned char, zip::kEnd64Size> record = {};
    archive.readAt(offset, record);
    if (get32(record.data()) != zip::kEnd64Signature)
        failAsDamaged(archive, "its end record cannot be found");
    // Number of this disk, disk where the directory begins, entries on this disk and in total.
    if (get32(&record[16]) != 0 || get32(&record[20]) != 0 ||
        get64(&record[24]) != get64(&record[32]))
        failAsDamaged(archive, "it is one of several volumes");
    const DirectoryLocation location{get64(&record[48]), get64(&record[40]), get64(&record[32]),
                                     false};
    // In a gap there could be a second directory, which another reader might take.
    if (location.offset > offset || location.size != offset - location.offset)
        failAsDamaged(archive, "its central directory is not where its end record says");
    return location;
}

// A writer of both records fills the old one with the exact values or with all bits set.
bool agrees(std::uint64_t old, std::uint64_t exact, std::uint64_t full) {
    return old == exact || old == full;
}

}  // namespace

DirectoryLocation findDirectory(const InputFile& archive) {
    // In the record, this volume is at 4, that of the directory at 6, the entries of this volume
    // and of all at 8 and 10, the directory's size and offset at 12 and 16, and the comment's
    // length at 20.
    const EndRecord end = findEndRecord(archive);
    // With a zip64 record, some writers set all bits of the old record's disk numbers too.
    const std::uint16_t volume = get16(&end.bytes[4]);
    const bool volumes = (volume != 0 && volume != zip::kMax16) || get16(&end.bytes[6]) != volume ||
                         get16(&end.bytes[8]) != get16(&end.bytes[10]);
    if (volumes) failAsDamaged(archive, "it is one of several volumes");
    DirectoryLocation location{get32(&end.bytes[16]), get32(&end.bytes[12]), get16(&end.bytes[10]),
                               true};
    if (const auto location64 = findDirectory64(archive, end.offset)) {
        if (!agrees(location.offset, location64->offset, zip::kMax32) ||
            !agrees(location.size, location64->size, zip::kMax32) ||
            !agrees(location.count, location64->count, zip::kMax16))
            failAsDamaged(archive, "its two end records disagree");
        location = *location64;
    } else if (location.offset > end.offset || location.size != end.offset - location.offset) {
        failAsDamaged(archive, "its central directory is not where its end record says");
    }
    if (location.size > kLargestDirectory)
        failAsDamaged(archive, "its central directory is too large");
    return location;
}

DirectoryReader::DirectoryReader(const InputFile& archive, const DirectoryLocation& location)
    : archive_(archive), next_(location.offset), end_(location.offset + location.size) {}

// What is unread is moved to the front and read on behind it, so that a record is in one piece.
std::span<const unsigned char> DirectoryReader::take(std::size_t size) {
    const std::size_t left = buffer_.size() - position_;
    if (left < size) {
        buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(position_));
        position_ = 0;
        const std::uint64_t more =
            std::min<std::uint64_t>(std::max(kBufferSize, size) - left, end_ - next_);
        if (left + more < size) failAsDamaged(archive_, "its central directory ends too early");
        buffer_.resize(left + more);
        archive_.readAt(next_, std::span(buffer_).subspan(left));
        next_ += more;
    }
    const auto taken = std::span<const unsigned char>(buffer_).subspan(position_, size);
    position_ += size;
    return taken;
}

void failAsDamaged(const InputFile& archive, std::string_view what) {
    throw Failure(quoted(archive.path()) + " cannot be unpacked: " + std::string(what));
}

}  // namespace quillmoor::ditto
