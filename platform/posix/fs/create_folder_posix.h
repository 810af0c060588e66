// Making a folder and those above it.
#pragma once

#include <string>

namespace quillmoor::platform::posix {

// As FileManager::createDirectoryWithIntermediates; returns 0 or the error number. Folders that
// root makes in a user's home belong to that user.
int createFolders(const std::string& path);

}  // namespace quillmoor::platform::posix
