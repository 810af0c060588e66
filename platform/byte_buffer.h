// Memory that grows without being copied, for output whose size is not known in advance.
#pragma once

#include <cstddef>

#include "quillmoor/base/data.h"

namespace quillmoor::platform {

// Move-only; one thread at a time. Throws std::bad_alloc when there is no memory.
class ByteBuffer {
  public:
    ByteBuffer() = default;
    ByteBuffer(ByteBuffer&& other) noexcept;
    ByteBuffer& operator=(ByteBuffer&& other) noexcept;
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;
    ~ByteBuffer();

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    const char* bytes() const { return bytes_; }

    // Makes room for at least `bytes` more and returns a pointer to it, valid until the next call.
    // Without memory it throws and the buffer is unchanged.
    char* reserveMore(std::size_t bytes);
    // How many bytes fit without growing.
    std::size_t room() const { return capacity_ - size_; }
    // `bytes` of the room have been filled.
    void addFilled(std::size_t bytes) { size_ += bytes; }

    // The bytes as Data, without a copy. The buffer is empty afterwards.
    Data takeData();

  private:
    char* bytes_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace quillmoor::platform
