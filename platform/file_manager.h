// The file system, item by item.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/base/outcome.h"
#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// Identifies an item: two paths with the same identity lead to the same item.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t item = 0;
    bool operator==(const FileIdentity&) const = default;
};

// May be called from any thread. An empty path, or one with a NUL, is treated as a missing item.
// Error texts read: “name” couldn’t be removed: Permission denied
class FileManager {
  public:
    virtual ~FileManager() = default;

    // Follows links: a dangling link does not exist.
    virtual bool fileExists(const std::string& path) = 0;
    // True when the system reports that the item does not exist or that this user cannot reach it;
    // false also when that cannot be determined, for example on a disk with read errors.
    virtual bool isMissing(const std::string& path) { return !fileExists(path); }

    // Follows links: a link to a folder is a folder.
    virtual bool isDirectory(const std::string& path) = 0;

    // Follows links. nil when the item is missing.
    virtual std::optional<FileIdentity> identityOfItem(const std::string& path) = 0;

    // access(2) with the real ids: a folder that may be searched is executable.
    virtual bool isExecutableFile(const std::string& path) = 0;

    // access(2) with the real ids; follows links.
    virtual bool isWritableFile(const std::string& path) = 0;

    // The target as the link holds it, including dangling links; nil when `path` is not a link.
    virtual OptionalString destinationOfSymbolicLink(const std::string& path) = 0;

    // Names in the folder's own order, hidden ones included, . and .. left out; nil when the folder
    // is missing or cannot be read.
    virtual std::optional<StringList> contentsOfDirectory(const std::string& path) = 0;

    // Makes the folder and those above it. Succeeds where a folder, or a link to one, exists
    // already. Folders made before a failure remain.
    virtual Outcome createDirectoryWithIntermediates(const std::string& path) = 0;

    // Removes an item, a folder with all its contents. A link is removed itself, never its target.
    // After a failure the folder holds what could not be removed.
    virtual Outcome removeItem(const std::string& path) = 0;

    // Renames. Across file systems it first checks that every part of the source may be removed,
    // then copies under a temporary name beside the destination, renames the copy, and removes the
    // source. Never replaces: an existing destination, including a dangling link, is an error, but
    // moving an item onto its own directory entry succeeds.
    //
    // After an error the source is complete and nothing new exists at the destination, with one
    // exception: when a part of the source becomes unremovable after the check, the destination
    // keeps the complete copy, the source keeps what could not be removed, and the error has
    // `copyRemains` set. The same holds when there is not enough memory for the removal. The move
    // itself throws nothing; the error is then ENOMEM, possibly without a text.
    virtual Outcome moveItem(const std::string& path, const std::string& destination) = 0;

    // Copies an item, a folder with all its contents, links as links, with modes and dates, and the
    // owner where permitted. An existing destination is an error. After a failure nothing new
    // exists at the destination.
    virtual Outcome copyItem(const std::string& path, const std::string& destination) = 0;

    // Writes a whole file under a temporary name beside it, then renames: the destination is the
    // old file or the new one, never a part of it. Replaces a file or a link; does not follow
    // links. After a failure the destination is unchanged and no temporary file remains.
    virtual Outcome writeAtomically(const std::string& path, std::string_view contents) = 0;
};

}  // namespace quillmoor::platform
