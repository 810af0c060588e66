// Immutable bytes with shared ownership.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace quillmoor {

// Copies share the bytes. May be read from any thread.
class Data {
  public:
    Data() = default;

    explicit Data(std::string text) {
        auto kept = std::make_shared<const std::string>(std::move(text));
        bytes_ = kept->data();
        size_ = kept->size();
        owner_ = std::move(kept);
    }

    // `bytes` stay valid for as long as `owner` lives.
    Data(std::shared_ptr<const void> owner, const char* bytes, std::size_t size)
        : owner_(std::move(owner)), bytes_(bytes), size_(size) {}

    const char* bytes() const { return bytes_; }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::string_view view() const { return {bytes_, size_}; }

  private:
    std::shared_ptr<const void> owner_;
    const char* bytes_ = "";
    std::size_t size_ = 0;
};

}  // namespace quillmoor
