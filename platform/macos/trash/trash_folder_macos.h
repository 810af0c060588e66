// The folder of a user's Trash.
#pragma once

#include <string>

namespace quillmoor::platform::macos {

// As Trash::prepareTrash: `destination` is the folder .Trash of a home. May be called from any
// thread.
bool prepareTrashFolder(const std::string& destination);

}  // namespace quillmoor::platform::macos
