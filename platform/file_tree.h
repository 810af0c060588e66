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

// How far a copy has come. The copy adds to it while it runs, and anybody may read it from any
// thread. At the end of a copy that succeeds it has risen by the tree's TreeCount, unless somebody
// changed the tree meanwhile.
struct TreeProgress {
    std::atomic<std::uint64_t> bytes{0};
    std::atomic<std::uint64_t> items{0};

    void add(std::uint64_t newBytes, std::uint64_t newItems) {
        if (newBytes != 0) bytes.fetch_add(newBytes, std::memory_order_relaxed);
        if (newItems != 0) items.fetch_add(newItems, std::memory_order_relaxed);
    }
};

// May be called from any thread; each call may use a few threads of its own, which end with it. An
// empty path, or one with a NUL, is answered like a missing item. Memory and descriptors do not
// grow with the number of items. A stop is noticed between items and within large files.
class FileTree {
  public:
    virtual ~FileTree() = default;

    // The sizes of all files below `path`, or of the item itself when it is no folder. A link to a
    // folder counts with what that folder holds, in each place where such a link stands, but a
    // folder that is already on the way down counts nothing. Any other link counts with its own
    // size, folders themselves with nothing, and so does what is missing or cannot be read.
    // Stopped, it answers what it has counted so far.
    virtual std::uint64_t size(const std::string& path, const StopToken& stop) = 0;

    // What a copy would report as its whole work. Stopped, it answers what it has counted so far.
    virtual TreeCount count(const std::string& path, const StopToken& stop) = 0;

    // As FileManager::copyItem; hard links become files of their own, FIFOs are made anew, and
    // sockets and devices are errors. Stopped, it is a failure with the code ECANCELED; after every
    // failure nothing stands at the destination that was not there before. `progress` may be null.
    virtual Outcome copy(const std::string& path, const std::string& destination,
                         TreeProgress* progress, const StopToken& stop) = 0;

    // For each folder in turn, in the order in which it gives its entries, hidden ones included:
    // the entries whose names match `pattern` (see isLike) and that exist, links followed, each
    // joined to the folder as it was given. A folder that cannot be read has none.
    virtual StringList match(const StringList& folders, const std::string& pattern) = 0;
};

}  // namespace quillmoor::platform
