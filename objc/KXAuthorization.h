// The process's one authorization session, and the file operations that use it.
//
//   KXAuthorization *session = [KXAuthorization sharedController];
//   if ([session authTrashFile:@"/Library/Startup/old.tool"])   // asks for a password when it must
//       …                                                       // the move has been started
#import "KXDefines.h"
#import "KXPlatformTypes.h"

NS_ASSUME_NONNULL_BEGIN

// Administrator rights are requested when the first operation needs them, and kept until the
// process exits. A process of root (real user id 0) has them without a request.
//
// +sharedController and +allocWithZone: may be called from any thread. Everything else must be
// called by one thread at a time, and blocks it while the user is asked. Refusals are reported on
// the system console; +[KXFailure lastFailure] is the reason of a failure. In a process of root an
// exception is raised when the system cannot start a tool: for a lack of resources, or because an
// argument contains a NUL or is too long.
@interface KXAuthorization : NSObject {
  @private
    void* _session;
}

// The session -----------------------------------------------------------------------------------
// It cannot be copied, released or counted: -retain, -autorelease and -copyWithZone: return it,
// -release does nothing, and -retainCount is 4294967295.

// The session, created by the first call. That call alone decides whether the user may be asked, by
// default yes.
+ (nullable KXAuthorization*)sharedController;
+ (nullable KXAuthorization*)sharedController:(BOOL)withGUI
    NS_SWIFT_NAME(sharedController(withGUI:));

// On the first call the one instance, which becomes the shared one; afterwards nil.
+ (nullable instancetype)allocWithZone:(nullable NSZone*)zone;

// Begin without rights, or with those that a parent process with administrator rights has passed to
// this one, and store the user's home unless this is root. The user is not asked.
- (nullable instancetype)init;
- (nullable instancetype)initWithoutGUI;

- (id)copyWithZone:(nullable NSZone*)zone;

// -authEnd. The library never calls it: nothing can release the session.
- (void)finalize;

// Asks the user, unless rights are held already. NO when there is no user interface (reported on
// the console), and when the request fails, is refused or cancelled (not reported).
- (BOOL)authStart;

// Requests rights with these credentials and without asking the user. Rights that are held already
// are replaced; their reference is not freed. NO when either is nil; YES for root in any case. A
// refusal is reported on the console and in the log. The library erases its own copies; the
// caller's strings remain.
- (BOOL)authStartWithUser:(nullable NSString*)user password:(nullable NSString*)password;

// Releases the rights. Tools that were started with them continue.
- (void)authEnd;

// The setter neither frees the old reference nor copies the new.
@property(assign, nullable) AuthorizationRef authRef;

// Rights are held, or this is root.
- (BOOL)isAuthorized;

// The user may be asked, or this is root.
- (BOOL)canAuthorize;

// The user may be asked.
@property(assign) BOOL hasGUI;

// File operations -------------------------------------------------------------------------------
// Each runs one of the system's own tools with administrator rights. YES means that the tool was
// started: it may still run, and its exit status is not examined.
//
// Removing, trashing or moving a folder that KXLocalPaths protects is refused before the user is
// asked. Only the path's text is checked: the tool follows links on the way to an item.

// Removes an item, a folder with its contents. A link itself is removed, not its target.
- (BOOL)authRemoveFile:(nullable NSString*)path;

// Moves an item into the user's Trash. If the name exists there, the date and time are added to it,
// once: a second item of that name within the same second replaces the first. With YES in root's
// own account the item is left unchanged, and the item in the Trash that has its new name is
// removed.
- (BOOL)authTrashFile:(nullable NSString*)path;
- (BOOL)authTrashFile:(nullable NSString*)path deleteOnRootAccount:(BOOL)deleteOnRootAccount;

// Moves every entry of a folder, hidden ones included, into the Trash; in root's own account, with
// YES, removes it instead. The folder itself stays. All entries are tried. YES when the tool was
// started for each, and when there are none or they cannot be listed.
- (BOOL)authTrashFolderContents:(nullable NSString*)folder;
- (BOOL)authTrashFolderContents:(nullable NSString*)folder
            deleteOnRootAccount:(BOOL)deleteOnRootAccount;

// Moves every entry into the folder `toPath`, which is neither checked nor created. All entries are
// tried. YES as above.
- (BOOL)authMoveFolderContents:(nullable NSString*)folder toPath:(nullable NSString*)toPath;

// Moves an item to `toPath`, and replaces an existing file there; if `toPath` is an existing
// folder, the item is moved into it. NO when nothing exists at `path`, and when either path is nil.
- (BOOL)authMoveFile:(nullable NSString*)path toPath:(nullable NSString*)toPath;

// Copies an item with modes, owners and dates, links as links. An existing destination as for
// -authMoveFile:toPath:. Protected folders may be copied. NO as above.
- (BOOL)authCopyFile:(nullable NSString*)path toPath:(nullable NSString*)toPath;

// Creates a folder with those above it. Unless this is root, waits 500 microseconds for the tool
// after it was started.
- (BOOL)authCreateDir:(nullable NSString*)path;

// Tools -----------------------------------------------------------------------------------------

// Starts a tool as root, by default with async YES. Returns 0 when it was started; -2, reported on
// the console, when nothing exists at the path; -1 when rights are not granted; otherwise the
// system's status. With async NO it returns when the tool has closed its output, normally at its
// end. The exit status is not examined. `parameters` hold strings only: with anything else nothing
// is started, and NSInvalidArgumentException is raised.
//
// Unless this is root, the tool has root as its effective user only: a shell gives that up unless
// it is started with -p. The tool's process is not collected before this program ends.
- (OSStatus)authExecTask:(nullable NSString*)path parameters:(nullable NSArray*)parameters;
- (OSStatus)authExecTask:(nullable NSString*)path
              parameters:(nullable NSArray*)parameters
                   async:(BOOL)async;

@end

NS_ASSUME_NONNULL_END
