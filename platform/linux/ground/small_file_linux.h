// Small files that somebody else may have written.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

namespace quillmoor::platform::linux_ {

// The whole file. nil when it is missing, cannot be read, is not a regular file or holds more than
// `limit` bytes. Follows links and never waits, whatever stands at `path`.
std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit);

// The same for a file in a folder that `owner` rules: nil also when `path` is a link itself or the
// file belongs to anybody else, so that nobody has the super-user read what they may not.
std::optional<std::string> readSmallFileOf(uid_t owner, const std::string& path, std::size_t limit);

}  // namespace quillmoor::platform::linux_
