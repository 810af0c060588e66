// UTF-8, read one character at a time.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillmoor {

struct Utf8Character {
    char32_t codePoint = 0;
    std::size_t bytes = 1;  // how many the character takes
    bool valid = false;     // false: one byte that is no UTF-8

    // 16-bit units.
    std::size_t units() const { return codePoint > 0xFFFF ? 2 : 1; }
};

// The character that begins at `index`, which lies within `text`. Overlong forms, surrogates and
// what lies beyond U+10FFFF are no UTF-8.
inline Utf8Character utf8CharacterAt(std::string_view text, std::size_t index) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(index);
    if (first < 0x80) return {first, 1, true};
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || index + length > text.size()) return {};
    char32_t codePoint = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned char next = byte(index + i);
        if ((next & 0xC0) != 0x80) return {};
        codePoint = (codePoint << 6) | (next & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kSmallest[length] || codePoint > 0x10FFFF || surrogate) return {};
    return {codePoint, length, true};
}

}  // namespace quillmoor
