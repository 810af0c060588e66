// Folders made with all that lie above them.
#pragma once

#include <string>

namespace quillmoor::platform::posix {

// As FileManager::createDirectoryWithIntermediates; answers 0 or the error number.
int createFolders(const std::string& path);

}  // namespace quillmoor::platform::posix
