// What this process's environment says about places.
#pragma once

#include <string>
#include <string_view>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// "/home/al/" gives "/home/al"; the root folder stays.
std::string withoutTrailingSlashes(std::string_view path);

// The variable's value when it is an absolute path, without trailing slashes; nil otherwise, and in
// a program that runs with more rights than its caller.
OptionalPath absolutePathInEnvironment(const char* variable);

// $HOME, else what the password database says of the effective user, else the root folder.
std::string homeOfThisProcess();

// The folders named by a list of absolute paths with colons between them; others are left out.
// Where the variable is missing or empty, `standard` is the list.
StringList foldersInEnvironment(const char* variable, const char* standard);

}  // namespace quillmoor::platform::linux_
