// Removing an item with all its contents.
#pragma once

#include <cstddef>
#include <string>

#include "quillmoor/base/stop_token.h"

namespace quillmoor::platform::posix {

// Whose tree it is.
enum class TreeKind {
    Given,  // modes are not changed: what they forbid is not removed
    OurOwn  // made a moment ago by this process: folders get the owner's permissions first
};

struct RemovalResult {
    int error = 0;  // the first error, ECANCELED after a stop; 0 when nothing is left
    bool removedSomething = false;
};

// Removes the item `name` of the open folder `folder`; a folder is emptied first, by a few threads
// when it is large. Links are never followed, also when a folder is swapped for one meanwhile.
// Items that cannot be removed are skipped and the rest is removed. The number of descriptors is
// bounded and the stack does not grow with the depth of the tree. A folder that is moved elsewhere
// while it is being emptied ends the removal. Lack of memory ends it with ENOMEM.
RemovalResult removeTree(int folder, const std::string& name, TreeKind kind,
                         const StopToken& stop = {}) noexcept;

// Removes the contents of the open folder, a tree of our own, likewise, and keeps the folder
// itself. Works on the calling thread alone and opens at most kDescriptorsToEmpty descriptors at a
// time. Returns 0 or the first error number.
inline constexpr std::size_t kDescriptorsToEmpty = 2;
int emptyFolder(int folder) noexcept;

// As FileManager::removeItem. The error is ECANCELED after a stop, which leaves the rest in place,
// and ENOMEM for lack of memory.
RemovalResult removePath(const std::string& path, const StopToken& stop = {}) noexcept;

}  // namespace quillmoor::platform::posix
