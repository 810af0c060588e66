// The folder of the user's own desktop entries.
#pragma once

#include <string>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::linux_ {

// applications in this user's data folder, its path and the open folder, made where it is missing.
// Answers 0 or the error number.
int openOwnEntryFolder(std::string& path, posix::Descriptor& folder);

// For the super-user: .local/share/applications in the home of the user at the console, made where
// it is missing, as that user's. No link below the home is followed. ENOENT when nobody is there.
int openConsoleUsersEntryFolder(posix::Descriptor& folder);

// Writes a whole entry, replacing one of that name; as the super-user in another user's home, for
// that user. Answers 0 or the error number.
int writeEntry(const posix::Descriptor& folder, const std::string& name, const std::string& text);

}  // namespace quillmoor::platform::linux_
