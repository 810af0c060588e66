// Paths for people to read.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::tallyframe {

// Returns one line of UTF-8 without invisible characters: control characters, line separators,
// marks that change the direction of writing or have no width, invalid UTF-8 bytes, and the
// backslash itself are escaped: \n, \t, \\, \u{202E}, \xFF. Two paths that differ in such a
// character never look the same.
std::string displayText(std::string_view path);

}  // namespace quillmoor::tallyframe
