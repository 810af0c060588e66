// Standard folders, by kind and domain.
#pragma once

#include <optional>
#include <string>

#include "quillmoor/platform/locations.h"
#include "quillmoor/platform/posix/ground/users_posix.h"

namespace quillmoor::platform::linux_ {

// Whose folders the user domain means.
struct UserDomainFolders {
    std::string root;                    // what the answers begin with
    std::string home;                    // where the user's own settings place folders
    std::string settingsFile;            // the user's user-dirs.dirs; empty for none
    std::optional<uid_t> settingsOwner;  // whose it must be; nil when it is this process's own
};

UserDomainFolders foldersOfThisUser();

// The answers begin with /var/root, as the library expects of the super-user; the names of the
// folders are those of the user at the console.
UserDomainFolders foldersOfSuperUser(const std::optional<posix::User>& consoleUser);

// User before local before system.
StringList standardFolders(const UserDomainFolders& user, SearchPathDirectory directory,
                           SearchPathDomainMask domain);

}  // namespace quillmoor::platform::linux_
