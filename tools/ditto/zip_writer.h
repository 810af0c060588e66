// Writes a zip archive to a file, entry after entry.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillmoor::ditto {

// What an entry's headers say beside sizes and checksum.
struct EntryHeader {
    std::string name;  // byte for byte; a folder's ends in a slash
    std::uint32_t mode = 0;
    std::int64_t modified = 0;
};

// Whose hours the headers' old form of a date is in. It has no time zone: readers take it for their
// own, which hardly matters, as the exact date stands beside it.
enum class DateZone : bool { Local, Utc };

// Entries beyond 4 GiB and archives beyond 65,535 entries take the format's wide form. Throws
// Failure when the file cannot be written. What is buffered is lost without finish().
class ZipWriter {
  public:
    // `file` stays the caller's and is at its beginning; `path` is for messages.
    ZipWriter(int file, std::string path, DateZone zone = DateZone::Local);

    // A whole entry.
    void add(const EntryHeader& header, std::uint16_t method, std::uint32_t crc, std::uint64_t size,
             std::string_view data);

    // A deflated entry in pieces. Its headers tell sizes and checksum once it has ended; `wide`
    // makes room for sizes from 4 GiB on, and without it such an entry is a Failure.
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
    std::uint64_t offset_ = 0;  // of what comes next
    std::string directory_;
    std::uint64_t count_ = 0;

    EntryHeader current_;
    std::uint64_t currentOffset_ = 0;
    std::uint64_t currentData_ = 0;
    bool currentWide_ = false;
};

}  // namespace quillmoor::ditto
