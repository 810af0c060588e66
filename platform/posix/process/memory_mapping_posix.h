// The hooks for large pieces of memory, which grow where they are or by being moved, not copied.
// The back-end's own folder defines them. ByteBuffer calls them, for the output of a tool.
#pragma once

#include <cstddef>

namespace quillmoor::platform::posix {

// Sizes of mappings are multiples of this.
inline constexpr std::size_t kMappingUnit = std::size_t{2} << 20;

// Zero-filled memory, in large pages where the system has them. Null when there is none; errno is
// not looked at.
char* mapMemory(std::size_t size);

// The same bytes in a mapping of `newSize`, which is not smaller. Null when there is no memory: the
// old mapping is then as it was.
char* growMapping(char* bytes, std::size_t size, std::size_t newSize);

// Releases a mapping of `size` bytes, its size now.
void unmapMemory(char* bytes, std::size_t size);

}  // namespace quillmoor::platform::posix
