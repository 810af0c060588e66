#include "tools/ditto/unpack_plan.h"

#include <algorithm>
#include <tuple>

#include "tools/ditto/archive_validation.h"
#include "tools/ditto/entry.h"

namespace quillmoor::ditto {
namespace {

constexpr std::string_view kMacFolder = "__MACOSX";

// The folder of AppleDouble entries is left out with them, unless it also holds another item.
bool leavesMacFolderOut(const EntryTree& tree) {
    bool anyDouble = false;
    for (const EntryTree::Node& node : tree.nodes()) {
        if (!isInside(node.path, kMacFolder) || node.entry->kind == Entry::Kind::Folder) continue;
        if (!isAppleDouble(node.path)) return false;
        anyDouble = true;
    }
    return anyDouble;
}

// Goes through the tree once, in its order, and sorts the items by how they are created.
class Planner {
  public:
    explicit Planner(const EntryTree& tree)
        : tree_(tree), withoutMacFolder_(leavesMacFolderOut(tree)) {}

    UnpackPlan plan() {
        for (const EntryTree::Node& node : tree_.nodes()) place(node);
        std::sort(plan_.files.begin(), plan_.files.end(), unpacksBefore);
        return std::move(plan_);
    }

  private:
    void place(const EntryTree::Node& node) {
        const bool folder = node.entry->kind == Entry::Kind::Folder;
        const bool inMacFolder = node.path == kMacFolder || isInside(node.path, kMacFolder);
        if (!folder && isAppleDouble(node.path)) {
            ++plan_.leftOut;
            return;
        }
        if (folder && inMacFolder && withoutMacFolder_) return;
        addFolders(folderOf(node.path));
        if (folder) {
            // An entry comes before what is inside it, so this folder was not added as an implied
            // one, and it is the last. Of several archives' entries for it the last one counts.
            addFolders(node.path);
            plan_.folders.back().entry = node.entry;
            return;
        }
        if (folderOf(node.path).empty()) plan_.topNames.push_back(node.path);
        auto& items = node.entry->kind == Entry::Kind::Link ? plan_.links : plan_.files;
        items.push_back({node.path, node.entry});
    }

    // Adds `path` and the folders that hold it, unless they were added before. In the tree's order
    // only the folder added last needs to be compared.
    void addFolders(std::string_view path) {
        const std::string_view last =
            plan_.folders.empty() ? std::string_view() : plan_.folders.back().path;
        std::size_t end = commonFolders(last, path);
        while (end < path.size()) {
            end = std::min(path.find('/', end + 1), path.size());
            plan_.folders.push_back({path.substr(0, end), nullptr});
            // Only the first component is in the destination itself.
            if (path.find('/') >= end) plan_.topNames.push_back(path.substr(0, end));
        }
    }

    // Large files first, so that none is left for the end, when the other threads have no work.
    // Then in the archive's order, so that it is read from front to back.
    static bool unpacksBefore(const PlannedItem& a, const PlannedItem& b) {
        const auto key = [](const PlannedItem& item) {
            const std::uint64_t large = item.entry->size > kWholeEntry ? item.entry->size : 0;
            return std::tuple(~large, item.entry->archive, item.entry->dataOffset);
        };
        return key(a) < key(b);
    }

    const EntryTree& tree_;
    const bool withoutMacFolder_;
    UnpackPlan plan_;
};

}  // namespace

UnpackPlan makePlan(const EntryTree& tree) {
    return Planner(tree).plan();
}

}  // namespace quillmoor::ditto
