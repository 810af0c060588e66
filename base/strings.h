// Strings as the core needs them: byte strings whose lengths and cuts count 16-bit units, as the
// platform's own strings do. A byte that is no UTF-8 counts one unit and is kept as it stands.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillmoor {

// Number of 16-bit units: é is 1, an emoji 2, an invalid byte 1.
std::size_t lengthInUnits(std::string_view text);

// The first `units` 16-bit units. A cut through a surrogate pair leaves a string that equals no
// valid string, with the bytes before the pair kept. More units than there are: the whole text.
std::string substringToIndex(std::string_view text, std::size_t units);

// What follows the first `units` 16-bit units.
std::string substringFromIndex(std::string_view text, std::size_t units);

// White space and newlines cut from both ends: U+0009 to U+000D, U+0020, U+0085, U+00A0, U+1680,
// U+2000 to U+200A, U+2028, U+2029, U+202F, U+205F, U+3000.
std::string_view trimWhitespaceAndNewlines(std::string_view text);

// Every occurrence of `part` replaced. An empty `part` changes nothing.
std::string replaceAll(std::string_view text, std::string_view part, std::string_view replacement);

}  // namespace quillmoor
