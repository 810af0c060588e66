// The hooks for large pieces of memory, which grow in place or by remapping, without a copy. The
// back-end's folder defines them. ByteBuffer calls them, for the output of a tool, on any thread.
#pragma once

#include <cstddef>

namespace quillmoor::platform::posix {

// Sizes of mappings are multiples of this.
inline constexpr std::size_t kMappingUnit = std::size_t{2} << 20;

// Returns zero-filled memory, in large pages where the system has them. Null when there is none;
// errno is ignored.
char* mapMemory(std::size_t size);

// Returns the same bytes in a mapping of `newSize`, which is not smaller than `size`; the old
// address is then invalid. Null when there is no memory: the old mapping is then unchanged.
char* growMapping(char* bytes, std::size_t size, std::size_t newSize);

// Releases a mapping of `size` bytes, which may be the end of a larger one.
void unmapMemory(char* bytes, std::size_t size);

}  // namespace quillmoor::platform::posix
