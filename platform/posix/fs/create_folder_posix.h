// Making a folder and those above it.
#pragma once

#include <string>

namespace quillmoor::platform::posix {

// As FileManager::createDirectoryWithIntermediates; returns 0 or the error number. Folders that
// root makes in a user's home belong to that user. Sets `madeSomething`, if it is given, when a
// folder was made, also before a failure.
int createFolders(const std::string& path, bool* madeSomething = nullptr);

}  // namespace quillmoor::platform::posix
