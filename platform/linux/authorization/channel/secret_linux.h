// A password for as long as it is needed, and no longer.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace quillmoor::platform::linux_::authorization {

// Bytes that are overwritten before their memory is given back. They are never moved about, so that
// there is one copy only.
class Secret {
  public:
    // `text` and what follows it, a line end for instance.
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
