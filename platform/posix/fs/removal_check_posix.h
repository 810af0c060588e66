// Whether an item with all it holds may be removed, before anything of it is touched.
#pragma once

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

namespace quillmoor::platform::posix {

// Answers 0 when every part of the item may be removed as far as the system says so beforehand,
// else the error number that its removal would give: EACCES or EROFS for a folder that may not be
// read or changed, EPERM for an immutable or append-only item and for one in somebody else's sticky
// folder, EBUSY for a mount point. An empty folder's own mode does not matter. Changes nothing,
// follows no link, and shares a tree that holds much among a few threads. What changes afterwards
// is not known.
int checkRemovable(const DirectoryEntry& entry);

}  // namespace quillmoor::platform::posix
