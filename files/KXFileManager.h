// File operations for a maker's products.
//
// Contents:
//   Queries        +Query.cpp       fileExistsAtPath, isDirectoryAtPath, fileSize, …
//   Trash          +Trash.cpp       trashFile, trashDirectoryContents, trashFilesOfType, …
//   Removing       +Remove.cpp      removeFile, removeFolderIfEmpty
//   Creating       +Create.cpp      createDirectory, createDirectoryStructure, createEmptyFile
//   Copying        +Copy.cpp        copyFile, copyContentsOfDirectory
//                  +CopyAsync.cpp   copyFileWithProgress, cancelFileOperation
//   Moving         +Move.cpp        moveFile
//   Attributes     +Attributes.cpp  lockFile, setPosixPermissions, touchFile, …
//   Waiting        +Wait.cpp        waitForFileCreation, waitForFileWrites
//   Names          +Wildcards.cpp   filesMatchingWildcardPath, validateFilename, …
//   Colour labels  +Labels.cpp      finderColorIndexForPath, …
//   Archives       +Archive.cpp     compressFile, decompressFile
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "quillmoor/base/failure.h"
#include "quillmoor/base/types.h"
#include "quillmoor/files/FileOperationDelegate.h"
#include "quillmoor/platform/finder_info.h"

namespace quillmoor {

// May the operation be repeated with administrator rights when it fails without them?
enum class ShouldAuth : bool { No, Yes };

// Does the archive contain the folder itself, or only its contents?
enum class IncludeParent : bool { No, Yes };

// Does touchFile set the creation date as well?
enum class SetCreationDate : bool { No, Yes };

// A colour in hue, saturation and brightness, each 0 to 1.
struct FinderColor {
    double hue = 0;
    double saturation = 0;
    double brightness = 0;
    double alpha = 1;
    bool operator==(const FinderColor&) const = default;
};

// No instance and no state; may be used from any thread. A failure is returned (false, nil, 0 or an
// empty list) and never thrown, except by touchFile; exceptions and a lack of memory are logged.
// KXFailure::last() is the reason of a failure. No operation expands a tilde or normalises a path.
// A nil path counts as a missing item.
//
// A path without a leading slash is relative to the process's current folder, except in a wildcard
// pattern; a name without a folder part is an item of that folder. The current folder must not
// change while an operation runs; copyFileWithProgress continues after it has returned. The tools
// that some operations start take a path that begins with a dash as an option: pass ./-name
// instead.
//
// Operations that remove, move, copy or create have up to three forms:
//   short            the next one with ShouldAuth::Yes
//   with shouldAuth  as the process's own user first; if that fails, and with ShouldAuth::Yes, with
//                    administrator rights (see KXAuthorization, which may ask the user). The result
//                    is then that of the second attempt: true means that a tool was started.
//   with timeout     the short form, then a wait until the file system shows the result. On the
//                    main thread user-interface events are sent meanwhile, so that other code may
//                    run; any other thread checks every 0.3 s. Zero and less do not wait. False
//                    after the wait does not stop the operation.
class KXFileManager {
  public:
    KXFileManager() = delete;

    // Queries -----------------------------------------------------------------------------------

    // `fileExistsAtPath:`: follows links, so that a dangling one does not exist.
    static bool fileExistsAtPath(const OptionalPath& path);
    // `isDirectoryAtPath:`: a folder, or a link to one.
    static bool isDirectoryAtPath(const OptionalPath& path);
    // `isPackageAtPath:`: a folder that the desktop shows as one file.
    static bool isPackageAtPath(const OptionalPath& path);
    // `isSymbolicLinkAtPath:`: true for every symbolic link, including dangling ones.
    static bool isSymbolicLinkAtPath(const OptionalPath& path);

    // `isVolumeMountedForPath:`: for a path that begins with /Volumes and has three components or
    // more, whether an item exists at the first three; true for every other path.
    static bool isVolumeMountedForPath(const OptionalPath& path);
    // `isDriveMountedForPath:`: the same for paths that begin with /Volumes/. Writes the mount
    // point to the console.
    static bool isDriveMountedForPath(const OptionalPath& path);

    // `isFolderEmpty:`: whether a folder contains nothing but .DS_Store, the custom icon's file,
    // and folders that are empty in the same sense. Links to folders are followed; a link back to a
    // folder on the way down counts as content. True for what cannot be listed.
    static bool isFolderEmpty(const OptionalPath& path);

    // `fileSize:`: the bytes of a file, or of all files in a folder, hidden ones included. Links to
    // folders are followed, but a folder that is already on the way down is not counted again;
    // other links count with their own size. Folders, resource forks and extended attributes do not
    // count. What is missing or unreadable counts 0. Large trees are counted on several threads.
    static std::uint64_t fileSize(const OptionalPath& path);

    // `formatFileSize:`: 1023 B, 1.50 KB, 1.00 MB, 1024.00 GB; units are powers of 1024.
    static std::string formatFileSize(double bytes);

    // `stringToFSRef:`: a reference to an item; empty when nothing exists at the path.
    static platform::FileReference stringToFSRef(const OptionalPath& path);
    // `stringWithFSRef:`: the item's path; nil for null, and when the item is no longer there.
    static OptionalPath stringWithFSRef(const platform::FileReference* reference);

    // `registerApplicationWithLaunchServices:`: registers an application with the desktop, also if
    // it is registered already.
    static bool registerApplicationWithLaunchServices(const OptionalPath& path);

    // `notifyFileSystemChanged:`: asks the file manager to refresh open windows of the folder. A
    // failure is not reported.
    static void notifyFileSystemChanged(const OptionalPath& path);

    // Trash -------------------------------------------------------------------------------------

    // `trashFile:` and its forms: unlocks an item and moves it into the user's Trash; if its name
    // exists there, a number is added to it. True when nothing exists at the path; a dangling link
    // counts as missing and is left unchanged. If the item is on another file system and a part of
    // it becomes unremovable while it is copied: as for moveFile.
    static bool trashFile(const OptionalPath& path);
    static bool trashFile(const OptionalPath& path, ShouldAuth shouldAuth);
    // True when nothing exists at the path in the end.
    static bool trashFile(const OptionalPath& path, std::chrono::seconds timeout);

    // `trashDirectoryContents:` and `trashDirectoryContents:shouldAuth:`: moves every entry of the
    // folder, hidden ones included, into the Trash; the folder stays. All entries are tried. True
    // when each succeeded, and when there are none or they cannot be listed.
    static bool trashDirectoryContents(const OptionalPath& folder);
    static bool trashDirectoryContents(const OptionalPath& folder, ShouldAuth shouldAuth);

    // `trashFilesOfType:inFolder:`: trashes every file with that extension, in any case of letters,
    // in a folder and the folders inside it. Packages and links to folders are entered, and no
    // folder itself is trashed. Returns the paths of all files that matched, trashed or not.
    static StringList trashFilesOfType(const OptionalString& type, const OptionalPath& inFolder);
    // `trashFilesNamed:inFolder:`: the same for files with exactly that name.
    static StringList trashFilesNamed(const OptionalString& name, const OptionalPath& inFolder);

    // Removing ----------------------------------------------------------------------------------

    // `removeFile:` and its forms: unlocks an item and removes it, a folder with its contents; a
    // link itself and not its target. True when nothing exists at the path; a dangling link counts
    // as missing and is left unchanged. A failure is logged, and leaves what could not be removed.
    static bool removeFile(const OptionalPath& path);
    static bool removeFile(const OptionalPath& path, ShouldAuth shouldAuth);
    // True when nothing exists at the path in the end.
    static bool removeFile(const OptionalPath& path, std::chrono::seconds timeout);

    // `removeFolderIfEmpty:`: removes a folder that is empty in the sense of isFolderEmpty, with
    // what that ignores. False, and nothing is removed, if one of its folders cannot be listed.
    static bool removeFolderIfEmpty(const OptionalPath& folder);

    // Creating ----------------------------------------------------------------------------------

    // `createDirectory:` and its forms: creates a folder with those above it. True for an existing
    // folder. False at once when the volume is not mounted (reported on the console). Another
    // failure is logged; folders that were created before it remain.
    static bool createDirectory(const OptionalPath& path);
    static bool createDirectory(const OptionalPath& path, ShouldAuth shouldAuth);
    // True when an item exists at the path in the end.
    static bool createDirectory(const OptionalPath& path, std::chrono::seconds timeout);

    // `createDirectoryStructure:destination:`: creates the folder `path`, with its whole path,
    // below `destination`; if `path` is a file, a package or missing, the folder that contains it.
    // Returns the new folder's path, also if it could not be created; nil when either path is nil.
    static OptionalPath createDirectoryStructure(const OptionalPath& path,
                                                 const OptionalPath& destination);

    // `createEmptyFile:`: creates a file in the temporary folder and moves it to the path. Never
    // replaces an existing item, except with administrator rights as moveFile does. If the move
    // fails, the file remains in the temporary folder.
    static bool createEmptyFile(const OptionalPath& path);

    // Copying -----------------------------------------------------------------------------------

    // `copyFile:toPath:` and its forms: copies an item to the path `toPath`, its name included;
    // links as links, with modes and dates. The receiving folder, also one that a link leads to, is
    // unlocked and stays unlocked. An existing item at the destination is never replaced, except by
    // the copy with administrator rights. A failure is logged, and nothing of the copy remains; a
    // failed copy with administrator rights leaves what it has written.
    static bool copyFile(const OptionalPath& path, const OptionalPath& toPath);
    static bool copyFile(const OptionalPath& path, const OptionalPath& toPath,
                         ShouldAuth shouldAuth);
    // True when an item exists at the destination in the end.
    static bool copyFile(const OptionalPath& path, const OptionalPath& toPath,
                         std::chrono::seconds timeout);

    // `copyContentsOfDirectory:toPath:timeout:`: copies every entry, hidden ones included, as
    // copyFile does with that time-out for each. Ends with the first failure; what was copied
    // before remains. The destination folder is not created. True when the folder cannot be listed.
    static bool copyContentsOfDirectory(const OptionalPath& directory, const OptionalPath& toPath,
                                        std::chrono::seconds timeout);

    // `copyFileWithProgress:destination:delegate:object:` and
    // `copyFileWithProgress:destination:delegate:object:object:`: starts a copy in the background
    // and returns; true when it was started. A missing parent folder of the destination is created,
    // which is waited for at most 10 s. An existing item at the destination is not replaced.
    // Refusals are reported on the console.
    //
    // The delegate is notified of progress and, once, of the end, on the main thread. It may be
    // null, like the caller's objects. A notice is made while the main run loop is in its default
    // mode, and may then be delivered in any mode. The notice of the end does not say whether the
    // copy succeeded: during it KXFailure::last() is the copy's failure, nil after a success.
    // Nothing remains at the destination of a copy that failed or was cancelled.
    static bool copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                     FileOperationDelegateRef delegate, CallerObject object);
    static bool copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                     FileOperationDelegateRef delegate, CallerObject object,
                                     CallerObject object2);

    // `cancelFileOperation:`: ends a copy early. The finished notice is sent nevertheless. May be
    // called from any thread; does nothing for null.
    static void cancelFileOperation(const platform::FileOperationRef& operation);

    // Moving ------------------------------------------------------------------------------------

    // `moveFile:toPath:` and its forms: moves an item to the path `toPath`, its name included,
    // across file systems too. An existing item at the destination is unlocked but never replaced,
    // except by the move with administrator rights. If only the case of letters changes, the item
    // is first moved to a free name, and keeps that name if the second move fails. Otherwise, and
    // except as below, a failure leaves the item where it was. Failures are logged.
    //
    // A move to another file system begins only when every part of the item may be removed. If a
    // part becomes unremovable while the item is copied, the destination keeps the complete copy,
    // the source keeps what could not be removed, both paths are reported on the console, and the
    // result is false without an attempt with administrator rights. If nothing of the source can be
    // removed, the copy is removed again, and the move with administrator rights is tried.
    static bool moveFile(const OptionalPath& path, const OptionalPath& toPath);
    static bool moveFile(const OptionalPath& path, const OptionalPath& toPath,
                         ShouldAuth shouldAuth);
    // True when nothing exists at the source in the end; if only the case of letters changes,
    // without a wait.
    static bool moveFile(const OptionalPath& path, const OptionalPath& toPath,
                         std::chrono::seconds timeout);

    // Attributes --------------------------------------------------------------------------------
    // A failure leaves the item unchanged, and is logged where the operation says so.

    // `isFileLocked:`: whether the item has the locked flag, with which it cannot be changed,
    // renamed or removed. False also when the flag cannot be read.
    static bool isFileLocked(const OptionalPath& path);
    // `lockFile:` and `unlockFile:`: set and clear the locked flag; of a link itself and not of its
    // target. A failure is logged.
    static void lockFile(const OptionalPath& path);
    static void unlockFile(const OptionalPath& path);
    // `lockFolder:` and `unlockFolder:`: set and clear the flag of all items below a folder except
    // folders. Links to folders are followed. Each failure is logged.
    static void lockFolder(const OptionalPath& path);
    static void unlockFolder(const OptionalPath& path);

    // `setPosixPermissions:forFile:`: sets the mode bits, such as 0755. A failure is logged.
    static void setPosixPermissions(unsigned permissions, const OptionalPath& forFile);

    // `touchFile:` and `touchFile:setCreationDate:`: sets the item's dates to now with the system's
    // tool, which is given at most 5 s. An item that the user may not write to is touched with
    // administrator rights, without that limit. So is a missing item, which is not created. True
    // when the tool was run, whatever its exit status. Throws platform::Exception when no thread
    // can be started for the time-out.
    static bool touchFile(const OptionalPath& path);
    static bool touchFile(const OptionalPath& path, SetCreationDate setCreationDate);

    // `setModificationDate:forFile:`: false when the date cannot be set, which is not logged.
    static bool setModificationDate(std::chrono::system_clock::time_point date,
                                    const OptionalPath& forFile);

    // Waiting -----------------------------------------------------------------------------------
    // These block the calling thread and send no events.

    // `waitForFileCreation:timeout:`: checks once whether the file exists and is not empty. If not,
    // and with a positive time-out, logs that and sleeps 500 microseconds, whatever the time-out.
    // The file may still be missing afterwards.
    static void waitForFileCreation(const OptionalPath& path, std::chrono::seconds timeout);

    // `waitForFileWrites:` and `waitForFileWrites:lockFile:`: waits, without limit, until the file
    // was last changed more than 4 s ago. If an item with the name `lockFile` exists beside the
    // file, a wait begins even if the file was not changed lately; if the file is missing then, the
    // wait lasts until it is created and settled. The begin and the end of a wait are logged.
    static void waitForFileWrites(const OptionalPath& path);
    static void waitForFileWrites(const OptionalPath& path, const OptionalString& lockFile);

    // Names -------------------------------------------------------------------------------------

    // `filesMatchingWildcardPath:` and `filesMatchingWildcardPath:fromBasePath:`: the existing
    // items that match a path with * in some of its components, in listing order, hidden ones
    // included. * matches within one component only; ? matches any one character, but only in a
    // component that contains a *. Every pattern, also an absolute one, is relative to the base
    // path, or to the root without one. Without a * the result is that one path, existing or not.
    static StringList filesMatchingWildcardPath(const OptionalPath& path);
    static StringList filesMatchingWildcardPath(const OptionalPath& path,
                                                const OptionalPath& fromBasePath);
    // `decodeWildcardPath:fromBasePath:`: the first of these paths; if there is none, the pattern
    // joined to the base, or nil without a base.
    static OptionalPath decodeWildcardPath(const OptionalPath& path,
                                           const OptionalPath& fromBasePath);

    // `validateFilename:`: the name without one leading full stop, white space at both ends, / and
    // :. May be empty; nil for nil.
    static OptionalString validateFilename(const OptionalString& name);

    // `uniqueFilename:`: the path itself if nothing exists there, else the first free one of
    // "name 2.ext", "name 3.ext" and so on. It is not reserved: another process may create an item
    // there first.
    static OptionalPath uniqueFilename(const OptionalPath& path);

    // Colour labels -----------------------------------------------------------------------------

    // `finderColorIndexForPath:`: all Finder flags of the item, of which 0x000E are the label's. 0
    // when they cannot be read.
    static int finderColorIndexForPath(const OptionalPath& path);
    // `setFinderColorIndex:forPath:`: replaces the item's label by the bits 0x000E of `index`; the
    // item's other flags are left unchanged. A failure is not reported.
    static void setFinderColorIndex(unsigned index, const OptionalPath& forPath);
    // `finderColorForColorIndex:`: the label's colour; nil for values that are not a label.
    static std::optional<FinderColor> finderColorForColorIndex(int index);
    // `finderColorForPath:`: the colour of the item's label. nil also when the item has other flags
    // than the label's and the lowest one.
    static std::optional<FinderColor> finderColorForPath(const OptionalPath& path);

    // Archives ----------------------------------------------------------------------------------
    // Both run the system's archiving tool and wait for it, without a time limit.

    // `compressFile:toDestinationFile:` and `compressFile:toDestinationFile:includeParent:`: packs
    // an item as a zip archive, by default the item itself and not only its contents. An existing
    // item at the destination is moved to the Trash first, if necessary with administrator rights.
    // True if an item exists there afterwards: also when the old one could not be moved away and
    // the tool failed.
    static bool compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile);
    static bool compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile,
                             IncludeParent includeParent);

    // `decompressFile:toDestinationFolder:`: unpacks a zip archive into the folder, which the tool
    // creates. An existing item at the destination is moved to the user's Trash first, without
    // administrator rights. True as above. After a failure nothing of the archive remains.
    static bool decompressFile(const OptionalPath& path, const OptionalPath& toDestinationFolder);
};

// `statusCallback`: called by the platform, on the main thread, for a copy that
// copyFileWithProgress has started. Queues the notice for the delegate in `info`, the copy's
// context (null when there is none), and removes an operation that is complete from the run loop.
// Throws nothing: a notice that cannot be queued is logged and not sent. The last notice of a copy
// that copyFileWithProgress has started is always sent.
void statusCallback(const platform::FileOperationReport& report, const FileOperationNotice* info);

// `SendFinderSyncEvent`: asks the file manager to refresh what it shows of the item. Returns the
// platform's status; -50 for null.
std::int32_t SendFinderSyncEvent(const platform::FileReference* reference);

}  // namespace quillmoor
