// Names as texts: for messages, for the archive's UTF-8 mark, for file systems that fold case.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::ditto {

// Control characters, backslashes and bytes that are no UTF-8 are written as \xNN, so that a name
// cannot steer the terminal that shows it.
std::string printable(std::string_view bytes);

// “printable”
std::string quoted(std::string_view bytes);

bool isUtf8(std::string_view bytes);

// Two names that a file system which folds case may take for one give equal results: decomposed,
// case folded, without ignorable characters. What is no UTF-8 folds its ASCII letters only.
std::string foldedCase(std::string_view name);

}  // namespace quillmoor::ditto
