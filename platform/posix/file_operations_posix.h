// Copies in the background by the file engine, for a system that has no such copies of its own.
#pragma once

#include "quillmoor/platform/file_operations.h"

namespace quillmoor::platform::posix {

// The same object on each call, never destroyed. Operations of another service are refused. May be
// called from any thread.
FileOperations* sharedFileOperations();

}  // namespace quillmoor::platform::posix
