// Renaming that never replaces.
#pragma once

#include <string>

namespace quillmoor::platform::posix {

// Renames within one file system, also where the file system itself cannot promise that nothing is
// replaced. Answers 0 or the error number: EEXIST when anything has the new name, be it the item
// itself; EXDEV across file systems.
int renameWithoutReplacing(int folder, const std::string& name, int newFolder,
                           const std::string& newName);

}  // namespace quillmoor::platform::posix
