#include "quillmoor/platform/posix/fs/tree_match_posix.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <iterator>
#include <new>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/platform/posix/fs/directory_entry_posix.h"
#include "quillmoor/platform/posix/fs/directory_posix.h"
#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::platform::posix {
namespace {

bool exists(int folder, const char* name) {
    struct stat status;
    return systemCalls().fstatat(folder, name, &status, 0) == 0;
}

// Some of the folders, searched by one thread.
struct MatchPart : TreeLevel {
    std::size_t first = 0;
    std::size_t end = 0;
    StringList found;
};

// Folders are divided among threads, their entries are not: reading a folder is most of the work,
// and passing an entry on costs as much as matching it.
class Matching {
  public:
    Matching(const StringList& folders, const std::string& pattern)
        : folders_(folders), pattern_(pattern), pool_(treeLimits(1).threads, [this] { help(); }) {}

    StringList run() {
        StringList found;
        std::size_t i = 0;
        for (; i < folders_.size() && seen_ < kManyEntries; ++i)
            seen_ += matchIn(folders_[i], found);
        for (; i < folders_.size(); i += kFoldersOfPart) {
            MatchPart& part = parts_.emplace_back();
            part.first = i;
            part.end = std::min(i + kFoldersOfPart, folders_.size());
            if (pool_.wantsWork())
                // The batch is empty: the part itself says which folders to search.
                pool_.give(part, EntryBatch());
            else
                doPart(part);
        }
        collect(found);
        // What another thread had no memory for is missing: part of the matches is no result.
        if (isOutOfMemory_) throw std::bad_alloc();
        return found;
    }

  private:
    // Fewer entries are not worth a thread.
    static constexpr std::size_t kManyEntries = 4096;
    static constexpr std::size_t kFoldersOfPart = 8;

    void help() {
        TreeWorkPool::WorkItem item;
        while (pool_.take(item)) {
            try {
                doPart(static_cast<MatchPart&>(*item.folder));
            } catch (const std::bad_alloc&) {
                isOutOfMemory_ = true;
            }
            // Also after a failure: the asking thread waits for it.
            pool_.done(*item.folder);
        }
    }

    void doPart(MatchPart& part) {
        for (std::size_t i = part.first; i < part.end; ++i) matchIn(folders_[i], part.found);
    }

    // In the order in which the parts were made. Parts that no other thread has begun are done
    // here.
    void collect(StringList& found) {
        for (MatchPart& part : parts_) {
            EntryBatch none;
            while (pool_.takeBack(part, none)) doPart(part);
            found.insert(found.end(), std::make_move_iterator(part.found.begin()),
                         std::make_move_iterator(part.found.end()));
        }
    }

    // Appends the paths of matching entries and returns how many entries the folder has.
    std::size_t matchIn(const std::string& folder, StringList& found) const {
        Descriptor opened;
        if (openForReading(folder, opened) != 0) return 0;
        DirectoryReader reader(std::move(opened));
        // A listed entry exists, unless it is a dangling link, so most need no call. But in a
        // folder that may be read and not searched no entry can be reached, so none exists.
        if (reader.error() != 0 || !exists(reader.folder(), ".")) return 0;
        std::string prefix = *appendPathComponent(folder, ".");
        prefix.pop_back();
        const std::size_t before = found.size();
        std::size_t entries = 0;
        for (; const dirent* entry = reader.next(); ++entries)
            matchEntry(reader.folder(), prefix, *entry, found);
        // A folder that cannot be read to its end contributes nothing rather than a part.
        if (reader.error() != 0) found.resize(before);
        return entries;
    }

    void matchEntry(int folder, const std::string& prefix, const dirent& entry,
                    StringList& found) const {
        const std::string_view name = entry.d_name;
        if (!isLike(pattern_, name)) return;
        const mode_t type = typeOf(entry);
        if ((type == 0 || type == S_IFLNK) && !exists(folder, entry.d_name)) return;
        std::string& path = found.emplace_back();
        path.reserve(prefix.size() + name.size());
        path.append(prefix).append(name);
    }

    const StringList& folders_;
    const std::string& pattern_;
    std::size_t seen_ = 0;  // entries read by the caller's thread before it shared the work
    std::atomic<bool> isOutOfMemory_{false};  // another thread than the caller's
    std::deque<MatchPart> parts_;
    TreeWorkPool pool_;
};

}  // namespace

StringList matchEntries(const StringList& folders, const std::string& pattern) {
    return Matching(folders, pattern).run();
}

}  // namespace quillmoor::platform::posix
