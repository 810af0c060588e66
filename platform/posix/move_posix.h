// Moving, across file systems too.
#pragma once

#include <string>

#include "platform/posix/place_posix.h"
#include "platform/posix/tree_data_posix.h"

namespace quillmoor::platform::posix {

struct MoveResult {
    int error = 0;
    // After an error: the item stands at its new place all the same, whole, because a part of it is
    // gone from the old one.
    bool arrived = false;
};

// Moves an item to a place where nothing stands: EEXIST. Renames; across file systems it copies
// (see copyItemTo), then removes the source. Where the source cannot be removed the copy goes
// again, unless a part of the source is gone already; nothing is ever lost but what somebody else
// adds to a folder while it is moved across file systems.
MoveResult moveItemTo(const Place& from, const Place& to);

// As FileManager::moveItem and copyItem; answer 0 or the error number.
int movePath(const std::string& path, const std::string& destination);
int copyPath(const std::string& path, const std::string& destination,
             const CopyControl& control = {});

}  // namespace quillmoor::platform::posix
