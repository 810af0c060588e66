#include "tools/ditto/archive_index.h"

#include <sys/stat.h>

#include <libdeflate.h>
#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>
#include <string>
#include <vector>

#include "tools/ditto/central_directory.h"
#include "tools/ditto/entry_reader.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/zip_format.h"

namespace quillmoor::ditto {
namespace {

using zip::get16;
using zip::get32;
using zip::get64;
using Bytes = std::span<const unsigned char>;

// All targets are kept in memory until the archive is unpacked.
constexpr std::uint64_t kMostLinkText = 16ULL << 20U;

std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The extra field of this kind; empty if there is none. Some writers pad the extra data: what is
// not a whole field ends the search and is not an error.
Bytes extraField(Bytes extra, std::uint16_t kind) {
    while (extra.size() >= 4) {
        const std::size_t size = get16(&extra[2]);
        if (size > extra.size() - 4) break;
        if (get16(extra.data()) == kind) return extra.subspan(4, size);
        extra = extra.subspan(4 + size);
    }
    return {};
}

// Replaces what the record could not hold. The field has its values in this order, each only if
// the record's own is 0xffffffff.
void applyZip64(const InputFile& archive, Bytes extra, Entry& entry) {
    Bytes wide = extraField(extra, zip::kExtraZip64);
    for (std::uint64_t* value : {&entry.size, &entry.compressedSize, &entry.headerOffset}) {
        if (*value != zip::kMax32) continue;
        if (wide.size() < 8)
            failAtEntry(archive.path(), entry.name, "damaged: its size is missing");
        *value = get64(wide.data());
        wide = wide.subspan(8);
    }
}

// The MS-DOS form has no time zone: writers mean their local time, in steps of two seconds. Values
// out of range, such as the month 0, are carried over by mktime().
std::int64_t dosTime(int date, int time) {
    std::tm parts = {};
    parts.tm_year = date / 512 + 80;
    parts.tm_mon = date / 32 % 16 - 1;
    parts.tm_mday = date % 32;
    parts.tm_hour = time / 2048;
    parts.tm_min = time / 32 % 64;
    parts.tm_sec = time % 32 * 2;
    parts.tm_isdst = -1;
    return std::mktime(&parts);
}

std::int64_t modifiedAt(Bytes record, Bytes extra) {
    // Bit 0 of the extended timestamp's flags: it has a modification time, which is the first. In
    // the older Unix field the access time is first.
    const Bytes stamp = extraField(extra, zip::kExtraTimestamp);
    if (stamp.size() >= 5 && (stamp[0] & 1U) != 0)
        return static_cast<std::int32_t>(get32(&stamp[1]));
    const Bytes old = extraField(extra, zip::kExtraOldUnix);
    if (old.size() >= 8) return static_cast<std::int32_t>(get32(&old[4]));
    return dosTime(get16(&record[14]), get16(&record[12]));
}

void applyAttributes(std::uint8_t host, std::uint32_t attributes, Entry& entry) {
    // The external attributes' upper half is a mode only if "version made by" says Unix or macOS.
    const auto mode = static_cast<mode_t>(attributes >> 16U);
    const bool unixMode = (host == zip::kHostUnix || host == zip::kHostMacOS) && mode != 0;
    if (unixMode) {
        // Set-ID bits are dropped: root may unpack an archive of unknown origin.
        entry.mode = static_cast<std::int32_t>(mode & 0777U);
        switch (mode & S_IFMT) {
            case 0:
            case S_IFREG:
            // A packer that read the file from its standard input may have recorded the type of
            // the pipe.
            case S_IFIFO:
                break;
            case S_IFDIR:
                entry.kind = Entry::Kind::Folder;
                break;
            case S_IFLNK:
                entry.kind = Entry::Kind::Link;
                break;
            default:
                entry.kind = Entry::Kind::Special;
        }
    } else if ((attributes & zip::kDosFolder) != 0) {
        entry.kind = Entry::Kind::Folder;
    }
    // Writers without modes mark a folder by its name alone.
    if (entry.name.ends_with('/') && entry.kind == Entry::Kind::File)
        entry.kind = Entry::Kind::Folder;
}

Entry nextEntry(const InputFile& archive, DirectoryReader& directory, EntryList& list) {
    // A copy: the bytes that take() returns are good only until it is called for the name.
    std::array<unsigned char, zip::kCentralSize> record = {};
    const Bytes fixed = directory.take(record.size());
    std::copy(fixed.begin(), fixed.end(), record.begin());
    if (get32(record.data()) != zip::kCentralSignature)
        failAsDamaged(archive, "its central directory is damaged");
    // At 5 is the upper byte of "version made by", at 8 the flags, 10 the method, 12 and 14 time
    // and date, 16 the checksum, 20 and 24 the compressed size and the size, 28, 30 and 32 the
    // lengths of name, extra fields and comment, which follow the record in this order, at 38 the
    // external attributes and at 42 the local header's offset.
    const std::size_t nameSize = get16(&record[28]);
    const std::size_t extraSize = get16(&record[30]);
    const Bytes rest = directory.take(nameSize + extraSize + get16(&record[32]));
    const Bytes extra = rest.subspan(nameSize, extraSize);

    Entry entry;
    entry.name = list.keep(textOf(rest.first(nameSize)));
    entry.flags = get16(&record[8]);
    entry.method = get16(&record[10]);
    entry.crc = get32(&record[16]);
    entry.compressedSize = get32(&record[20]);
    entry.size = get32(&record[24]);
    entry.headerOffset = get32(&record[42]);
    entry.modified = modifiedAt(record, extra);
    applyZip64(archive, extra, entry);
    applyAttributes(record[5], get32(&record[38]), entry);
    return entry;
}

// One of a local header's two sizes. Its zip64 field has both, in this order.
enum class SizeOffset : std::size_t { Size = 0, CompressedSize = 8 };

std::uint64_t localSize(std::uint32_t narrow, Bytes wide, SizeOffset offset) {
    const auto at = static_cast<std::size_t>(offset);
    return narrow == zip::kMax32 && wide.size() >= at + 8 ? get64(&wide[at]) : narrow;
}

// In a local header the flags are at 6, the method at 8, the checksum at 14, the compressed size at
// 18, the size at 22, and the lengths of name and extra fields at 26 and 28.

// The header's checksum or sizes differ from the directory's. A writer that did not know them yet
// has left them 0 and set the flag that they follow the data.
bool sumsDiffer(Bytes header, Bytes wide, const Entry& entry) {
    const bool follow = (get16(&header[6]) & zip::kFlagSumsFollow) != 0;
    const auto differs = [follow](std::uint64_t local, std::uint64_t declared) {
        return local != declared && !(follow && local == 0);
    };
    return differs(get32(&header[14]), entry.crc) ||
           differs(localSize(get32(&header[18]), wide, SizeOffset::CompressedSize),
                   entry.compressedSize) ||
           differs(localSize(get32(&header[22]), wide, SizeOffset::Size), entry.size);
}

// The header's name, or how its content is to be read, differs from the directory's. A reader that
// goes by local headers, such as a scanner, would see another archive than the one unpacked here.
bool meaningDiffers(Bytes header, const Entry& entry) {
    constexpr unsigned kMeanings =
        zip::kFlagEncrypted | zip::kFlagPatched | zip::kFlagStrongEncryption | zip::kFlagMasked;
    return get16(&header[26]) != entry.name.size() ||
           textOf(header.subspan(zip::kLocalSize)) != entry.name ||
           get16(&header[8]) != entry.method ||
           ((get16(&header[6]) ^ entry.flags) & kMeanings) != 0;
}

// Reads the header in front of the data. Its extra field may be longer or shorter than that in the
// directory, so that only the header says where the data begins. `dataEnd` is where the directory
// begins.
void readLocalHeader(const InputFile& archive, std::uint64_t dataEnd, Entry& entry,
                     std::vector<unsigned char>& buffer) {
    const std::uint64_t size = zip::kLocalSize + entry.name.size();
    if (entry.headerOffset > dataEnd || size > dataEnd - entry.headerOffset)
        failAtEntry(archive.path(), entry.name, "damaged: it begins beyond its archive's end");
    buffer.resize(size);
    archive.readAt(entry.headerOffset, buffer);
    const unsigned char* header = buffer.data();
    if (get32(header) != zip::kLocalSignature)
        failAtEntry(archive.path(), entry.name, "damaged: it is not where the directory says");
    const std::size_t extraSize = get16(&header[28]);
    const std::uint64_t extraOffset = entry.headerOffset + zip::kLocalSize + get16(&header[26]);
    entry.dataOffset = extraOffset + extraSize;
    if (entry.dataOffset > dataEnd || entry.compressedSize > dataEnd - entry.dataOffset)
        failAtEntry(archive.path(), entry.name, "damaged: it reaches beyond its archive's end");
    std::vector<unsigned char> extra;
    if (get32(&header[18]) == zip::kMax32 || get32(&header[22]) == zip::kMax32) {
        extra.resize(extraSize);
        archive.readAt(extraOffset, extra);
    }
    entry.localHeaderDiffers = meaningDiffers(buffer, entry) ||
                               sumsDiffer(buffer, extraField(extra, zip::kExtraZip64), entry);
}

// Collects a link's target.
class TextSink : public PieceSink {
  public:
    std::span<unsigned char> room(std::size_t) override { return buffer_; }
    void accept(std::size_t size) override {
        const auto piece = Bytes(buffer_).first(size);
        text_ += textOf(piece);
        crc_ = ::libdeflate_crc32(crc_, piece.data(), piece.size());
    }
    std::uint32_t finish() override { return crc_; }
    const std::string& text() const { return text_; }

  private:
    std::array<unsigned char, kLongestName + 1> buffer_ = {};
    std::string text_;
    std::uint32_t crc_ = 0;
};

// What cannot be read is left to the validation, which names the entry and the reason.
bool targetCanBeRead(const Entry& entry) {
    return (entry.method == zip::kStored || entry.method == zip::kDeflated) &&
           (entry.method == zip::kDeflated || entry.size == entry.compressedSize) &&
           (entry.flags & (zip::kFlagEncrypted | zip::kFlagPatched)) == 0 &&
           entry.size <= kLongestName;
}

// Reads the targets of all links, whose total size is limited.
class TargetReader {
  public:
    TargetReader(const InputFile& archive, EntryList& list) : archive_(archive), list_(list) {}

    void read(Entry& entry) {
        if (entry.kind != Entry::Kind::Link || !targetCanBeRead(entry)) return;
        total_ += entry.size;
        if (total_ > kMostLinkText) failAsDamaged(archive_, "its links' targets are too long");
        TextSink sink;
        reader_.read(archive_, entry, sink);
        entry.linkTarget = list_.keep(sink.text());
    }

  private:
    const InputFile& archive_;
    EntryList& list_;
    const std::atomic<bool> never_{false};  // there is no other thread yet that could fail
    EntryReader reader_{never_};
    std::uint64_t total_ = 0;
};

}  // namespace

void readIndex(const InputFile& archive, std::uint16_t number, const Limits& limits,
               EntryList& list) {
    const DirectoryLocation location = findDirectory(archive);
    DirectoryReader directory(archive, location);
    TargetReader targets(archive, list);
    std::vector<unsigned char> buffer;
    std::uint64_t count = 0;
    // A hostile count must not reserve more than the directory's size can hold.
    const std::uint64_t room = std::min(limits.count, location.size / zip::kCentralSize);
    list.entries.reserve(list.entries.size() + std::min(location.count, room));
    while (!directory.atEnd()) {
        throwIfInterrupted();
        if (list.entries.size() >= limits.count)
            failAsDamaged(archive, "it holds too many entries");
        Entry entry = nextEntry(archive, directory, list);
        entry.archive = number;
        readLocalHeader(archive, location.offset, entry, buffer);
        targets.read(entry);
        list.entries.push_back(entry);
        ++count;
    }
    // The old end record has only the low 16 bits of the count.
    const std::uint64_t mask = location.countIsCut ? zip::kMax16 : ~0ULL;
    if ((count & mask) != location.count)
        failAsDamaged(archive, "its number of entries is not the declared one");
}

}  // namespace quillmoor::ditto
