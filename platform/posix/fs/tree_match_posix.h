// Finding the entries of folders that match a pattern.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::posix {

// As FileTree::match.
StringList matchEntries(const StringList& folders, const std::string& pattern);

}  // namespace quillmoor::platform::posix
