// Names as texts: for messages, for the archive's UTF-8 mark, for file systems that fold case.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::ditto {

// Writes control characters, backslashes and invalid UTF-8 bytes as \xNN, so that a name cannot
// control the terminal that shows it.
std::string printable(std::string_view bytes);

// “printable”
std::string quoted(std::string_view bytes);

bool isUtf8(std::string_view bytes);

// Returns equal results for two names that a file system which folds case may take for one:
// decomposed, case folded, without ignorable characters. Of invalid UTF-8 only the ASCII letters
// are folded. Throws std::bad_alloc.
std::string foldedCase(std::string_view name);

}  // namespace quillmoor::ditto
