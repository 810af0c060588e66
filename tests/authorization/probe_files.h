// The file operations as a client calls them.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// words[1] names the operation and words[2] its form: "short", "yes" or "no" for what it is told of
// rights, "timeout" with some seconds to wait. The paths follow. Answers YES or NO, and "done" for
// what has no answer; for a list, its items separated by tabs.
std::string callFileManager(const StringList& words);

// What the guard protects, separated by tabs, each once.
std::string protectedFolders(const StringList&);

}  // namespace quillmoor::probe
