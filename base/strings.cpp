#include "quillmoor/base/strings.h"

#include <cstdint>
#include <cstring>

#include "quillmoor/base/utf8.h"

namespace quillmoor {
namespace {

bool isWhitespaceOrNewline(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

// Bytes of the white-space character at the start of `text`; 0 if there is none.
std::size_t leadingSpace(std::string_view text) {
    if (text.empty()) return 0;
    const Utf8Character character = utf8CharacterAt(text, 0);
    return character.valid && isWhitespaceOrNewline(character.codePoint) ? character.bytes : 0;
}

// The same at the end. No white-space character is longer than three bytes.
std::size_t trailingSpace(std::string_view text) {
    if (text.empty()) return 0;
    const auto last = static_cast<unsigned char>(text.back());
    if (last < 0x80) return isWhitespaceOrNewline(last) ? 1 : 0;
    for (std::size_t bytes = 2; bytes <= 3 && bytes <= text.size(); ++bytes) {
        const Utf8Character character = utf8CharacterAt(text, text.size() - bytes);
        if (character.valid && character.bytes == bytes)
            return isWhitespaceOrNewline(character.codePoint) ? bytes : 0;
    }
    return 0;
}

// One half of a surrogate pair, in the three-byte form that no valid UTF-8 contains.
std::string loneSurrogate(char32_t unit) {
    return {static_cast<char>(0xE0 | (unit >> 12)), static_cast<char>(0x80 | ((unit >> 6) & 0x3F)),
            static_cast<char>(0x80 | (unit & 0x3F))};
}

// The number of ASCII bytes at the start, examined eight at a time: each log message is measured
// at least twice, and most are plain ASCII.
std::size_t asciiPrefix(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    std::size_t i = 0;
    for (std::uint64_t word = 0; i + sizeof word <= text.size(); i += sizeof word) {
        std::memcpy(&word, text.data() + i, sizeof word);
        if ((word & kHighBits) != 0) break;
    }
    while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80) ++i;
    return i;
}

struct Cut {
    std::size_t byte;           // of the cut, or of the pair that it splits
    std::size_t pairBytes = 0;  // of that pair; 0 if none is split
    char32_t codePoint = 0;
};

Cut cutAt(std::string_view text, std::size_t units) {
    std::size_t byte = 0;
    while (byte < text.size() && units > 0) {
        const Utf8Character character = utf8CharacterAt(text, byte);
        if (character.units() > units) return {byte, character.bytes, character.codePoint};
        units -= character.units();
        byte += character.bytes;
    }
    return {byte};
}

}  // namespace

std::size_t lengthInUnits(std::string_view text) {
    const std::size_t plain = asciiPrefix(text);
    std::size_t units = plain;
    for (std::size_t i = plain; i < text.size();) {
        if (static_cast<unsigned char>(text[i]) < 0x80) {
            ++i;
            ++units;
            continue;
        }
        const Utf8Character character = utf8CharacterAt(text, i);
        i += character.bytes;
        units += character.units();
    }
    return units;
}

std::string substringToIndex(std::string_view text, std::size_t units) {
    const Cut cut = cutAt(text, units);
    std::string head(text.substr(0, cut.byte));
    if (cut.pairBytes > 0) head += loneSurrogate(0xD800 + ((cut.codePoint - 0x10000) >> 10));
    return head;
}

std::string substringFromIndex(std::string_view text, std::size_t units) {
    const Cut cut = cutAt(text, units);
    if (cut.pairBytes == 0) return std::string(text.substr(cut.byte));
    return loneSurrogate(0xDC00 + ((cut.codePoint - 0x10000) & 0x3FF))
        .append(text.substr(cut.byte + cut.pairBytes));
}

std::string_view trimWhitespaceAndNewlines(std::string_view text) {
    while (const std::size_t bytes = leadingSpace(text)) text.remove_prefix(bytes);
    while (const std::size_t bytes = trailingSpace(text)) text.remove_suffix(bytes);
    return text;
}

std::string replaceAll(std::string_view text, std::string_view part, std::string_view replacement) {
    std::string result;
    std::size_t from = 0;
    while (!part.empty()) {
        const std::size_t found = text.find(part, from);
        if (found == std::string_view::npos) break;
        result.append(text.substr(from, found - from)).append(replacement);
        from = found + part.size();
    }
    return result.append(text.substr(from));
}

}  // namespace quillmoor
