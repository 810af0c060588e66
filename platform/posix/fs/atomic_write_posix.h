// Files that are there whole or not at all.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::platform::posix {

// As FileManager::writeAtomically; answers 0 or the error number.
//
// Nothing is forced to the disk: the promise is made to other processes, which see the old file or
// the new one, and not for a power failure.
int writeFileAtomically(const std::string& path, std::string_view contents);

}  // namespace quillmoor::platform::posix
