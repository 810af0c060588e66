// The folders that a user's desktop calls Documents, Desktop and Videos, wherever they lie and
// whatever they are named.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// No honest file of settings is longer.
inline constexpr std::size_t kLongestUserDirs = std::size_t{64} << 10;

// The folder that `settings`, the text of a user-dirs.dirs, gives for `kind`, as DOCUMENTS, in
// `home`. nil when it gives none, or one that is no folder of that kind: the home itself, which
// says that the user has none, a folder above the home, or a path with . or .. in it.
OptionalPath userDir(std::string_view settings, std::string_view kind, const std::string& home);

}  // namespace quillmoor::platform::linux_
