// One entry of an archive, as its central directory declares it, and the list of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

namespace quillmoor::ditto {

// The longest path that a system call takes, and the longest of its components.
inline constexpr std::size_t kLongestName = 4095;
inline constexpr std::size_t kLongestComponent = 255;

// An entry up to this size is unpacked as one piece. A larger one is unpacked in pieces, so that
// memory does not grow with it, and is written by a separate thread meanwhile.
inline constexpr std::size_t kWholeEntry = std::size_t{8} << 20;

struct Entry {
    enum class Kind : std::uint8_t { File, Folder, Link, Special };

    std::string_view name;        // byte for byte
    std::string_view linkTarget;  // of a link that could be read
    std::uint64_t size = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t headerOffset = 0;
    std::uint64_t dataOffset = 0;
    std::int64_t modified = 0;  // seconds since 1970
    std::uint32_t crc = 0;
    std::int32_t mode = -1;     // permission bits; -1 where the archive has none
    std::uint16_t archive = 0;  // which of several archives
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    Kind kind = Kind::File;
    bool localHeaderDiffers = false;
};

// The entries of several archives in one list, which owns the texts that they point to.
class EntryList {
  public:
    std::vector<Entry> entries;

    // Returns a copy that lives as long as the list.
    std::string_view keep(std::string_view text);

  private:
    std::pmr::monotonic_buffer_resource texts_;
};

inline std::string_view EntryList::keep(std::string_view text) {
    if (text.empty()) return {};
    auto* copy = static_cast<char*>(texts_.allocate(text.size(), 1));
    text.copy(copy, text.size());
    return {copy, text.size()};
}

// The most that an unpack may produce.
struct Limits {
    std::uint64_t size = 0;           // bytes of all files and links together
    std::uint64_t count = 1'000'000;  // items, folders that only the names imply included
};

}  // namespace quillmoor::ditto
