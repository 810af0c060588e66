// The text of desktop entries.
#pragma once

#include <string>

namespace quillmoor::platform::linux_ {

// The whole text of the entry for an application with the name `name` and the program `program`, an
// absolute path. Newlines, quotes and percent signs in them are escaped. Control characters in the
// name are left out.
std::string desktopEntryText(const std::string& name, const std::string& program);

}  // namespace quillmoor::platform::linux_
