// Writes a zip archive to a file, entry after entry.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillmoor::ditto {

// An entry's headers, without sizes and checksum.
struct EntryHeader {
    std::string name;  // byte for byte; a folder's ends in a slash
    std::uint32_t mode = 0;
    std::int64_t modified = 0;  // seconds since 1970
};

// The time zone of the headers' MS-DOS dates, which do not record one. Readers take them for local
// time; few do, as the exact date is in an extra field.
enum class DateZone : bool { Local, Utc };

// Entries from 4 GiB and archives from 65,535 entries on take the zip64 form. Throws Failure if the
// file cannot be written. Output is buffered: without finish() the file is incomplete.
class ZipWriter {
  public:
    // The caller keeps `file`, which is at its beginning; `path` is for messages.
    ZipWriter(int file, std::string path, DateZone zone = DateZone::Local);

    // A whole entry.
    void add(const EntryHeader& header, std::uint16_t method, std::uint32_t crc, std::uint64_t size,
             std::string_view data);

    // A deflated entry in pieces. end() fills sizes and checksum in; `wide` makes room for sizes
    // from 4 GiB on, without which such an entry is a Failure.
    void begin(const EntryHeader& header, bool wide);
    void append(std::string_view data);
    void end(std::uint32_t crc, std::uint64_t size);

    // The central directory. Nothing can be added afterwards.
    void finish();

  private:
    struct Sums {
        std::uint16_t method = 0;
        std::uint32_t crc = 0;
        std::uint64_t size = 0;
        std::uint64_t compressedSize = 0;
    };

    std::uint32_t dosDate(std::int64_t modified) const;
    void putCommon(std::string& out, const EntryHeader& header, std::uint16_t method,
                   bool wide) const;
    void writeLocalHeader(const EntryHeader& header, const Sums& sums, bool wide);
    void addToDirectory(const EntryHeader& header, const Sums& sums, std::uint64_t offset);
    void write(std::string_view bytes);
    void flush();

    int file_;
    std::string path_;
    DateZone zone_;
    std::string buffer_;
    std::uint64_t offset_ = 0;  // of the next byte, buffered ones included
    std::string directory_;
    std::uint64_t count_ = 0;

    EntryHeader current_;
    std::uint64_t currentOffset_ = 0;
    std::uint64_t currentData_ = 0;
    bool currentWide_ = false;
};

}  // namespace quillmoor::ditto
