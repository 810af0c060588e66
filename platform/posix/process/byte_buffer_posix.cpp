#include "quillmoor/platform/byte_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "quillmoor/platform/posix/process/memory_mapping_posix.h"

namespace quillmoor::platform {
namespace {

using posix::kMappingUnit;

// Small buffers are on the heap, large ones in mappings of their own, which grow without a copy.
// The capacity determines which of the two it is.
constexpr std::size_t kSmallest = std::size_t{64} << 10;
constexpr std::size_t kLargestStep = std::size_t{256} << 20;

bool isMapped(std::size_t capacity) {
    return capacity >= kMappingUnit;
}

void release(char* bytes, std::size_t capacity) {
    if (isMapped(capacity))
        posix::unmapMemory(bytes, capacity);
    else
        std::free(bytes);
}

// Twice the old capacity while that is small; a large one grows by a fixed step, so that it never
// reserves far more than it needs.
std::size_t nextCapacity(std::size_t capacity, std::size_t needed) {
    const std::size_t wanted =
        std::max({needed, kSmallest, capacity + std::min(capacity, kLargestStep)});
    if (wanted < kMappingUnit) return wanted;
    // Rounding up to whole units must not overflow.
    if (wanted > std::numeric_limits<std::size_t>::max() - 2 * kMappingUnit) throw std::bad_alloc();
    return (wanted + kMappingUnit - 1) / kMappingUnit * kMappingUnit;
}

// Null when there is no memory; the old bytes are then unchanged.
char* grown(char* bytes, std::size_t size, std::size_t capacity, std::size_t newCapacity) {
    if (!isMapped(newCapacity)) return static_cast<char*>(std::realloc(bytes, newCapacity));
    if (isMapped(capacity)) return posix::growMapping(bytes, capacity, newCapacity);
    char* const mapped = posix::mapMemory(newCapacity);
    if (mapped == nullptr || bytes == nullptr) return mapped;
    // The one copy in a buffer's life: from the heap to its first mapping.
    std::memcpy(mapped, bytes, size);
    std::free(bytes);
    return mapped;
}

}  // namespace

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : bytes_(std::exchange(other.bytes_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    return *this;
}

ByteBuffer::~ByteBuffer() {
    release(bytes_, capacity_);
}

char* ByteBuffer::reserveMore(std::size_t bytes) {
    if (bytes > std::numeric_limits<std::size_t>::max() - size_) throw std::bad_alloc();
    if (room() < bytes) {
        const std::size_t capacity = nextCapacity(capacity_, size_ + bytes);
        char* const larger = grown(bytes_, size_, capacity_, capacity);
        if (larger == nullptr) throw std::bad_alloc();
        bytes_ = larger;
        capacity_ = capacity;
    }
    return bytes_ + size_;
}

Data ByteBuffer::takeData() {
    ByteBuffer taken(std::move(*this));
    if (taken.empty()) return {};
    std::size_t capacity = taken.capacity_;
    if (isMapped(capacity)) {
        // Releases the part that was never filled; the bytes keep their address.
        const std::size_t used = (taken.size_ + kMappingUnit - 1) / kMappingUnit * kMappingUnit;
        if (used < capacity) posix::unmapMemory(taken.bytes_ + used, capacity - used);
        capacity = used;
    } else if (void* const smaller = std::realloc(taken.bytes_, taken.size_)) {
        taken.bytes_ = static_cast<char*>(smaller);
        capacity = taken.size_;
    }
    taken.capacity_ = 0;
    char* const bytes = std::exchange(taken.bytes_, nullptr);
    // Without memory for its counter it calls the deleter itself, so that the bytes are released in
    // every case.
    const std::shared_ptr<const void> owner(
        bytes, [capacity](char* released) { release(released, capacity); });
    return {owner, bytes, taken.size_};
}

}  // namespace quillmoor::platform
