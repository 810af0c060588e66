// Moving, across file systems too.
#pragma once

#include <string>

#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/tree_data_posix.h"

namespace quillmoor::platform::posix {

struct MoveResult {
    int error = 0;
    // After an error: the whole item is at its new place, and something of it at the old one.
    bool copyRemains = false;
};

// Moves an item to a place where nothing stands: EEXIST. Renames; across file systems it checks
// that the whole source may be removed (see checkRemovable), copies (see copyItemTo), then removes
// the source. Where the source cannot be removed all the same the copy is removed again, unless a
// part of the source is removed already; nothing is ever lost but what somebody else adds to a
// folder while it is moved across file systems. ENOMEM for lack of memory.
MoveResult moveItemTo(const DirectoryEntry& from, const DirectoryEntry& to) noexcept;

// As FileManager::moveItem; ENOMEM for lack of memory.
MoveResult movePath(const std::string& path, const std::string& destination) noexcept;

// As FileManager::copyItem; returns 0 or the error number.
int copyPath(const std::string& path, const std::string& destination,
             const CopyControl& control = {});

}  // namespace quillmoor::platform::posix
