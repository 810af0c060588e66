// Paths in this process's environment.
#pragma once

#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// Returns "/home/al" for "/home/al/"; the root folder is unchanged.
std::string withoutTrailingSlashes(std::string_view path);

// The variable's value when it is an absolute path, without trailing slashes; nil otherwise, and in
// a program that has more privileges than its caller, which could mislead it.
OptionalPath absolutePathInEnvironment(const char* variable);

// $HOME, else the effective user's home in the password database, else the root folder.
std::string homeOfThisProcess();

// The folders in a colon-separated list of paths; those that are not absolute are left out. Where
// the variable is missing or empty, `standard` is the list.
StringList foldersInEnvironment(const char* variable, const char* standard);

}  // namespace quillmoor::platform::linux_
