// Finds an archive's central directory and reads its records one after the other.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "tools/ditto/input_file.h"

namespace quillmoor::ditto {

struct DirectoryLocation {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t count = 0;
    bool countIsCut = false;  // `count` has only the low 16 bits
};

// Finds the directory by the record at the archive's end. Throws Failure if there is none, if the
// archive has several volumes, or if the records do not account for bytes before or behind the
// directory.
DirectoryLocation findDirectory(const InputFile& archive);

// Reads through a buffer of bounded size.
class DirectoryReader {
  public:
    DirectoryReader(const InputFile& archive, const DirectoryLocation& location);

    bool atEnd() const { return next_ == end_ && position_ == buffer_.size(); }

    // The next `size` bytes; good until the next call. Throws Failure if there are fewer.
    std::span<const unsigned char> take(std::size_t size);

  private:
    const InputFile& archive_;
    std::uint64_t next_;
    std::uint64_t end_;
    std::vector<unsigned char> buffer_;
    std::size_t position_ = 0;
};

[[noreturn]] void failAsDamaged(const InputFile& archive, std::string_view what);

}  // namespace quillmoor::ditto
