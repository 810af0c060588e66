// Folders reached from an open one, never through a link and never out of it.
#pragma once

#include <string_view>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Opens the folder `path` below the open folder `root` for reading its entries; "" is `root`
// itself. Returns 0 or the error number, and `folder` is then left unchanged: ELOOP or ENOTDIR for
// a link on the way, EXDEV for an absolute path and one with a "..", ENAMETOOLONG for one that is
// too long for a single system call. Any thread.
int openFolderBeneath(int root, std::string_view path, Descriptor& folder);

}  // namespace quillmoor::platform::posix
