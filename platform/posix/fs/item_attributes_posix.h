// Changing attributes of an item that a path names.
#pragma once

#include <chrono>
#include <string>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

namespace quillmoor::platform::posix {

// All return 0 or the error number: ENOENT for a missing item, and for a dangling link where links
// are followed.

// Finds the item that a call is to change.
int findItem(const std::string& path, FollowLink follow, DirectoryEntry& entry);

// Follows links. Bits other than those of chmod(2) are left out.
int changeMode(const std::string& path, unsigned permissions);

// Follows links, and leaves the date of the last access.
int changeModificationDate(const std::string& path, std::chrono::system_clock::time_point date);

}  // namespace quillmoor::platform::posix
