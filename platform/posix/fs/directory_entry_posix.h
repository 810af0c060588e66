// Items, named within an open folder. An operation opens the item's folder once and then names the
// item in it, so that it stays with that folder when a folder of the path is renamed or swapped for
// a link meanwhile, and so that a path may be longer than the system's limit for one call.
//
// Functions that return an int return 0 or the system's error number.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <string_view>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Flags that open a folder for naming items in it, which needs search permission only.
#if defined(O_PATH)
inline constexpr int kSearchFolder = O_PATH | O_DIRECTORY;
#elif defined(O_SEARCH)
inline constexpr int kSearchFolder = O_SEARCH | O_DIRECTORY;
#else
inline constexpr int kSearchFolder = O_RDONLY | O_DIRECTORY;
#endif

// Flags that open a folder for reading its entries; a link is ELOOP or ENOTDIR.
inline constexpr int kReadFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

// Identifies an item independently of its names.
struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    bool operator==(const Identity&) const = default;
};

inline Identity identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

// A name in an open folder, whether or not an item has it.
struct DirectoryEntry {
    Descriptor folder;      // open for searching
    std::string name;       // one component; "." for the root of the file system
    bool asFolder = false;  // the path ended in a slash: the item must be a folder or a link to one

    // False for the root, and for a folder's names for itself and for the one above it, which no
    // operation may move or remove.
    bool hasNameOfItsOwn() const { return name != "." && name != ".."; }
};

// True when `path` has no NUL and is short enough for one system call.
bool fitsOneCall(const std::string& path);

// Opens the folder above `path`, links followed. An empty path, or one with a NUL, is ENOENT.
int resolveParent(std::string_view path, DirectoryEntry& entry);

// Opens the folder `path` itself for searching, links followed.
int openFolder(std::string_view path, Descriptor& folder);

// Opens the folder `path` itself for reading its entries, links followed. Unlike the above it needs
// no right to search the folder.
int openForReading(const std::string& path, Descriptor& folder);

// fstatat, with a final link followed or not. With `asFolder` anything but a folder, or a link to
// one, is ENOTDIR.
enum class FollowLink : bool { No, Yes };
int statusOf(const DirectoryEntry& entry, FollowLink follow, struct stat& status);

// As statusOf with links followed, for a path of any length.
int statusAt(const std::string& path, struct stat& status);

// True when `folder` is the folder `ancestor` or is below it. False also when that cannot be
// determined because a folder above may not be searched.
bool isSameOrBelow(int folder, const Identity& ancestor);

}  // namespace quillmoor::platform::posix
