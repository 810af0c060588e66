// The flag by which an item cannot be changed, renamed or removed.
#pragma once

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"

namespace quillmoor::platform::linux_ {

// Sets or clears the flag of a file or folder. An item whose flag has the value already is not
// opened; links are not followed. Returns 0 or the error number: EOPNOTSUPP for an item that cannot
// have the flag, EPERM unless the process is root.
int setImmutable(const posix::DirectoryEntry& entry, bool immutable);

}  // namespace quillmoor::platform::linux_
