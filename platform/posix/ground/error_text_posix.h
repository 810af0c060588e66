// Error texts of the file operations.
#pragma once

#include <string>
#include <string_view>

#include "quillmoor/base/outcome.h"

namespace quillmoor::platform::posix {

// What could not be done to an item.
enum class FileVerb { Removed, Moved, Trashed, Copied, Created, Written, Changed };

// The system's own text for an error number, in English in every locale: Permission denied
std::string systemErrorText(int code);

// “name” couldn’t be removed: Permission denied. The name is the path's last component.
Error fileError(FileVerb verb, std::string_view path, int code);

// A success when `code` is 0.
Outcome fileOutcome(FileVerb verb, std::string_view path, int code, bool isHalfDone = false);

}  // namespace quillmoor::platform::posix
