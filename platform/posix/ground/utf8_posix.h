// Text that must be UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

#include "quillmoor/base/utf8.h"

namespace quillmoor::platform::posix {

inline bool isUTF8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Character character = utf8CharacterAt(text, i);
        if (!character.valid) return false;
        i += character.bytes;
    }
    return true;
}

}  // namespace quillmoor::platform::posix
