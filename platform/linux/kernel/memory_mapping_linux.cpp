#include <sys/mman.h>

#include <cstdint>

#include "quillmoor/platform/linux/ground/linux_calls_linux.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"
#include "quillmoor/platform/posix/process/memory_mapping_posix.h"

namespace quillmoor::platform::posix {
namespace {

// Large pages need an address that is a multiple of their size, and a mapping keeps them only when
// it moves from one such address to another. Older kernels do not choose aligned addresses.
char* reserveAligned(std::size_t size) {
    const std::size_t whole = size + kMappingUnit;
    void* const reserved = systemCalls().mmap(nullptr, whole, PROT_NONE,
                                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved == MAP_FAILED) return nullptr;
    char* const start = static_cast<char*>(reserved);
    const std::size_t past = reinterpret_cast<std::uintptr_t>(start) % kMappingUnit;
    const std::size_t before = past == 0 ? 0 : kMappingUnit - past;
    if (before != 0) ::munmap(start, before);
    ::munmap(start + before + size, whole - before - size);
    return start + before;
}

}  // namespace

char* mapMemory(std::size_t size) {
    char* const bytes = reserveAligned(size);
    if (bytes == nullptr) return nullptr;
    // MAP_FIXED replaces a mapping without asking: here only the one that was just reserved, so no
    // other thread can have got the addresses.
    if (systemCalls().mmap(bytes, size, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED) {
        ::munmap(bytes, size);
        return nullptr;
    }
    // EINVAL from a kernel without large pages is ignored: ordinary ones hold the same bytes.
    ::madvise(bytes, size, MADV_HUGEPAGE);
    return bytes;
}

char* growMapping(char* bytes, std::size_t size, std::size_t newSize) {
    // In place first, which keeps address and alignment. It fails where other mappings follow.
    if (linux_::linuxCalls().mremap(bytes, size, newSize, 0, nullptr) != MAP_FAILED) return bytes;
    char* const place = reserveAligned(newSize);
    if (place == nullptr) return nullptr;
    if (linux_::linuxCalls().mremap(bytes, size, newSize, MREMAP_MAYMOVE | MREMAP_FIXED, place) ==
        MAP_FAILED) {
        ::munmap(place, newSize);
        return nullptr;
    }
    return place;
}

void unmapMemory(char* bytes, std::size_t size) {
    ::munmap(bytes, size);
}

}  // namespace quillmoor::platform::posix
