// Copying an item with all its contents.
#pragma once

#include <string>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/item_copy_posix.h"

namespace quillmoor::platform::posix {

struct CopyResult {
    int error = 0;
    bool somethingMade = false;  // the new item exists; it is complete only without an error
};

// Copies the item `name` of the open folder `folder` as `newName` in `newFolder`; that name must be
// free: EEXIST. Links are copied as links and never followed, also when a folder is swapped for one
// meanwhile. Owners where permitted, extended attributes, modes, dates and holes are kept; hard
// links within the tree become separate files. Only the owner can read a new folder before its
// contents are complete. A few threads share a large tree. Ends at the first error, and with
// ECANCELED after a stop; the caller then removes what was made. The number of descriptors is
// bounded and the stack does not grow with the depth of the tree.
CopyResult copyTree(int folder, const std::string& name, int newFolder, const std::string& newName,
                    const CopyControl& control = {});

// Copies an item to a free name: under a temporary name beside it, renamed at the end. After a
// failure nothing new exists there. Returns 0 or the error number: EEXIST when the name is taken,
// EINVAL for a folder that would be copied into itself. `copy` is set to the new item's identity.
int copyItemTo(const DirectoryEntry& from, const DirectoryEntry& to, Identity& copy,
               const CopyControl& control = {});

}  // namespace quillmoor::platform::posix
