// Byte strings whose lengths and cuts count 16-bit units (UTF-16), because the limits that products
// rely on are defined in them. An invalid UTF-8 byte counts as one unit and is kept unchanged.
//
// All functions may be called from any thread. Those that return a std::string throw std::bad_alloc
// only; the others throw nothing.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillmoor {

// The number of 16-bit units: é is 1, an emoji 2, an invalid UTF-8 byte 1.
std::size_t lengthInUnits(std::string_view text);

// The first `units` 16-bit units, or the whole text if it is shorter. A cut through a surrogate
// pair leaves the pair's first half as three bytes that are not valid UTF-8, so that the result
// equals no valid string.
//
//   substringToIndex("aéb", 2)   // aé
std::string substringToIndex(std::string_view text, std::size_t units);

// What follows the first `units` 16-bit units; "" if the text is shorter. A cut through a surrogate
// pair leaves the pair's second half, as above.
//
//   substringFromIndex("aéb", 2)   // b
std::string substringFromIndex(std::string_view text, std::size_t units);

// The part of `text` without white space and newlines at both ends. These are U+0009 to U+000D,
// U+0020, U+0085, U+00A0, U+1680, U+2000 to U+200A, U+2028, U+2029, U+202F, U+205F and U+3000. The
// result views `text` and must not outlive its bytes. White space inside the text is kept.
//
//   trimWhitespaceAndNewlines("\t a b\n")   // a b
std::string_view trimWhitespaceAndNewlines(std::string_view text);

// The text with every occurrence of `part` replaced, from left to right; what a replacement adds is
// not searched again. An empty `part` changes nothing. Compares bytes: é in one code point is not
// found in a text that has it as e and an accent.
//
//   replaceAll("a//b///c", "//", "/")   // a/b//c
std::string replaceAll(std::string_view text, std::string_view part, std::string_view replacement);

}  // namespace quillmoor
