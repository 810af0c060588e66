#include "files/tree_walk.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "base/paths.h"
#include "files/item.h"

namespace quillmoor {
namespace {

// A folder on the way down. A list of them and no recursion: others decide how deep a tree is.
struct Level {
    std::string path;
    std::optional<platform::FileIdentity> identity;
    StringList names;
    std::size_t next = 0;
};

class Walker {
  public:
    explicit Walker(const TreeWalk& walk) : walk_(walk) {}

    bool run(const std::string& folder) {
        enter(folder);
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next == level.names.size()) {
                levels_.pop_back();
                continue;
            }
            const std::string name = std::move(level.names[level.next++]);
            if (walk_.isLeftOut(name)) continue;
            const std::string item = *appendPathComponent(level.path, name);
            if (fileManager().isDirectory(item))
                enter(item);
            else if (!walk_.visit(item, name))
                return false;
        }
        return true;
    }

  private:
    void enter(const std::string& folder) {
        const auto identity = fileManager().identityOfItem(folder);
        const bool isRound = std::any_of(levels_.begin(), levels_.end(), [&](const Level& level) {
            return level.identity == identity;
        });
        if (identity && !isRound) levels_.push_back({folder, identity, entriesOf(folder), 0});
    }

    const TreeWalk& walk_;
    std::vector<Level> levels_;
};

}  // namespace

bool walkTree(const std::string& folder, const TreeWalk& walk) {
    return Walker(walk).run(folder);
}

}  // namespace quillmoor
