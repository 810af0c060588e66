// Immutable bytes with shared ownership.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace quillmoor {

// Copies share the bytes, so a copy costs no memory and does not depend on the original. May be
// read and copied from any thread.
class Data {
  public:
    // Empty.
    Data() = default;

    // Takes the text's bytes over. Throws std::bad_alloc.
    explicit Data(std::string text) {
        auto kept = std::make_shared<const std::string>(std::move(text));
        bytes_ = kept->data();
        size_ = kept->size();
        owner_ = std::move(kept);
    }

    // Keeps `owner`, and copies nothing: `bytes` must stay valid and unchanged for as long as
    // `owner` lives.
    Data(std::shared_ptr<const void> owner, const char* bytes, std::size_t size)
        : owner_(std::move(owner)), bytes_(bytes), size_(size) {}

    // The first of size() bytes. No NUL need follow the last one.
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
