// Names that the file operations generate.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillmoor::platform::posix {

// .NAME.XXXXXX, with six random characters; a long name is cut so that any file system accepts it.
std::string temporaryName(std::string_view name);

// How many temporary names are tried before EEXIST is reported.
inline constexpr int kTemporaryNameAttempts = 100;

// The name cut to at most `limit` bytes, between two characters and before its extension.
std::string shortenedName(std::string_view name, std::size_t limit);

}  // namespace quillmoor::platform::posix
