// Finding installed applications.
#pragma once

#include <string>

#include "quillmoor/base/types.h"

namespace quillmoor::platform::linux_ {

// The folders in which applications are searched for.
struct ApplicationFolders {
    StringList bundles;  // each has *.app, or folders that have them
    StringList entries;  // each has desktop entries; an earlier one hides those of the same name
    // Searched before these, for root: entries of the user at the console, which may name any
    // program. Only a bundle that has the identifier counts, and they hide nothing.
    OptionalPath consoleEntries;
};

// The application folders of the user and of the machine, /opt, and the desktop's data folders. For
// root the user is the one at the console.
ApplicationFolders applicationFolders();

// The bundle whose information dictionary has `identifier`, without regard to the case of ASCII
// letters. Else the program that the desktop entry <identifier>.desktop starts, if it is installed:
// its bundle, or the program itself where it is not in one. nil when there is neither.
OptionalPath findApplication(const ApplicationFolders& folders, const std::string& identifier);

}  // namespace quillmoor::platform::linux_
