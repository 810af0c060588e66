// Bytes that tell where in a stream they stand.
#pragma once

#include <cstddef>
#include <string>

namespace quillmoor::test {

// `size` bytes of the stream from `offset` on. The period is no power of two, so that a block that
// is lost or doubled shows.
inline std::string pattern(std::size_t offset, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((offset + i) % 251);
    return bytes;
}

}  // namespace quillmoor::test
