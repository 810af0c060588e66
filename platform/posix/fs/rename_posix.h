// Renaming that never replaces.
#pragma once

#include <string>

namespace quillmoor::platform::posix {

// Renames within one file system, also where the file system itself cannot guarantee that nothing
// is replaced. Returns 0 or the error number: EEXIST when anything has the new name, including the
// item itself; EXDEV across file systems. After an error the item has its old name.
int renameWithoutReplacing(int folder, const std::string& name, int newFolder,
                           const std::string& newName);

}  // namespace quillmoor::platform::posix
