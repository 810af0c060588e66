// Records of the original path of an item in the Trash.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace quillmoor::platform::linux_ {

// The suffix of a record's name after the item's.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

// The whole text of a record. `path` is absolute; its bytes are percent-encoded except for the
// unreserved characters and the slash. The date is local time, as the format requires.
std::string trashInfo(std::string_view path, std::time_t deleted);

}  // namespace quillmoor::platform::linux_
