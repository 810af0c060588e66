// Writing a whole file in one step.
#pragma once

#include <string>
#include <string_view>

namespace quillmoor::platform::posix {

// As FileManager::writeAtomically; returns 0 or the error number. After a failure the temporary
// file is removed.
//
// Nothing is synced to the disk: other processes see the old file or the new one, but a power
// failure may lose either.
int writeFileAtomically(const std::string& path, std::string_view contents);

}  // namespace quillmoor::platform::posix
