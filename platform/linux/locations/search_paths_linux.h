// Standard folders, by kind and domain.
#pragma once

#include <optional>
#include <string>

#include "quillmoor/platform/locations.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_ {

// The user whose folders the user domain contains.
struct UserDomainFolders {
    std::string root;                    // what the results begin with
    std::string home;                    // the home that the user's settings refer to
    std::string settingsFile;            // the user's user-dirs.dirs; empty for none
    std::optional<uid_t> settingsOwner;  // the file's required owner; nil for this process's own
};

UserDomainFolders foldersOfThisUser();

// The results begin with /var/root, which the library expects for root; the names of the folders
// are those of the user at the console.
UserDomainFolders foldersOfRoot(const std::optional<posix::User>& consoleUser);

// User before local before system.
StringList standardFolders(const UserDomainFolders& user, SearchPathDirectory directory,
                           SearchPathDomainMask domain);

}  // namespace quillmoor::platform::linux_
