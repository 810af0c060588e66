// Bytes that show their position in a stream.
#pragma once

#include <cstddef>
#include <string>

namespace quillmoor::test {

// Returns `size` bytes of the stream from `offset` on. The period is not a power of two, so that a
// lost or repeated block is noticed.
inline std::string pattern(std::size_t offset, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((offset + i) % 251);
    return bytes;
}

}  // namespace quillmoor::test
