// Lists of texts in the form of execve(2).
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::posix {

// A null-terminated list of C strings. A text with a NUL would arrive cut: valid() is then false.
class CStrings {
  public:
    void add(std::string text) {
        valid_ = valid_ && text.find('\0') == std::string::npos;
        texts_.push_back(std::move(text));
    }
    // As NAME=VALUE.
    void add(const Environment& variables) {
        for (const auto& [name, value] : variables)
            add(std::string(name).append("=").append(value));
    }
    bool valid() const { return valid_; }
    char* const* get() {
        pointers_.clear();
        for (std::string& text : texts_) pointers_.push_back(text.data());
        pointers_.push_back(nullptr);
        return pointers_.data();
    }

  private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
    bool valid_ = true;
};

}  // namespace quillmoor::platform::posix
