// Paths as people read them.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::tallyframe {

// UTF-8 on one line in which nothing hides: control characters, line separators, marks that change
// the direction of writing or take no room, bytes that are no UTF-8, and the backslash itself are
// written as escapes: \n, \t, \\, \u{202E}, \xFF. Two paths that differ never look the same for
// one of these reasons.
std::string displayText(std::string_view path);

}  // namespace quillmoor::tallyframe
