// Moving items, also across file systems.
#pragma once

#include <string>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/file_contents_posix.h"

namespace quillmoor::platform::posix {

struct MoveResult {
    int error = 0;
    // After an error: the complete item exists at the destination, and a part of it at the source.
    bool copyRemains = false;
};

// Moves an item to a free name: EEXIST. Renames; across file systems it checks that the whole
// source may be removed (see checkRemovable), copies (see copyItemTo), then removes the source.
// When that removal fails the copy is removed again, unless a part of the source has been removed
// already. Nothing is lost, except for items that another process adds to a folder while it is
// moved across file systems. ENOMEM for lack of memory.
MoveResult moveItemTo(const DirectoryEntry& from, const DirectoryEntry& to) noexcept;

// As FileManager::moveItem; ENOMEM for lack of memory. Another spelling of the same name, in a
// folder that folds case, takes two renames: when the second and the way back both fail, the item
// is left under a temporary name in its folder.
MoveResult movePath(const std::string& path, const std::string& destination) noexcept;

// As FileManager::copyItem; returns 0 or the error number.
int copyPath(const std::string& path, const std::string& destination,
             const CopyControl& control = {});

}  // namespace quillmoor::platform::posix
