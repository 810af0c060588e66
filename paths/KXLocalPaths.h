// Standard locations, scratch names and the user they belong to.
#pragma once

#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/locations.h"

namespace quillmoor {

enum class ExactMatch : bool { No, Yes };

// The paths of the standard folders. A library like this often runs as root (real user id 0), for
// whom the system would return root's own home; every result that depends on the user is then that
// of the user who is logged in at the console.
//
// Nothing is created, and nothing is cached: each call asks the system again. May be called from
// any thread; reports nothing. Throws std::bad_alloc only, instead of returning nil for a lack of
// memory: a missing path would leave a folder unprotected. nil for a folder that the system does
// not have.
class KXLocalPaths {
  public:
    KXLocalPaths() = delete;

    // Folders by kind ---------------------------------------------------------------------------

    // `pathForDirectory:forUserDomain:`: the first folder of that kind in those domains. For root
    // and exactly the user domain, root's home in it is replaced by userDirectory().
    static OptionalPath pathForDirectory(platform::SearchPathDirectory directory,
                                         platform::SearchPathDomainMask forUserDomain);

    // `applicationDirectory:`: ~/Applications or /Applications.
    static OptionalPath applicationDirectory(UserDomain userDomain);
    // `adminApplicationDirectory:`: the Utilities folder.
    static OptionalPath adminApplicationDirectory(UserDomain userDomain);
    // `documentDirectory:`
    static OptionalPath documentDirectory(UserDomain userDomain);
    // `libraryDirectory:`: ~/Library or /Library.
    static OptionalPath libraryDirectory(UserDomain userDomain);
    // `prefsDirectory:`: Preferences in the Library folder.
    static OptionalPath prefsDirectory(UserDomain userDomain);
    // `cacheDirectory:`
    static OptionalPath cacheDirectory(UserDomain userDomain);
    // `appSupportDirectory:`
    static OptionalPath appSupportDirectory(UserDomain userDomain);
    // `logDirectory:`: Logs in the Library folder.
    static OptionalPath logDirectory(UserDomain userDomain);
    // `movieDirectory`: the user's.
    static OptionalPath movieDirectory();
    // `desktopDirectory`: the user's.
    static OptionalPath desktopDirectory();
    // `systemLibraryDirectory`: /System/Library.
    static OptionalPath systemLibraryDirectory();
    // `localDocumentationDirectory`: the machine-wide Documentation folder.
    static OptionalPath localDocumentationDirectory();

    // The user ----------------------------------------------------------------------------------

    // `trashDirectory`: .Trash in userDirectory(), never a volume's own.
    static OptionalPath trashDirectory();
    // `darwinCacheDirectory`: the system's per-user cache folder, as the system gives it.
    static OptionalPath darwinCacheDirectory();
    // `userDirectory`: the user's home. For root, the console user's; while no user is logged in
    // there, the home that the system returns for no name.
    static OptionalPath userDirectory();
    // `username`: the user's short name. For root, the console user's or nil.
    static OptionalString username();
    // `currentConsoleUser`: the short name of the user logged in at the console; nil when there is
    // none, and at the login screen.
    static OptionalString currentConsoleUser();

    // `isPathOnTimeMachineVolume:`: the path begins with "/Volumes/" and has a component
    // "Backups.backupdb". Examines the text only.
    static bool isPathOnTimeMachineVolume(const OptionalPath& path);

    // The guard ---------------------------------------------------------------------------------
    // Paths that must never be removed, put into the Trash or moved with administrator rights. Only
    // the text is compared: links are not resolved, . and .. are not removed, and case matters. A
    // trailing slash is removed together with the character before it, so /Volumes/ is not
    // recognised.

    // `isPathSystemDirectory:exactMatch:`: true for "/", the user's and the machine's standard
    // folders, /Users/Shared and /Volumes. Without an exact match also for every path that begins
    // with the characters /usr, /var, /private/var or /System. False for nil, and for every other
    // path shorter than three characters.
    static bool isPathSystemDirectory(const OptionalPath& path, ExactMatch exactMatch);
    // `isPathSystemDirectory:`: without an exact match.
    static bool isPathSystemDirectory(const OptionalPath& path);

    // Scratch names -----------------------------------------------------------------------------

    // `tempDirectory`: the user's temporary folder.
    static std::string tempDirectory();
    // `uuid`: a new unique string on every call.
    static std::string uuid();
    // `randomString:`: `length` letters a to z and digits. Seeds the process's generator (srand)
    // from the clock on every call: two calls within one tick return the same, and other users of
    // rand() get a new sequence. The result can be guessed: do not use it as a secret.
    static std::string randomString(unsigned length);
    // `tempFile`: a new path in the temporary folder. Nothing is created, and whether an item
    // exists there is not checked: in a folder that others may write to, another user can create
    // it first.
    static std::string tempFile();
};

}  // namespace quillmoor
