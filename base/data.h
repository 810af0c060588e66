// Immutable bytes with shared ownership.
//
//   const Data owned(std::string("abc"));                  // takes the string over
//
//   const auto text = std::make_shared<const std::string>("abc");
//   const Data shared(text, text->data(), text->size());   // copies nothing, keeps the text alive
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace quillmoor {

// Copies share the bytes, so a copy costs no memory and does not depend on the original. May be
// read and copied from any thread; a Data that one thread assigns to must not be used by others
// meanwhile. A Data that was moved from may only be assigned to or destroyed: it still shows the
// bytes, but no longer keeps them. Only the constructor from a string throws.
class Data {
  public:
    // Empty.
    Data() = default;

    // Takes the text's bytes over, NULs included. Throws std::bad_alloc; the text is lost then.
    explicit Data(std::string text) {
        auto kept = std::make_shared<const std::string>(std::move(text));
        bytes_ = kept->data();
        size_ = kept->size();
        owner_ = std::move(kept);
    }

    // Keeps `owner`, and copies nothing: `bytes` must stay valid and unchanged for as long as
    // `owner` lives. The owner is released with the last copy, on the thread that destroys it.
    Data(std::shared_ptr<const void> owner, const char* bytes, std::size_t size)
        : owner_(std::move(owner)), bytes_(bytes), size_(size) {}

    // The first of size() bytes. No NUL need follow the last one. Never null for the default value
    // and for one made of a string. Valid as long as this Data or a copy of it lives.
    const char* bytes() const { return bytes_; }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    // The same bytes, which need not be text. Must not outlive the last copy of this Data.
    std::string_view view() const { return {bytes_, size_}; }

  private:
    std::shared_ptr<const void> owner_;  // null for the default value: a literal needs no owner
    const char* bytes_ = "";
    std::size_t size_ = 0;
};

}  // namespace quillmoor
