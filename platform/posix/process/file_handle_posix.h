// Open files and pipes on descriptors.
#pragma once

#include <atomic>
#include <mutex>
#include <utility>

#include "quillmoor/platform/file_handle.h"
#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/wake_descriptor_posix.h"

namespace quillmoor::platform::posix {

class DescriptorHandle final : public FileHandle {
  public:
    explicit DescriptorHandle(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}
    ~DescriptorHandle() override { delete closing_.load(); }
    DescriptorHandle(const DescriptorHandle&) = delete;
    DescriptorHandle& operator=(const DescriptorHandle&) = delete;

    void writeData(std::string_view bytes) override;
    std::uint64_t seekToEndOfFile() override;
    void writeAtEndOnly() override;
    std::size_t readAvailableData(ByteBuffer& buffer) override;
    void closeFile() override;

    // -1 after closeFile.
    int descriptor() const { return descriptor_.get(); }

  private:
    class Use;

    const WakeDescriptor& closing();

    // In one number: whether the handle was closed, and how many calls use the descriptor. The last
    // of them closes it, so that no call ever uses a number that was reused.
    static constexpr unsigned kClosed = 1;
    static constexpr unsigned kOneCall = 2;
    std::atomic<unsigned> state_{0};

    Descriptor descriptor_;
    // One reader at a time: another could take the bytes that poll reported, and read would block.
    std::mutex reading_;
    // Readable once the handle is closed under a reader; made for the first one.
    std::atomic<WakeDescriptor*> closing_{nullptr};
};

// Discards what is written and reads as ended. It has no descriptor; a child opens the device
// itself.
class NullDeviceHandle final : public FileHandle {
  public:
    void writeData(std::string_view bytes) override;
    std::uint64_t seekToEndOfFile() override;
    std::size_t readAvailableData(ByteBuffer& buffer) override;
    void closeFile() override;

    bool isClosed() const { return closed_.load(std::memory_order_acquire); }

  private:
    void check(const char* what) const;
    std::atomic<bool> closed_{false};
};

}  // namespace quillmoor::platform::posix
