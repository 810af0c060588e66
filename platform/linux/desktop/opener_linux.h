// Starting applications and opening documents.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The program of an application folder: CFBundleExecutable in Contents/Linux, else in
// Contents/MacOS, else the only program in Contents/Linux. nil when there is none.
OptionalPath programOfApplication(const std::string& folder);

// Starts `program` in its own session, with the root folder as its working folder, the null device
// as its standard streams, default signals and no other descriptor. It may outlive this process,
// and is reaped when it ends earlier. Returns false when it could not be started.
bool startOnItsOwn(const std::string& program, const StringList& arguments);

// As Applications::openFile: starts the application at `path`, or has the desktop open the item.
bool openFile(const std::string& path);

}  // namespace quillmoor::platform::linux_
