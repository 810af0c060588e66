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

#include "quillmoor/base/types.h"
#include "quillmoor/files/FileOperationDelegate.h"
#include "quillmoor/platform/finder_info.h"

namespace quillmoor {

// May the operation be repeated with administrator rights when it fails without?
enum class ShouldAuth : bool { No, Yes };

// Does the archive hold the folder itself, or only what is in it?
enum class IncludeParent : bool { No, Yes };

enum class SetCreationDate : bool { No, Yes };

// A colour in hue, saturation and brightness, each 0 to 1.
struct FinderColor {
    double hue = 0;
    double saturation = 0;
    double brightness = 0;
    double alpha = 1;
    bool operator==(const FinderColor&) const = default;
};

// No instance and no state; may be used from any thread. A failure is an answer, never an
// exception, but in touchFile. Nothing expands a tilde or normalises a path, and a nil path is
// answered like a missing item.
//
// A path without a leading slash is relative to the process's current folder (a wildcard pattern is
// not: see there); a name without a folder part is an item of that folder. The current folder must
// not change while an operation runs, and copyFileWithProgress runs on after it has returned. The
// tools that some operations start take a path that begins with a dash as an option: pass ./-name
// instead.
//
// What removes, moves, copies or creates has up to three forms:
//   short            the next one with ShouldAuth::Yes
//   with shouldAuth  as the process's own user first; when that fails, and with ShouldAuth::Yes,
//                    with administrator rights (see KXAuthorization, which may ask the user). That
//                    answer is then the answer: YES means that a tool was started.
//   with timeout     the short form, then a wait until the file system shows the result. On the
//                    main thread user-interface events are sent meanwhile, so that other code may
//                    run; any other thread looks every 0.3 s. Zero and less do not wait. A NO after
//                    the wait does not stop the operation.
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
    // `isSymbolicLinkAtPath:`: be it dangling.
    static bool isSymbolicLinkAtPath(const OptionalPath& path);

    // `isVolumeMountedForPath:`: something stands at the first three components of a path that
    // begins with /Volumes; YES for every other path and for shorter ones.
    static bool isVolumeMountedForPath(const OptionalPath& path);
    // `isDriveMountedForPath:`: the same for paths that begin with /Volumes/. Tells the mount point
    // on the console.
    static bool isDriveMountedForPath(const OptionalPath& path);

    // `isFolderEmpty:`: holds nothing but .DS_Store, the custom icon's file and folders that are
    // empty likewise, links to folders followed; a link back to a folder on the way down is
    // something. YES for what cannot be listed.
    static bool isFolderEmpty(const OptionalPath& path);

    // `fileSize:`: bytes of a file or of all files in a folder, hidden ones included. Links to
    // folders are followed, but a folder that is already on the way down counts nothing; other
    // links count with their own size. Folders, resource forks and extended attributes do not
    // count. 0 for what is missing or unreadable. Large trees are counted on several threads.
    static std::uint64_t fileSize(const OptionalPath& path);

    // `formatFileSize:`: 1023 B, 1.50 KB, 1.00 MB, 1024.00 GB; units are powers of 1024.
    static std::string formatFileSize(double bytes);

    // `stringToFSRef:`: of a path where nothing is, the reference is empty.
    static platform::FileReference stringToFSRef(const OptionalPath& path);
    // `stringWithFSRef:`: nil when the item is no longer where it was.
    static OptionalPath stringWithFSRef(const platform::FileReference* reference);

    // `registerApplicationWithLaunchServices:`: makes an application known to the desktop, anew if
    // it is known already.
    static bool registerApplicationWithLaunchServices(const OptionalPath& path);

    // `notifyFileSystemChanged:`: has open windows of the file manager show the folder anew.
    static void notifyFileSystemChanged(const OptionalPath& path);

    // Trash -------------------------------------------------------------------------------------

    // `trashFile:` and its forms: unlocks an item and moves it into the user's Trash, where a taken
    // name gets a number. YES when nothing is there. A dangling link is left where it is. An item
    // that becomes unremovable in part while it is copied from another file system: as for
    // moveFile.
    static bool trashFile(const OptionalPath& path);
    static bool trashFile(const OptionalPath& path, ShouldAuth shouldAuth);
    // YES when nothing is at the path in the end.
    static bool trashFile(const OptionalPath& path, std::chrono::seconds timeout);

    // `trashDirectoryContents:` and `trashDirectoryContents:shouldAuth:`: every entry of the
    // folder, hidden ones included; the folder stays. All are tried; YES when all went, or there
    // were none.
    static bool trashDirectoryContents(const OptionalPath& folder);
    static bool trashDirectoryContents(const OptionalPath& folder, ShouldAuth shouldAuth);

    // `trashFilesOfType:inFolder:`: trashes every file with that extension, whatever its case, in a
    // folder and in the folders inside, packages and links to folders included; never a folder.
    // Answers all that matched, trashed or not.
    static StringList trashFilesOfType(const OptionalString& type, const OptionalPath& inFolder);
    // `trashFilesNamed:inFolder:`: the same by exact name.
    static StringList trashFilesNamed(const OptionalString& name, const OptionalPath& inFolder);

    // Removing ----------------------------------------------------------------------------------

    // `removeFile:` and its forms: unlocks an item and removes it, a folder with all it holds; a
    // link itself. YES when nothing is there; a dangling link counts as nothing and stays. A
    // failure is logged and leaves what could not be removed.
    static bool removeFile(const OptionalPath& path);
    static bool removeFile(const OptionalPath& path, ShouldAuth shouldAuth);
    // YES when nothing is at the path in the end.
    static bool removeFile(const OptionalPath& path, std::chrono::seconds timeout);

    // `removeFolderIfEmpty:`: in the sense of isFolderEmpty; what that overlooks goes too.
    // NO, and nothing is removed, where a folder cannot be listed.
    static bool removeFolderIfEmpty(const OptionalPath& folder);

    // Creating ----------------------------------------------------------------------------------

    // `createDirectory:` and its forms: a folder with those above it. One that is there already is
    // a success. NO at once when the volume is not mounted. A failure is logged; folders made
    // before it stay.
    static bool createDirectory(const OptionalPath& path);
    static bool createDirectory(const OptionalPath& path, ShouldAuth shouldAuth);
    // YES when something is at the path in the end.
    static bool createDirectory(const OptionalPath& path, std::chrono::seconds timeout);

    // `createDirectoryStructure:destination:`: makes, below `destination`, the folder `path` with
    // all of its path; for a file, a package or nothing the folder that holds it. Answers that
    // folder's path, made or not.
    static OptionalPath createDirectoryStructure(const OptionalPath& path,
                                                 const OptionalPath& destination);

    // `createEmptyFile:`: makes it in the temporary folder and moves it into place. Never replaces
    // without administrator rights; with them, as moveFile.
    static bool createEmptyFile(const OptionalPath& path);

    // Copying -----------------------------------------------------------------------------------

    // `copyFile:toPath:` and its forms: copies an item to the path that it is to have, links as
    // links, with modes and dates. The folder that receives it, also one that a link leads to, is
    // unlocked and stays so. What stands at the destination is never replaced, except by the copy
    // with administrator rights. A failure is logged and leaves nothing of the copy; what a copy
    // with administrator rights makes before it fails stays.
    static bool copyFile(const OptionalPath& path, const OptionalPath& toPath);
    static bool copyFile(const OptionalPath& path, const OptionalPath& toPath,
                         ShouldAuth shouldAuth);
    // YES when something is at the destination in the end.
    static bool copyFile(const OptionalPath& path, const OptionalPath& toPath,
                         std::chrono::seconds timeout);

    // `copyContentsOfDirectory:toPath:timeout:`: every entry, hidden ones included, each with that
    // time-out and as by copyFile. Ends with the first that fails; what was copied stays. The
    // destination is not made.
    static bool copyContentsOfDirectory(const OptionalPath& directory, const OptionalPath& toPath,
                                        std::chrono::seconds timeout);

    // `copyFileWithProgress:destination:delegate:object:` and
    // `copyFileWithProgress:destination:delegate:object:object:`: starts a copy in the background
    // and returns; YES when it was started. A missing parent folder of the destination is made, for
    // at most 10 s. What stands at the destination is not replaced. What is refused is told on the
    // console.
    //
    // The delegate, which may be null like the caller's objects, hears of progress and, once, of
    // the end, on the main thread. A notice begins while its run loop is in the default mode, and
    // may then be delivered in any. Whether the copy succeeded is not told: look at the
    // destination, where nothing is left of a copy that failed or was cancelled.
    static bool copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                     FileOperationDelegateRef delegate, CallerObject object);
    static bool copyFileWithProgress(const OptionalPath& path, const OptionalPath& destination,
                                     FileOperationDelegateRef delegate, CallerObject object,
                                     CallerObject object2);

    // `cancelFileOperation:`: ends a copy early; the finished notice comes all the same. From any
    // thread.
    static void cancelFileOperation(const platform::FileOperationRef& operation);

    // Moving ------------------------------------------------------------------------------------

    // `moveFile:toPath:` and its forms: moves an item to the path that it is to have, across file
    // systems too. What stands at the destination is unlocked but never replaced, except by the
    // move with administrator rights. Only the case of letters changing, the item goes by way of a
    // free name and stays under it if the second step fails. A failure is logged and otherwise
    // leaves the item where it was.
    //
    // A move to another file system begins only when every part of the item may be removed. If a
    // part becomes unremovable while the item is copied, the destination keeps the complete copy,
    // the source keeps what could not be removed, both places are reported on the console, and the
    // result is NO without a try with administrator rights. If nothing can be removed any more, the
    // copy is taken away again, and the move with administrator rights is tried.
    static bool moveFile(const OptionalPath& path, const OptionalPath& toPath);
    static bool moveFile(const OptionalPath& path, const OptionalPath& toPath,
                         ShouldAuth shouldAuth);
    // YES when nothing is at the source in the end.
    static bool moveFile(const OptionalPath& path, const OptionalPath& toPath,
                         std::chrono::seconds timeout);

    // Attributes --------------------------------------------------------------------------------
    // What is refused is logged, where it says so, and leaves the item as it was.

    // `isFileLocked:`: cannot be changed, renamed or removed.
    static bool isFileLocked(const OptionalPath& path);
    // `lockFile:` and `unlockFile:`: of a link itself. A refusal is logged.
    static void lockFile(const OptionalPath& path);
    static void unlockFile(const OptionalPath& path);
    // `lockFolder:` and `unlockFolder:`: every item below a folder that is no folder itself, links
    // to folders followed.
    static void lockFolder(const OptionalPath& path);
    static void unlockFolder(const OptionalPath& path);

    // `setPosixPermissions:forFile:`: the mode bits, as 0755. A refusal is logged.
    static void setPosixPermissions(unsigned permissions, const OptionalPath& forFile);

    // `touchFile:` and `touchFile:setCreationDate:`: sets the item's dates to now with the system's
    // tool, for at most 5 s. What the user may not write is touched with administrator rights; what
    // is missing, too, and is not made. YES when a tool ran, whatever it did. Throws
    // platform::Exception when no thread can be started for the time-out.
    static bool touchFile(const OptionalPath& path);
    static bool touchFile(const OptionalPath& path, SetCreationDate setCreationDate);

    // `setModificationDate:forFile:`
    static bool setModificationDate(std::chrono::system_clock::time_point date,
                                    const OptionalPath& forFile);

    // Waiting -----------------------------------------------------------------------------------
    // These block the calling thread and send no events.

    // `waitForFileCreation:timeout:`: looks once whether the file is there with something in it; if
    // not, and with a positive time-out, logs that and sleeps 500 microseconds. It may still not be
    // there.
    static void waitForFileCreation(const OptionalPath& path, std::chrono::seconds timeout);

    // `waitForFileWrites:` and `waitForFileWrites:lockFile:`: waits, without limit, until the file
    // was last changed more than 4 s ago. A lock file of that name beside it makes a wait begin;
    // when the file itself is missing then, the wait never ends until it is made.
    static void waitForFileWrites(const OptionalPath& path);
    static void waitForFileWrites(const OptionalPath& path, const OptionalString& lockFile);

    // Names -------------------------------------------------------------------------------------

    // `filesMatchingWildcardPath:` and `filesMatchingWildcardPath:fromBasePath:`: the existing
    // items that a path with * in some components matches, in listing order, hidden ones included.
    // * stays within one component; ? counts as any one character beside a *. Every pattern is
    // taken from the base path, or from the root. Without a * the answer is that one path, existing
    // or not.
    static StringList filesMatchingWildcardPath(const OptionalPath& path);
    static StringList filesMatchingWildcardPath(const OptionalPath& path,
                                                const OptionalPath& fromBasePath);
    // `decodeWildcardPath:fromBasePath:`: the first of them; if there is none, the pattern joined
    // to the base.
    static OptionalPath decodeWildcardPath(const OptionalPath& path,
                                           const OptionalPath& fromBasePath);

    // `validateFilename:`: without one leading full stop, white space at both ends, / and :. May be
    // empty.
    static OptionalString validateFilename(const OptionalString& name);

    // `uniqueFilename:`: the path itself if nothing is there, else the first free one of
    // "name 2.ext", "name 3.ext", …
    static OptionalPath uniqueFilename(const OptionalPath& path);

    // Colour labels -----------------------------------------------------------------------------

    // `finderColorIndexForPath:`: all the item's Finder flags; the label's are those in 0x000E. 0
    // when they cannot be read.
    static int finderColorIndexForPath(const OptionalPath& path);
    // `setFinderColorIndex:forPath:`: sets the label's bits of the value, and no others.
    static void setFinderColorIndex(unsigned index, const OptionalPath& forPath);
    // `finderColorForColorIndex:`: nil for values that are no label.
    static std::optional<FinderColor> finderColorForColorIndex(int index);
    // `finderColorForPath:`: nil also when the item has other flags than the label's and the
    // lowest.
    static std::optional<FinderColor> finderColorForPath(const OptionalPath& path);

    // Archives ----------------------------------------------------------------------------------
    // Both run the system's archiving tool and wait for it.

    // `compressFile:toDestinationFile:` and `compressFile:toDestinationFile:includeParent:`: packs
    // an item as a zip archive, by default the item itself and not only what is in it. What stands
    // at the destination goes to the Trash first. YES if something exists there afterwards: that is
    // also so when what stood there could not be moved away and the tool failed.
    static bool compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile);
    static bool compressFile(const OptionalPath& path, const OptionalPath& toDestinationFile,
                             IncludeParent includeParent);

    // `decompressFile:toDestinationFolder:`: unpacks a zip archive into the folder, which the tool
    // makes. What stands at the destination goes to the user's Trash first. YES as above. After a
    // failure nothing of the archive is there.
    static bool decompressFile(const OptionalPath& path, const OptionalPath& toDestinationFolder);
};

// `statusCallback`: called by the platform, on the main thread, for a copy that
// copyFileWithProgress has started. Queues the notice for the delegate in `info`, the copy's
// context (null when there is none), and removes an operation that is complete from the run loop.
// Throws nothing: a notice that cannot be queued is logged and not sent; of a copy that
// copyFileWithProgress has started the last notice always is.
void statusCallback(const platform::FileOperationReport& report, const FileOperationNotice* info);

// `SendFinderSyncEvent`: has the file manager show the item anew. Answers the platform's status.
std::int32_t SendFinderSyncEvent(const platform::FileReference* reference);

}  // namespace quillmoor
