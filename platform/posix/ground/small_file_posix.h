// Reading small files that another user may have written.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

namespace quillmoor::platform::posix {

// The whole file. nil when it is missing, cannot be read, is not a regular file or has more than
// `limit` bytes. Follows links. Never waits, also when `path` is a pipe or a device.
std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit);

// The same for a file in a folder that `owner` controls: nil also when `path` is a link itself or
// the file has another owner, so that no user can make root read a file that the user may not read.
std::optional<std::string> readSmallFileOf(uid_t owner, const std::string& path, std::size_t limit);

}  // namespace quillmoor::platform::posix
