// File operations for a maker's products.
//
//   [KXFileManager moveFile:path toPath:newPath timeout:30];
//
// The methods are in categories by subject:
//   Querying, Trashing, Removing, Creating, Copying, CopyingInTheBackground, Moving, Attributes,
//   Waiting, Names, ColourLabels, Archives
#import <AppKit/AppKit.h>

#import "KXDefines.h"
#import "KXPlatformTypes.h"

NS_ASSUME_NONNULL_BEGIN

// Class methods only, and no state; may be used from any thread. A failure is returned (NO, nil, 0
// or an empty list) and never raised, except by +touchFile:; exceptions and a lack of memory are
// logged. +[KXFailure lastFailure] is the reason of a failure. No method expands a tilde or
// normalises a path. A nil path counts as a missing item. A result that is not valid UTF-8 is nil,
// or left out of a list.
//
// A path without a leading slash is relative to the process's current folder, except in a wildcard
// pattern; a name without a folder part is an item of that folder. The tools that some methods
// start take a path that begins with a dash as an option: pass ./-name instead.
//
// Methods that remove, move, copy or create have up to three forms:
//   short            the next one with YES
//   with shouldAuth  as the process's own user first; if that fails, and with YES, with
//                    administrator rights (see KXAuthorization, which may ask the user). The result
//                    is then that of the second attempt: YES means that a tool was started.
//   with timeout     the short form, then a wait until the file system shows the result, in whole
//                    seconds. On the main thread user-interface events are sent meanwhile, so that
//                    other code may run; any other thread checks every 0.3 s. Zero and less do not
//                    wait. NO after the wait does not stop the operation.
@interface KXFileManager : NSObject
@end

@interface KXFileManager (Querying)

// `fileExistsAtPath:`: follows links, so that a dangling one does not exist.
+ (BOOL)fileExistsAtPath:(nullable NSString*)path;
// `isDirectoryAtPath:`: a folder, or a link to one.
+ (BOOL)isDirectoryAtPath:(nullable NSString*)path;
// `isPackageAtPath:`: a folder that the desktop shows as one file.
+ (BOOL)isPackageAtPath:(nullable NSString*)path;
// `isSymbolicLinkAtPath:`: YES for every symbolic link, including dangling ones.
+ (BOOL)isSymbolicLinkAtPath:(nullable NSString*)path;

// `isVolumeMountedForPath:`: for a path that begins with /Volumes and has three components or
// more, whether an item exists at the first three; YES for every other path.
+ (BOOL)isVolumeMountedForPath:(nullable NSString*)path;
// `isDriveMountedForPath:`: the same for paths that begin with /Volumes/. Writes the mount
// point to the console.
+ (BOOL)isDriveMountedForPath:(nullable NSString*)path;

// `isFolderEmpty:`: whether a folder contains nothing but .DS_Store, the custom icon's file,
// and folders that are empty in the same sense. Links to folders are followed; a link back to a
// folder on the way down counts as content. YES for what cannot be listed.
+ (BOOL)isFolderEmpty:(nullable NSString*)path;

// `fileSize:`: the bytes of a file, or of all files in a folder, hidden ones included. Links to
// folders are followed, but a folder that is already on the way down is not counted again;
// other links count with their own size. Folders, resource forks and extended attributes do not
// count. What is missing or unreadable counts 0. Large trees are counted on several threads.
+ (unsigned long long)fileSize:(nullable NSString*)path;

// `formatFileSize:`: 1023 B, 1.50 KB, 1.00 MB, 1024.00 GB; units are powers of 1024.
+ (NSString*)formatFileSize:(double)bytes;

// `stringToFSRef:`: a reference to an item; empty when nothing exists at the path.
+ (FSRef)stringToFSRef:(nullable NSString*)path;
// `stringWithFSRef:`: the item's path; nil for NULL, and when the item is no longer there.
+ (nullable NSString*)stringWithFSRef:(nullable const FSRef*)reference;

// `registerApplicationWithLaunchServices:`: registers an application with the desktop, also if
// it is registered already.
+ (BOOL)registerApplicationWithLaunchServices:(nullable NSString*)path;

// `notifyFileSystemChanged:`: asks the file manager to refresh open windows of the folder. A
// failure is not reported.
+ (void)notifyFileSystemChanged:(nullable NSString*)path;

@end

@interface KXFileManager (Trashing)

// `trashFile:` and its forms: unlocks an item and moves it into the user's Trash; if its name
// exists there, a number is added to it. YES when nothing exists at the path; a dangling link
// counts as missing and is left unchanged. If the item is on another file system and a part of
// it becomes unremovable while it is copied: as for +moveFile:toPath:.
+ (BOOL)trashFile:(nullable NSString*)path;
+ (BOOL)trashFile:(nullable NSString*)path shouldAuth:(BOOL)shouldAuth;
// YES when nothing exists at the path in the end.
+ (BOOL)trashFile:(nullable NSString*)path timeout:(NSInteger)timeout;

// `trashDirectoryContents:` and `trashDirectoryContents:shouldAuth:`: moves every entry of the
// folder, hidden ones included, into the Trash; the folder stays. All entries are tried. YES
// when each succeeded, and when there are none or they cannot be listed.
+ (BOOL)trashDirectoryContents:(nullable NSString*)folder;
+ (BOOL)trashDirectoryContents:(nullable NSString*)folder shouldAuth:(BOOL)shouldAuth;

// `trashFilesOfType:inFolder:`: trashes every file with that extension, in any case of letters,
// in a folder and the folders inside it. Packages and links to folders are entered, and no
// folder itself is trashed. Returns the paths of all files that matched, trashed or not.
+ (NSMutableArray*)trashFilesOfType:(nullable NSString*)type inFolder:(nullable NSString*)folder;
// `trashFilesNamed:inFolder:`: the same for files with exactly that name.
+ (NSMutableArray*)trashFilesNamed:(nullable NSString*)name inFolder:(nullable NSString*)folder;

@end

@interface KXFileManager (Removing)

// `removeFile:` and its forms: unlocks an item and removes it, a folder with its contents; a
// link itself and not its target. YES when nothing exists at the path; a dangling link counts
// as missing and is left unchanged. A failure is logged, and leaves what could not be removed.
+ (BOOL)removeFile:(nullable NSString*)path;
+ (BOOL)removeFile:(nullable NSString*)path shouldAuth:(BOOL)shouldAuth;
// YES when nothing exists at the path in the end.
+ (BOOL)removeFile:(nullable NSString*)path timeout:(NSInteger)timeout;

// `removeFolderIfEmpty:`: removes a folder for which +isFolderEmpty: returns YES, with what that
// ignores. NO, and nothing is removed, if one of its folders cannot be listed.
+ (BOOL)removeFolderIfEmpty:(nullable NSString*)folder;

@end

@interface KXFileManager (Creating)

// `createDirectory:` and its forms: creates a folder with those above it. YES for an existing
// folder. NO at once when the volume is not mounted (reported on the console). Another
// failure is logged; folders that were created before it remain.
+ (BOOL)createDirectory:(nullable NSString*)path;
+ (BOOL)createDirectory:(nullable NSString*)path shouldAuth:(BOOL)shouldAuth;
// YES when an item exists at the path in the end.
+ (BOOL)createDirectory:(nullable NSString*)path timeout:(NSInteger)timeout;

// `createDirectoryStructure:destination:`: creates the folder `path`, with its whole path,
// below `destination`; if `path` is a file, a package or missing, the folder that contains it.
// Returns the new folder's path, also if it could not be created; nil when either path is nil.
+ (nullable NSString*)createDirectoryStructure:(nullable NSString*)path
                                   destination:(nullable NSString*)destination;

// `createEmptyFile:`: creates a file in the temporary folder and moves it to the path. Never
// replaces an existing item, except with administrator rights as +moveFile:toPath: does. If the
// move fails, the file remains in the temporary folder.
+ (BOOL)createEmptyFile:(nullable NSString*)path;

@end

@interface KXFileManager (Copying)

// `copyFile:toPath:` and its forms: copies an item to the path `toPath`, its name included;
// links as links, with modes and dates. The receiving folder, also one that a link leads to, is
// unlocked and stays unlocked. An existing item at the destination is never replaced, except by
// the copy with administrator rights. A failure is logged, and nothing of the copy remains; a
// failed copy with administrator rights leaves what it has written.
+ (BOOL)copyFile:(nullable NSString*)path toPath:(nullable NSString*)toPath;
+ (BOOL)copyFile:(nullable NSString*)path
          toPath:(nullable NSString*)toPath
      shouldAuth:(BOOL)shouldAuth;
// YES when an item exists at the destination in the end.
+ (BOOL)copyFile:(nullable NSString*)path
          toPath:(nullable NSString*)toPath
         timeout:(NSInteger)timeout;

// `copyContentsOfDirectory:toPath:timeout:`: copies every entry, hidden ones included, as
// +copyFile:toPath:timeout: does with that time-out. Ends with the first failure; what was copied
// before remains. The destination folder is not created. YES when the folder cannot be listed.
+ (BOOL)copyContentsOfDirectory:(nullable NSString*)directory
                         toPath:(nullable NSString*)toPath
                        timeout:(NSInteger)timeout;

@end

@interface KXFileManager (CopyingInTheBackground)

// `copyFileWithProgress:destination:delegate:object:` and
// `copyFileWithProgress:destination:delegate:object:object:`: starts a copy in the background
// and returns; YES when it was started. A missing parent folder of the destination is created,
// which is waited for at most 10 s. An existing item at the destination is not replaced.
// Refusals are reported on the console.
//
// The delegate is notified of progress and, once, of the end, on the main thread. It may be
// nil, like the caller's objects. A notice is made while the main run loop is in its default
// mode, and may then be delivered in any mode. Whether the copy succeeded is not reported:
// check the destination, where nothing remains of a copy that failed or was cancelled.
+ (BOOL)copyFileWithProgress:(nullable NSString*)path
                 destination:(nullable NSString*)destination
                    delegate:(nullable id)delegate
                      object:(nullable id)object;
+ (BOOL)copyFileWithProgress:(nullable NSString*)path
                 destination:(nullable NSString*)destination
                    delegate:(nullable id)delegate
                      object:(nullable id)object
                      object:(nullable id)object2;

// `cancelFileOperation:`: ends a copy early. The finished notice is sent nevertheless. May be
// called from any thread; does nothing for nil.
+ (void)cancelFileOperation:(nullable FSFileOperationRef)operation;

@end

// What a delegate may implement; called on the main thread. For each event the form with the
// operation is preferred. A notice holds "stage" (a number), "source", "destination" and
// "operationtype" (the string "copy"), where they were given "delegate", "object" and "object2",
// and while the copy runs the system's counts under its own keys.
@interface NSObject (KXFileOperationDelegate)

// About once a second.
- (void)fileOperationProgress:(NSDictionary*)notice fileOperation:(FSFileOperationRef)operation;
- (void)fileOperationProgress:(NSDictionary*)notice;
// Once, after success, failure and cancellation alike. The operation only serves to recognise the
// copy.
- (void)fileOperationFinished:(NSDictionary*)notice fileOperation:(FSFileOperationRef)operation;
- (void)fileOperationFinished:(NSDictionary*)notice;

@end

@interface KXFileManager (Moving)

// `moveFile:toPath:` and its forms: moves an item to the path `toPath`, its name included,
// across file systems too. An existing item at the destination is unlocked but never replaced,
// except by the move with administrator rights. If only the case of letters changes, the item
// is first moved to a free name, and keeps that name if the second move fails. Otherwise, and
// except as below, a failure leaves the item where it was. Failures are logged.
//
// A move to another file system begins only when every part of the item may be removed. If a
// part becomes unremovable while the item is copied, the destination keeps the complete copy,
// the source keeps what could not be removed, both paths are reported on the console, and the
// result is NO without an attempt with administrator rights. If nothing of the source can be
// removed, the copy is removed again, and the move with administrator rights is tried.
+ (BOOL)moveFile:(nullable NSString*)path toPath:(nullable NSString*)toPath;
+ (BOOL)moveFile:(nullable NSString*)path
          toPath:(nullable NSString*)toPath
      shouldAuth:(BOOL)shouldAuth;
// YES when nothing exists at the source in the end; if only the case of letters changes,
// without a wait.
+ (BOOL)moveFile:(nullable NSString*)path
          toPath:(nullable NSString*)toPath
         timeout:(NSInteger)timeout;

@end

@interface KXFileManager (Attributes)

// A failure leaves the item unchanged, and is logged where the operation says so.

// `isFileLocked:`: whether the item has the locked flag, with which it cannot be changed,
// renamed or removed. NO also when the flag cannot be read.
+ (BOOL)isFileLocked:(nullable NSString*)path;
// `lockFile:` and `unlockFile:`: set and clear the locked flag; of a link itself and not of its
// target. A failure is logged.
+ (void)lockFile:(nullable NSString*)path;
+ (void)unlockFile:(nullable NSString*)path;
// `lockFolder:` and `unlockFolder:`: set and clear the flag of all items below a folder except
// folders. Links to folders are followed. Each failure is logged.
+ (void)lockFolder:(nullable NSString*)path;
+ (void)unlockFolder:(nullable NSString*)path;

// `setPosixPermissions:forFile:`: sets the mode bits, such as 0755. A failure is logged.
+ (void)setPosixPermissions:(unsigned int)permissions forFile:(nullable NSString*)path;

// `touchFile:` and `touchFile:setCreationDate:`: sets the item's dates to now with the system's
// tool, which is given at most 5 s. An item that the user may not write to is touched with
// administrator rights, without that limit. So is a missing item, which is not created. YES
// when the tool was run, whatever its exit status. Raises an NSException when no thread can
// be started for the time-out.
+ (BOOL)touchFile:(nullable NSString*)path;
+ (BOOL)touchFile:(nullable NSString*)path setCreationDate:(BOOL)setCreationDate;

// `setModificationDate:forFile:`: NO when the date cannot be set, which is not logged.
+ (BOOL)setModificationDate:(nullable NSDate*)date forFile:(nullable NSString*)path;

@end

@interface KXFileManager (Waiting)

// These block the calling thread and send no events.

// `waitForFileCreation:timeout:`: checks once whether the file exists and is not empty. If not,
// and with a positive time-out, logs that and sleeps 500 microseconds, whatever the time-out.
// The file may still be missing afterwards.
+ (void)waitForFileCreation:(nullable NSString*)path timeout:(NSInteger)timeout;

// `waitForFileWrites:` and `waitForFileWrites:lockFile:`: waits, without limit, until the file
// was last changed more than 4 s ago. If an item with the name `lockFile` exists beside the
// file, a wait begins even if the file was not changed lately; if the file is missing then, the
// wait lasts until it is created and settled. The begin and the end of a wait are logged.
+ (void)waitForFileWrites:(nullable NSString*)path;
+ (void)waitForFileWrites:(nullable NSString*)path lockFile:(nullable NSString*)lockFile;

@end

@interface KXFileManager (Names)

// `filesMatchingWildcardPath:` and `filesMatchingWildcardPath:fromBasePath:`: the existing
// items that match a path with * in some of its components, in listing order, hidden ones
// included. * matches within one component only; ? matches any one character, but only in a
// component that contains a *. Every pattern, also an absolute one, is relative to the base
// path, or to the root without one. Without a * the result is that one path, existing or not.
+ (NSArray*)filesMatchingWildcardPath:(nullable NSString*)path;
+ (NSArray*)filesMatchingWildcardPath:(nullable NSString*)path
                         fromBasePath:(nullable NSString*)basePath;
// `decodeWildcardPath:fromBasePath:`: the first of these paths; if there is none, the pattern
// joined to the base, or nil without a base.
+ (nullable NSString*)decodeWildcardPath:(nullable NSString*)path
                            fromBasePath:(nullable NSString*)basePath;

// `validateFilename:`: the name without one leading full stop, white space at both ends, / and
// :. May be empty; nil for nil.
+ (nullable NSString*)validateFilename:(nullable NSString*)name;

// `uniqueFilename:`: the path itself if nothing exists there, else the first free one of
// "name 2.ext", "name 3.ext" and so on. It is not reserved: another process may create an item
// there first.
+ (nullable NSString*)uniqueFilename:(nullable NSString*)path;

@end

@interface KXFileManager (ColourLabels)

// `finderColorIndexForPath:`: all Finder flags of the item, of which 0x000E are the label's. 0
// when they cannot be read.
+ (int)finderColorIndexForPath:(nullable NSString*)path;
// `setFinderColorIndex:forPath:`: replaces the item's label by the bits 0x000E of `index`; the
// item's other flags are left unchanged. A failure is not reported.
+ (void)setFinderColorIndex:(unsigned int)index forPath:(nullable NSString*)path;
// `finderColorForColorIndex:`: the label's colour; nil for values that are not a label.
+ (nullable NSColor*)finderColorForColorIndex:(int)index;
// `finderColorForPath:`: the colour of the item's label. nil also when the item has other flags
// than the label's and the lowest one.
+ (nullable NSColor*)finderColorForPath:(nullable NSString*)path;

@end

@interface KXFileManager (Archives)

// Both run the system's archiving tool and wait for it, without a time limit.

// `compressFile:toDestinationFile:` and `compressFile:toDestinationFile:includeParent:`: packs
// an item as a zip archive, by default the item itself and not only its contents. An existing
// item at the destination is moved to the Trash first, if necessary with administrator rights.
// YES if an item exists there afterwards: also when the old one could not be moved away and
// the tool failed.
+ (BOOL)compressFile:(nullable NSString*)path toDestinationFile:(nullable NSString*)destination;
+ (BOOL)compressFile:(nullable NSString*)path
    toDestinationFile:(nullable NSString*)destination
        includeParent:(BOOL)includeParent;

// `decompressFile:toDestinationFolder:`: unpacks a zip archive into the folder, which the tool
// creates. An existing item at the destination is moved to the user's Trash first, without
// administrator rights. YES as above. After a failure nothing of the archive remains.
+ (BOOL)decompressFile:(nullable NSString*)path toDestinationFolder:(nullable NSString*)destination;

@end

// Asks the file manager to refresh what it shows of the item. Returns the system's status; -50 for
// NULL.
FOUNDATION_EXPORT OSStatus SendFinderSyncEvent(const FSRef* _Nullable reference);

NS_ASSUME_NONNULL_END
