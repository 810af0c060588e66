// UTF-8, read one character at a time.
//
//   std::size_t characters = 0;
//   for (std::size_t i = 0; i < text.size(); i += utf8CharacterAt(text, i).bytes) ++characters;
//
// Invalid bytes are read one at a time, so that no byte is lost or joined to its neighbour:
//
//   C0 80        an overlong NUL         two invalid bytes
//   ED A0 80     half a surrogate pair   three invalid bytes
//   E2 82 |      cut off                 two invalid bytes
//   41 FF 42     A, FF, B                a character, an invalid byte, a character
#pragma once

#include <cstddef>
#include <string_view>

namespace quillmoor {

// A character, or one invalid byte.
struct Utf8Character {
    char32_t codePoint = 0;  // 0 for an invalid byte
    std::size_t bytes = 1;   // that the character takes in the text, 1 to 4
    bool valid = false;      // false: one byte that is not valid UTF-8

    // The number of 16-bit units: 2 beyond U+FFFF, else 1; an invalid byte counts as one.
    std::size_t units() const { return codePoint > 0xFFFF ? 2 : 1; }
};

// The character that begins at `index`, which must be less than text.size(). Overlong forms,
// surrogates and code points beyond U+10FFFF are invalid: the result is then the one byte at
// `index`, so that a caller who advances by `bytes` resumes at the next byte and always ends. A NUL
// is a valid character. Reads no byte beyond the text. May be called from any thread. Throws
// nothing.
inline Utf8Character utf8CharacterAt(std::string_view text, std::size_t index) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(index);
    if (first < 0x80) return {first, 1, true};
    // By its first byte alone. C0 and C1 could begin only overlong forms, F5 and above only code
    // points beyond U+10FFFF, and 80 to BF continue a character.
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
