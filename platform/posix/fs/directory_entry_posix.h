// Items by the folder that holds them. Whoever works on an item opens its folder once and then
// names the item in it, so that a path's folders may be renamed or swapped for links meanwhile, and
// so that a path may be longer than the system's limit for one call.
//
// Functions that answer an int answer 0 or the system's error number.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <string_view>

#include "quillmoor/platform/posix/ground/descriptor.h"

namespace quillmoor::platform::posix {

// Flags that open a folder for naming items in it, which takes the right to search it and no other.
#if defined(O_PATH)
inline constexpr int kSearchFolder = O_PATH | O_DIRECTORY;
#elif defined(O_SEARCH)
inline constexpr int kSearchFolder = O_SEARCH | O_DIRECTORY;
#else
inline constexpr int kSearchFolder = O_RDONLY | O_DIRECTORY;
#endif

// The same flags for reading its entries; a link is refused.
inline constexpr int kReadFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

// Which item it is, whatever its names are.
struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    bool operator==(const Identity&) const = default;
};

inline Identity identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

// Where an item stands, or would.
struct DirectoryEntry {
    Descriptor folder;      // open for searching
    std::string name;       // one component; "." for the root of the file system
    bool asFolder = false;  // the path ended in a slash: only a folder, or a link to one, will do

    // Neither the root, nor a folder's name for itself or for the one above it.
    bool hasNameOfItsOwn() const { return name != "." && name != ".."; }
};

// Short enough for one system call, and a path at all.
bool fitsOneCall(const std::string& path);

// Opens the folder above `path`, links followed. An empty path, or one with a NUL, is ENOENT.
int resolveParent(std::string_view path, DirectoryEntry& entry);

// Opens the folder `path` itself for searching, links followed.
int openFolder(std::string_view path, Descriptor& folder);

// Opens the folder `path` itself for reading its entries, links followed. Unlike the above it needs
// no right to search the folder.
int openForReading(const std::string& path, Descriptor& folder);

// fstatat; a final link is followed or not. With `asFolder` anything but a folder, or a link to
// one, is ENOTDIR.
enum class FollowLink : bool { No, Yes };
int statusOf(const DirectoryEntry& entry, FollowLink follow, struct stat& status);

// As statusOf with links followed, for a path of any length.
int statusAt(const std::string& path, struct stat& status);

// `folder` is the folder `ancestor`, or lies in it at any depth. NO as well when that cannot be
// told because a folder above may not be searched.
bool isSameOrBelow(int folder, const Identity& ancestor);

}  // namespace quillmoor::platform::posix
