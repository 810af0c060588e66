// Keeping a password in memory no longer than it is needed.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace quillmoor::platform::linux_::authorization {

// Bytes that are overwritten before their memory is released. They are never moved, so that there
// is only one copy.
class Secret {
  public:
    // The bytes are `text`, then `end`, for example a newline.
    explicit Secret(std::string_view text, std::string_view end = {})
        : bytes_(text.size() + end.size()) {
        std::copy(end.begin(), end.end(), std::copy(text.begin(), text.end(), bytes_.begin()));
    }
    ~Secret() {
        if (!bytes_.empty()) ::explicit_bzero(bytes_.data(), bytes_.size());
    }
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;

    std::string_view view() const { return {bytes_.data(), bytes_.size()}; }

  private:
    std::vector<char> bytes_;
};

}  // namespace quillmoor::platform::linux_::authorization
