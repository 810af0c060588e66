// Standard locations, scratch names and the user they belong to.
#import "KXDefines.h"

NS_ASSUME_NONNULL_BEGIN

// The paths of the standard folders. A library like this often runs as root (real user id 0), for
// whom the system would return root's own home; every result that depends on the user is then that
// of the user who is logged in at the console.
//
// Class methods only; the class keeps no state. Nothing is created, and nothing is cached: each
// call asks the system again. May be called from any thread that has an autorelease pool; reports
// nothing. The only exception raised is that of a lack of memory: a missing path would leave a
// folder unprotected. nil for a folder that the system does not have, and for one whose path is not
// valid UTF-8.
@interface KXLocalPaths : NSObject

// Folders by kind -------------------------------------------------------------------------------

// The first folder of that kind in those domains. For root and exactly the user domain, root's home
// in it is replaced by +userDirectory.
+ (nullable NSString*)pathForDirectory:(NSSearchPathDirectory)directory
                         forUserDomain:(NSSearchPathDomainMask)domain
    NS_SWIFT_NAME(path(forDirectory:userDomain:));

// YES selects the folder inside the user's home, NO the machine-wide one.

// ~/Applications or /Applications.
+ (nullable NSString*)applicationDirectory:(BOOL)userDomain
    NS_SWIFT_NAME(applicationDirectory(userDomain:));
// The Utilities folder.
+ (nullable NSString*)adminApplicationDirectory:(BOOL)userDomain
    NS_SWIFT_NAME(adminApplicationDirectory(userDomain:));
+ (nullable NSString*)documentDirectory:(BOOL)userDomain
    NS_SWIFT_NAME(documentDirectory(userDomain:));
// ~/Library or /Library.
+ (nullable NSString*)libraryDirectory:(BOOL)userDomain
    NS_SWIFT_NAME(libraryDirectory(userDomain:));
// Preferences in the Library folder.
+ (nullable NSString*)prefsDirectory:(BOOL)userDomain NS_SWIFT_NAME(prefsDirectory(userDomain:));
+ (nullable NSString*)cacheDirectory:(BOOL)userDomain NS_SWIFT_NAME(cacheDirectory(userDomain:));
+ (nullable NSString*)appSupportDirectory:(BOOL)userDomain
    NS_SWIFT_NAME(appSupportDirectory(userDomain:));
// Logs in the Library folder.
+ (nullable NSString*)logDirectory:(BOOL)userDomain NS_SWIFT_NAME(logDirectory(userDomain:));
// The user's.
+ (nullable NSString*)movieDirectory;
// The user's.
+ (nullable NSString*)desktopDirectory;
// /System/Library.
+ (nullable NSString*)systemLibraryDirectory;
// The machine-wide Documentation folder.
+ (nullable NSString*)localDocumentationDirectory;

// The user --------------------------------------------------------------------------------------

// .Trash in +userDirectory, never a volume's own.
+ (nullable NSString*)trashDirectory;
// The system's per-user cache folder, as the system gives it.
+ (nullable NSString*)darwinCacheDirectory;
// The user's home. For root, the console user's; while no user is logged in there, the home that
// the system returns for no name.
+ (nullable NSString*)userDirectory;
// The user's short name. For root, the console user's or nil.
+ (nullable NSString*)username;
// The short name of the user logged in at the console; nil when there is none, and at the login
// screen.
+ (nullable NSString*)currentConsoleUser;

// YES when the path begins with "/Volumes/" and has a component "Backups.backupdb". Examines the
// text only. NO for nil.
+ (BOOL)isPathOnTimeMachineVolume:(nullable NSString*)path;

// The guard -------------------------------------------------------------------------------------
// Paths that must never be removed, put into the Trash or moved with administrator rights. Only the
// text is compared: links are not resolved, . and .. are not removed, and case matters. A trailing
// slash is removed together with the character before it, so /Volumes/ is not recognised.

// YES for "/", the user's and the machine's standard folders, /Users/Shared and /Volumes. Without
// an exact match also for every path that begins with the characters /usr, /var, /private/var or
// /System. NO for nil, and for every other path shorter than three characters.
+ (BOOL)isPathSystemDirectory:(nullable NSString*)path exactMatch:(BOOL)exactMatch;
// Without an exact match.
+ (BOOL)isPathSystemDirectory:(nullable NSString*)path;

// Scratch names ---------------------------------------------------------------------------------

// The user's temporary folder.
+ (nullable NSString*)tempDirectory;
// A new unique string on every call.
+ (NSString*)uuid;
// `length` letters a to z and digits. Seeds the process's generator (srand) from the clock on every
// call: two calls within one tick return the same, and other users of rand() get a new sequence.
// The result can be guessed: do not use it as a secret.
+ (NSMutableString*)randomString:(unsigned int)length NS_SWIFT_NAME(randomString(length:));
// A new path in the temporary folder. Nothing is created, and whether an item exists there is not
// checked: in a folder that others may write to, another user can create it first.
+ (nullable NSString*)tempFile;

@end

NS_ASSUME_NONNULL_END
