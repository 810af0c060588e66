#include "quillmoor/files/tree_walk.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "quillmoor/base/paths.h"
#include "quillmoor/files/operation_support.h"

namespace quillmoor {
namespace {

// A folder on the way down. Kept in a list, not by recursion: a tree from another user may be deep
// enough to overflow the stack.
struct Level {
    std::size_t pathLength;  // of the walk's own path
    std::optional<platform::FileIdentity> identity;
    StringList names;
    std::size_t next = 0;
};

// One walk. Its path is shared by all levels, each of which knows where its own part ends.
class Walker {
  public:
    explicit Walker(const TreeWalk& walk) : walk_(walk) {}

    bool run(const std::string& folder) {
        enter(folder);
        while (!levels_.empty() && !isEnded_) {
            Level& level = levels_.back();
            path_.resize(level.pathLength);
            if (level.next == level.names.size()) {
                levels_.pop_back();
                continue;
            }
            // Moved out: entering a folder grows the list that `level` is in.
            const std::string name = std::move(level.names[level.next++]);
            if (walk_.isLeftOut(name)) continue;
            const std::string item = *appendPathComponent(path_, name);
            if (fileManager().isDirectory(item) && (enter(item) || !walk_.visitsLoops)) continue;
            if (!walk_.visit(item, name)) return false;
        }
        return !isEnded_;
    }

  private:
    // False when it is on the way down already.
    bool enter(const std::string& folder) {
        const auto identity = fileManager().identityOfItem(folder);
        // What has no identity cannot be listed either.
        if (!identity) {
            isEnded_ = walk_.endsAtUnlisted && mayBeFolder(folder);
            return true;
        }
        const bool isLoop = std::any_of(levels_.begin(), levels_.end(), [&](const Level& level) {
            return level.identity == identity;
        });
        if (isLoop) return false;
        path_ = folder;
        // Joining removes trailing slashes, and the path could not be cut back to its old length.
        while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
        std::optional<StringList> names = fileManager().contentsOfDirectory(folder);
        if (!names) isEnded_ = walk_.endsAtUnlisted && mayBeFolder(folder);
        levels_.push_back({path_.size(), identity, std::move(names).value_or(StringList()), 0});
        return true;
    }

    // Not missing, and not known to be something else than a folder.
    static bool mayBeFolder(const std::string& path) {
        if (fileManager().isMissing(path)) return false;
        return fileManager().isDirectory(path) || !fileManager().fileExists(path);
    }

    const TreeWalk& walk_;
    std::string path_;  // of the folder that the walk is in
    std::vector<Level> levels_;
    bool isEnded_ = false;
};

}  // namespace

bool walkTree(const std::string& folder, const TreeWalk& walk) {
    return Walker(walk).run(folder);
}

}  // namespace quillmoor
