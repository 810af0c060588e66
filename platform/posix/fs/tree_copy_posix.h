// Copies of an item with all it holds.
#pragma once

#include <string>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/item_copy_posix.h"

namespace quillmoor::platform::posix {

struct CopyResult {
    int error = 0;
    bool somethingMade = false;  // the new item stands, whole only when there is no error
};

// Copies the item `name` of the open folder `folder` as `newName` in `newFolder`; that name must be
// free: EEXIST. Links are copied as links and never followed, also when a folder is swapped for
// one meanwhile. Owners where permitted, extended attributes, modes and dates are kept, holes stay
// holes; hard links within the tree become files of their own. A folder is not open to anybody else
// before all is in it. A few threads share a tree that holds much. Ends at the first error, and
// with ECANCELED after a stop. Needs a bounded number of descriptors and no stack, however deep the
// tree is.
CopyResult copyTree(int folder, const std::string& name, int newFolder, const std::string& newName,
                    const CopyControl& control = {});

// Copies an item to a place where nothing stands: under a temporary name beside it, renamed at the
// end. After a failure nothing stands there that was not there before. Answers 0 or the error
// number: EEXIST when anything stands there, EINVAL for a folder that would go into itself. `copy`
// is the new item's identity.
int copyItemTo(const DirectoryEntry& from, const DirectoryEntry& to, Identity& copy,
               const CopyControl& control = {});

}  // namespace quillmoor::platform::posix
