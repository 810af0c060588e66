// The file operations as a client calls them.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::probe {

// words[1] names the operation and words[2] its form: "short", "yes" or "no" for whether it may use
// the session, "timeout" with some seconds to wait. The paths follow. Returns YES or NO, "done" for
// an operation without a result, and the items of a list separated by tabs.
std::string callFileManager(const StringList& words);

// What the guard protects, separated by tabs, each once.
std::string protectedFolders(const StringList&);

}  // namespace quillmoor::probe
