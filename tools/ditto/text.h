// Names as texts: for messages, the archive's UTF-8 mark, for file systems that fold case.
#pragma once

#include <string>
#include <string_view>

#include "tools/command/printable.h"

namespace quillmoor::ditto {

using command::printable;
using command::quoted;

bool isUtf8(std::string_view bytes);

// Returns equal results for two names that a file system which folds case may take for one:
// decomposed, case folded, without ignorable characters. Of invalid UTF-8 only the ASCII letters
// are folded. Throws std::bad_alloc.
std::string foldedCase(std::string_view name);

}  // namespace quillmoor::ditto
