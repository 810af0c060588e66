// Desktop entries, written.
#pragma once

#include <string>

namespace quillmoor::platform::linux_ {

// The whole text of the entry of an application called `name` that `program`, an absolute path,
// starts. Neither a line's end, a quote nor a percent sign in them makes it mean anything else.
// Control characters in the name are left out.
std::string desktopEntryText(const std::string& name, const std::string& program);

}  // namespace quillmoor::platform::linux_
