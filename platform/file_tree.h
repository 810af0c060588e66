// The file system, whole trees at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "quillmoor/base/outcome.h"
#include "quillmoor/base/stop_token.h"
#include "quillmoor/base/types.h"

namespace quillmoor::platform {

// What a tree holds, links not followed. The item at the top and the folders are items too; folders
// and links have no bytes of their own.
struct TreeCount {
    std::uint64_t bytes = 0;
    std::uint64_t items = 0;
    bool operator==(const TreeCount&) const = default;
};

// The progress of a copy, which adds to it while it runs; it may be read from any thread. A copy
// that succeeds has added the tree's TreeCount, unless the tree was changed meanwhile.
struct TreeProgress {
    std::atomic<std::uint64_t> bytes{0};
    std::atomic<std::uint64_t> items{0};

    void add(std::uint64_t newBytes, std::uint64_t newItems) {
        if (newBytes != 0) bytes.fetch_add(newBytes, std::memory_order_relaxed);
        if (newItems != 0) items.fetch_add(newItems, std::memory_order_relaxed);
    }
};

// May be called from any thread; each call may start a few threads, which end before it returns. An
// empty path, or one with a NUL, is treated as a missing item. Memory and descriptors do not grow
// with the number of items. A stop is noticed between items and within large files.
class FileTree {
  public:
    virtual ~FileTree() = default;

    // The sizes in bytes of all files below `path`, or of the item itself when it is not a folder.
    // A link to a folder counts the contents of that folder, once for each such link, except for a
    // folder that is one of its own ancestors, which counts 0. Any other link counts its own size.
    // Folders themselves, missing items and items that cannot be read count 0. Stopped, it returns
    // what it has counted so far.
    virtual std::uint64_t size(const std::string& path, const StopToken& stop) = 0;

    // The whole work of a copy of `path`. Stopped, it returns what it has counted so far.
    virtual TreeCount count(const std::string& path, const StopToken& stop) = 0;

    // As FileManager::copyItem; hard links become separate files, FIFOs are made anew, and sockets
    // and devices are errors. Stopped, it fails with the code ECANCELED. After a failure nothing
    // new exists at the destination. `progress` may be null.
    virtual Outcome copy(const std::string& path, const std::string& destination,
                         TreeProgress* progress, const StopToken& stop) = 0;

    // For each folder in turn, in the folder's own order: the entries whose names match `pattern`
    // (see isLike) and that exist, links followed, hidden ones included, each joined to the folder
    // as it was passed. A folder that cannot be read has none.
    virtual StringList match(const StringList& folders, const std::string& pattern) = 0;
};

}  // namespace quillmoor::platform
