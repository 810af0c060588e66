// The folders that a user's desktop uses as Documents, Desktop and Videos, whose paths and names
// the user may choose.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// No genuine settings file is longer.
inline constexpr std::size_t kLongestUserDirs = std::size_t{64} << 10;

// The folder that `settings`, the text of a user-dirs.dirs, gives for `kind`, such as DOCUMENTS, in
// `home`. nil when it gives none, or an unusable one: the home itself, by which the user has no
// such folder, a folder above the home, or a path with . or .. in it.
OptionalPath userDir(std::string_view settings, std::string_view kind, const std::string& home);

}  // namespace quillmoor::platform::linux_
