// The file system, item by item.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/base/outcome.h"
#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// Tells items apart: two paths with one identity lead to the same item.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t item = 0;
    bool operator==(const FileIdentity&) const = default;
};

// May be called from any thread. An empty path, or one with a NUL, is answered like a missing item.
// Error texts read: “name” couldn’t be removed: Permission denied
class FileManager {
  public:
    virtual ~FileManager() = default;

    // Follows links: a dangling link does not exist.
    virtual bool fileExists(const std::string& path) = 0;
    // The system says that nothing is there. false also where the question itself failed, as it
    // does on a disk that cannot be read.
    virtual bool isMissing(const std::string& path) { return !fileExists(path); }

    // Follows links: a link to a folder is a folder.
    virtual bool isDirectory(const std::string& path) = 0;

    // Follows links. nil when nothing is there.
    virtual std::optional<FileIdentity> identityOfItem(const std::string& path) = 0;

    // access(2) with the real ids: a folder that may be searched is executable.
    virtual bool isExecutableFile(const std::string& path) = 0;

    // access(2) with the real ids; follows links.
    virtual bool isWritableFile(const std::string& path) = 0;

    // What the link holds, be it dangling; nil when `path` is no link.
    virtual OptionalString destinationOfSymbolicLink(const std::string& path) = 0;

    // Names in the order in which the folder gives them, hidden ones included, . and .. left out;
    // nil when the folder is missing or cannot be read.
    virtual std::optional<StringList> contentsOfDirectory(const std::string& path) = 0;

    // Makes the folder and those above it. A folder, or a link to one, that is there already is a
    // success. Folders made before a failure stay.
    virtual Outcome createDirectoryWithIntermediates(const std::string& path) = 0;

    // Removes an item, a folder with all it holds. A link is removed itself, never what it leads
    // to. After a failure the folder holds what could not be removed.
    virtual Outcome removeItem(const std::string& path) = 0;

    // Renames. Across file systems it first checks that every part of the source may be removed,
    // then copies under a temporary name beside the destination, renames the copy, and removes the
    // source. Never replaces: an existing destination, also a dangling link, is an error, but
    // moving an item onto its own directory entry succeeds.
    //
    // After an error the source is whole and nothing is at the destination that was not there
    // before, with one exception: when a part of the source becomes unremovable after the check,
    // the destination keeps the complete copy, the source keeps what could not be removed, and the
    // error says `copyRemains`. The same holds when memory for the removal is lacking. The move
    // itself throws nothing; the error is ENOMEM then, perhaps without a text.
    virtual Outcome moveItem(const std::string& path, const std::string& destination) = 0;

    // Copies an item, a folder with all it holds, links as links, with modes and dates, the owner
    // where permitted. An existing destination is an error. After a failure nothing stands at the
    // destination that was not there before.
    virtual Outcome copyItem(const std::string& path, const std::string& destination) = 0;

    // Writes a whole file under a temporary name beside it, then renames: the destination is the
    // old file or the new one, never half of it. Replaces a file; follows no link.
    virtual Outcome writeAtomically(const std::string& path, std::string_view contents) = 0;
};

}  // namespace quillmoor::platform
