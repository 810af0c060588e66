// Checking in advance whether an item and all its contents may be removed.
#pragma once

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

namespace quillmoor::platform::posix {

// Returns 0 when every part of the item may be removed, as far as that can be determined in
// advance, else the error number that its removal would give: EACCES or EROFS for a folder that may
// not be read or changed, EPERM for an immutable or append-only item and for one in another user's
// sticky folder, EBUSY for a mount point. An empty folder's own mode does not matter. Changes
// nothing, follows no links, and shares a large tree among a few threads. The result says nothing
// about changes that are made afterwards.
int checkRemovable(const DirectoryEntry& entry);

}  // namespace quillmoor::platform::posix
