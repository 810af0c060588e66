// Removal of an item with all it holds.
#pragma once

#include <cstddef>
#include <string>

#include "quillmoor/base/stop_token.h"

namespace quillmoor::platform::posix {

// Whose tree it is.
enum class TreeKind {
    Given,  // rights stay as they are: what they forbid is not removed
    OurOwn  // made a moment ago by this process: folders get the owner's rights first
};

struct RemovalResult {
    int error = 0;  // the first error, ECANCELED after a stop; 0 when nothing is left
    bool removedSomething = false;
};

// Removes the item `name` of the open folder `folder`; a folder is emptied first, by a few threads
// when it holds much. No link is ever followed, also when a folder is swapped for one meanwhile.
// What cannot be removed is passed over and the rest goes. Needs a bounded number of descriptors
// and no stack, however deep the tree is. A folder that is moved elsewhere while it is being
// emptied ends the removal. Lack of memory ends it with ENOMEM.
RemovalResult removeTree(int folder, const std::string& name, TreeKind kind,
                         const StopToken& stop = {}) noexcept;

// Removes all that is in the open folder, a tree of our own, likewise and leaves the folder itself.
// On this thread alone, with so many descriptors at most besides the folder's. Returns 0 or the
// first error.
inline constexpr std::size_t kDescriptorsToEmpty = 2;
int emptyFolder(int folder) noexcept;

// As FileManager::removeItem. Stopped, it is ECANCELED, and what has not been removed is still
// there. Returns 0 or the error number, ENOMEM for lack of memory.
int removePath(const std::string& path, const StopToken& stop = {}) noexcept;

}  // namespace quillmoor::platform::posix
