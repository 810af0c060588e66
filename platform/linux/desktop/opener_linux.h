// Starting applications and opening documents.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The program of an application folder: CFBundleExecutable in Contents/Linux, else in
// Contents/MacOS, else the only program in Contents/Linux. nil when there is none.
OptionalPath programOfApplication(const std::string& folder);

// Starts `program` in a session of its own, with the root folder as its working folder, nothing on
// its standard streams, the usual signals and no other descriptor. It outlives this process and is
// reaped when it ends before. NO when it could not be started.
bool startOnItsOwn(const std::string& program, const StringList& arguments);

// `openFile:`: starts the application at `path`, or has the desktop open what is there.
bool openFile(const std::string& path);

}  // namespace quillmoor::platform::linux_
