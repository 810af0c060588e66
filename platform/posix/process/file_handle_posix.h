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
    void seekToEndOfFile() override;
    void writeAtEndOnly() override;
    std::size_t readAvailableData(ByteBuffer& buffer) override;
    void closeFile() override;

    // -1 once it was closed.
    int descriptor() const { return descriptor_.get(); }

  private:
    class Use;

    const WakeDescriptor& closing();

    // That the handle was closed, and how many calls are under way, in one number. Whoever comes
    // last closes the descriptor, so that no call ever meets a number given out anew.
    static constexpr unsigned kClosed = 1;
    static constexpr unsigned kOneCall = 2;
    std::atomic<unsigned> state_{0};

    Descriptor descriptor_;
    std::mutex reading_;  // so that nobody reads what somebody else has just taken
    // Readable once the handle is closed under a reader; made for the first one.
    std::atomic<WakeDescriptor*> closing_{nullptr};
};

// Takes what is written to it and gives nothing. It holds no descriptor; a child opens the device
// for itself.
class NullDeviceHandle final : public FileHandle {
  public:
    void writeData(std::string_view bytes) override;
    void seekToEndOfFile() override;
    std::size_t readAvailableData(ByteBuffer& buffer) override;
    void closeFile() override;

    bool isClosed() const { return closed_.load(std::memory_order_acquire); }

  private:
    void check(const char* what) const;
    std::atomic<bool> closed_{false};
};

}  // namespace quillmoor::platform::posix
