// Records that tell where an item in the Trash came from.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace quillmoor::platform::linux_ {

// What the name of an item's record ends in.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

// The whole text of a record. `path` is absolute; its bytes are percent-encoded but for the
// unreserved characters and the slash. The date is local time, as the format has it.
std::string trashInfo(std::string_view path, std::time_t deleted);

}  // namespace quillmoor::platform::linux_
