// The folder of the user's own desktop entries.
#pragma once

#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_ {

// applications in this user's data folder, its path and the open folder, made where it is missing.
// Returns 0 or the error number.
int openOwnEntryFolder(std::string& path, posix::Descriptor& folder);

// For root: .local/share/applications in the home of the user at the console, made for that user
// where it is missing. Links below the home are not followed. ENOENT when no user is at the
// console.
int openConsoleUsersEntryFolder(posix::Descriptor& folder);

// Writes a whole entry and replaces one of that name. An entry that root writes in another user's
// home belongs to that user. Returns 0 or the error number.
int writeEntry(const posix::Descriptor& folder, const std::string& name, const std::string& text);

}  // namespace quillmoor::platform::linux_
