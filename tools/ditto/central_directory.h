// Where an archive's central directory stands, and its records one after the other.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "tools/ditto/input_file.h"

namespace quillmoor::ditto {

struct DirectoryPlace {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t count = 0;
    bool countIsCut = false;  // only the low 16 bits of the count are known
};

// Finds it by the record at the archive's end. Throws Failure where there is none, where the
// archive has several volumes, or where something stands before or behind it unaccounted for.
DirectoryPlace findDirectory(const InputFile& archive);

// Reads through a buffer of bounded size.
class DirectoryReader {
  public:
    DirectoryReader(const InputFile& archive, const DirectoryPlace& place);

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
