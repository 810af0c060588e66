#include "platform/posix/tree_match_posix.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <utility>

#include "base/paths.h"
#include "platform/posix/directory_posix.h"
#include "platform/posix/place_posix.h"
#include "platform/posix/system_calls_posix.h"
#include "platform/posix/tree_worker_posix.h"

namespace quillmoor::platform::posix {
namespace {

bool exists(int folder, const char* name) {
    struct stat status;
    return systemCalls().fstatat(folder, name, &status, 0) == 0;
}

Descriptor openForReading(const std::string& path) {
    constexpr int flags = kReadFolder & ~O_NOFOLLOW;
    const SystemCalls& calls = systemCalls();
    if (fitsOneCall(path)) return Descriptor(calls.openat(AT_FDCWD, path.c_str(), flags, 0));
    Descriptor folder;
    if (openFolder(path, folder) != 0) return Descriptor();
    return Descriptor(calls.openat(folder.get(), ".", flags, 0));
}

// A piece of the work that one thread does on its own: some of the folders, or, where `openFolder`
// is one, some entries of it.
struct MatchPart : TreeLevel {
    std::size_t firstFolder = 0;
    std::size_t endOfFolders = 0;
    int openFolder = -1;
    StringList found;
};

class Matching {
  public:
    Matching(const StringList& folders, const std::string& pattern)
        : folders_(folders), pattern_(pattern), crew_(treeLimits(1).threads, [this] { help(); }) {}

    StringList run() {
        StringList found;
        std::size_t i = 0;
        for (; i < folders_.size() && seen_ < kManyEntries; ++i)
            matchIn(folders_[i], ShareOut::Yes, found);
        for (; i < folders_.size(); i += kFoldersOfPart) {
            MatchPart& part = parts_.emplace_back();
            part.firstFolder = i;
            part.endOfFolders = std::min(i + kFoldersOfPart, folders_.size());
            giveOrDo(part, EntryBatch());
        }
        collect(parts_, found);
        return found;
    }

  private:
    using Parts = std::deque<MatchPart>;
    enum class ShareOut : bool { No, Yes };

    // Less is not worth a thread.
    static constexpr std::size_t kManyEntries = 4096;
    static constexpr std::size_t kFoldersOfPart = 8;
    static constexpr std::size_t kEntriesOfPart = 2048;

    void help() {
        TreeCrew::Share share;
        while (crew_.take(share)) {
            doPart(static_cast<MatchPart&>(*share.folder), share.entries);
            crew_.done(*share.folder);
        }
    }

    void giveOrDo(MatchPart& part, EntryBatch entries) {
        if (crew_.wantsWork())
            crew_.give(part, std::move(entries));
        else
            doPart(part, entries);
    }

    void doPart(MatchPart& part, EntryBatch& entries) {
        for (std::size_t i = part.firstFolder; i < part.endOfFolders; ++i)
            matchIn(folders_[i], ShareOut::No, part.found);
        TreeEntry entry;
        while (entries.next(entry)) matchEntry(part.openFolder, part.name, entry, part.found);
    }

    // In the order in which the parts were made; does itself what nobody has begun with.
    void collect(Parts& parts, StringList& found) {
        for (MatchPart& part : parts) {
            EntryBatch entries;
            while (crew_.takeBack(part, entries)) doPart(part, entries);
            found.insert(found.end(), std::make_move_iterator(part.found.begin()),
                         std::make_move_iterator(part.found.end()));
        }
        parts.clear();
    }

    void matchIn(const std::string& folder, ShareOut share, StringList& found) {
        DirectoryReader reader(openForReading(folder));
        // What is listed exists, unless it is a link; but where a folder may not be searched,
        // nothing in it can be seen to exist.
        if (reader.error() != 0 || !exists(reader.folder(), ".")) return;
        std::string prefix = *appendPathComponent(folder, ".");
        prefix.pop_back();
        const std::size_t before = found.size();
        const dirent* entry = nullptr;
        while ((share == ShareOut::No || ++seen_ <= kManyEntries) &&
               (entry = reader.next()) != nullptr)
            matchEntry(reader.folder(), prefix, {entry->d_name, typeOf(*entry)}, found);
        if (entry != nullptr) matchRest(reader, prefix, found);
        if (reader.error() != 0) found.resize(before);
    }

    void matchRest(DirectoryReader& reader, const std::string& prefix, StringList& found) {
        Parts parts;
        const dirent* entry = reader.next();
        while (entry != nullptr) {
            EntryBatch entries;
            for (; entry != nullptr && entries.size() < kEntriesOfPart; entry = reader.next())
                entries.add({entry->d_name, typeOf(*entry)});
            MatchPart& part = parts.emplace_back();
            part.name = prefix;
            part.openFolder = reader.folder();
            giveOrDo(part, std::move(entries));
        }
        collect(parts, found);
    }

    void matchEntry(int folder, const std::string& prefix, const TreeEntry& entry,
                    StringList& found) const {
        const std::string_view name = entry.name;
        if (!isLike(pattern_, name)) return;
        if ((entry.type == 0 || entry.type == S_IFLNK) && !exists(folder, entry.name)) return;
        std::string& path = found.emplace_back();
        path.reserve(prefix.size() + name.size());
        path.append(prefix).append(name);
    }

    const StringList& folders_;
    const std::string& pattern_;
    std::size_t seen_ = 0;  // entries that the caller's thread has met before it shared them out
    Parts parts_;
    TreeCrew crew_;
};

}  // namespace

StringList matchEntries(const StringList& folders, const std::string& pattern) {
    return Matching(folders, pattern).run();
}

}  // namespace quillmoor::platform::posix
