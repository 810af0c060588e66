// Version numbers, as products write them.
#pragma once

#include <compare>
#include <string_view>

namespace quillmoor::version_check {

// True if the text begins with a digit: all that can be compared.
bool isVersionNumber(std::string_view text);

// Compares component by component, as the dots part them: by the number that a component begins
// with, of any length, then by the rest. A missing component is 0; a rest makes a version older
// than none, so that "1.2b3" is before "1.2". Rests are compared by their texts and numbers in
// turn: "1.2b9" is before "1.2b10"; texts by their bytes, but for one that begins with d, as in
// "1.2d1" and "1.2-dev", which is before the others. White space or a plus sign and what follows it
// are ignored: a build, as in "1.2 (345)". Both must be version numbers.
std::strong_ordering compareVersions(std::string_view left, std::string_view right);

}  // namespace quillmoor::version_check
