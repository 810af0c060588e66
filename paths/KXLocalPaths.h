// Standard locations, scratch names and the user they belong to.
#pragma once

#include <string>

#include "quillmoor/base/types.h"
#include "quillmoor/platform/locations.h"

namespace quillmoor {

enum class ExactMatch : bool { No, Yes };

// Where the standard folders lie. A library like this often runs as the super-user, where the
// system would answer with the super-user's own home; every answer that depends on the user is then
// that of the user logged in at the console.
//
// Nothing is created and nothing is cached: each call asks anew. May be called from any thread,
// reports nothing and throws nothing but std::bad_alloc: a missing path would leave a folder
// unprotected. A folder that the system does not have is nil.
class KXLocalPaths {
  public:
    KXLocalPaths() = delete;

    // Folders by kind ---------------------------------------------------------------------------

    // `pathForDirectory:forUserDomain:`: the first folder of that kind in those domains. For the
    // super-user and exactly the user domain, the super-user's home in it is replaced by
    // userDirectory().
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
    // `userDirectory`: the user's home. For the super-user, the console user's; while nobody is
    // logged in there, what the system answers for no name.
    static OptionalPath userDirectory();
    // `username`: the user's short name. For the super-user, the console user's or nil.
    static OptionalString username();
    // `currentConsoleUser`: the short name of the user logged in at the console; nil when there is
    // none and at the login screen.
    static OptionalString currentConsoleUser();

    // `isPathOnTimeMachineVolume:`: the path begins with "/Volumes/" and has a component
    // "Backups.backupdb". Looks at the text only.
    static bool isPathOnTimeMachineVolume(const OptionalPath& path);

    // The guard ---------------------------------------------------------------------------------
    // What must never be removed, put into the Trash or moved with administrator rights. The test
    // is of the text: links, . and .. and the case of letters count as they stand, and a slash at
    // the end takes the character before it along (/Volumes/ is not recognised).

    // `isPathSystemDirectory:exactMatch:`: the root, or one of the user's and the machine's
    // standard folders, /Users/Shared and /Volumes. Without an exact match also everything that
    // begins with /usr, /var, /private/var or /System. nil and paths shorter than three characters
    // are not.
    static bool isPathSystemDirectory(const OptionalPath& path, ExactMatch exactMatch);
    // `isPathSystemDirectory:`: without an exact match.
    static bool isPathSystemDirectory(const OptionalPath& path);

    // Scratch names -----------------------------------------------------------------------------

    // `tempDirectory`: the user's temporary folder.
    static std::string tempDirectory();
    // `uuid`: a new unique string on every call.
    static std::string uuid();
    // `randomString:`: `length` letters a to z and digits. Seeds the process's generator (srand)
    // from the clock on every call: two calls within one tick answer the same, and other users of
    // rand() are disturbed. No secret.
    static std::string randomString(unsigned length);
    // `tempFile`: a fresh path in the temporary folder. Nothing is created, and whether something
    // is there already is not looked at.
    static std::string tempFile();
};

}  // namespace quillmoor
