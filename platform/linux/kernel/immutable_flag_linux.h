// The flag by which an item cannot be changed, renamed or removed.
#pragma once

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

namespace quillmoor::platform::linux_ {

// Sets the flag of a file or folder, or takes it away. An item that is as asked is not opened; a
// link is not followed. Answers 0 or the error number: EOPNOTSUPP for what cannot have the flag,
// EPERM for whoever is not the super-user.
int setImmutable(const posix::DirectoryEntry& entry, bool immutable);

}  // namespace quillmoor::platform::linux_
