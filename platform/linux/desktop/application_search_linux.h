// Finding installed applications.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// Where applications are looked for.
struct ApplicationFolders {
    StringList bundles;  // each holds *.app, or folders that do
    StringList entries;  // each holds desktop entries; an earlier one hides those of the same name
};

// The application folders of the user and of the machine, /opt, and the desktop's data folders. For
// the super-user the user is the one at the console.
ApplicationFolders applicationFolders();

// The bundle whose information dictionary bears `identifier`, ASCII letters in either case. Else
// what the desktop entry <identifier>.desktop starts, if that is installed: its bundle, or the
// program itself where it lies in none. nil when there is neither.
OptionalPath findApplication(const ApplicationFolders& folders, const std::string& identifier);

}  // namespace quillmoor::platform::linux_
